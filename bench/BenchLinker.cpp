// The module linker against the bare loader: load and unload of a module,
// delivering a message, and a symbol found through a service.
#include <dlfcn.h>

#include <string>

#include "BenchSupport.h"

#ifndef KMRX_BENCH_MODULE_DIR
#error "KMRX_BENCH_MODULE_DIR names the directory the bench module is built into"
#endif

namespace {

constexpr const char* kModuleFile = "kmrx_bench_module.yrx";

std::string modulePathNarrow() { return std::string(KMRX_BENCH_MODULE_DIR) + "/" + kModuleFile; }
const std::wstring& modulePath() {
  static const std::wstring path = benchWiden(modulePathNarrow().c_str());
  return path;
}

YcRxDynamicLinkerImp* linker() {
  return static_cast<YcRxDynamicLinkerImp*>(
      YcRxDynamicLinker::cast(ycrxSysRegistry()->at(L"DynamicLinker")));
}

bool isMapped() { return KmKernel32::GetModuleHandleW(modulePath().c_str()) != nullptr; }

// A load through the linker needs two unload calls: the first only drops the
// load's reference.
void unloadThroughLinker() {
  ycrxUnloadModule(modulePath().c_str());
  ycrxUnloadModule(modulePath().c_str());
}

void BM_LinkerLoadUnload(benchmark::State& state) {
  if (isMapped()) state.SkipWithError("module already mapped");
  for (auto _ : state) {
    if (!ycrxLoadModule(modulePath().c_str(), false)) {
      state.SkipWithError("load failed");
      break;
    }
    unloadThroughLinker();
  }
  if (isMapped()) state.SkipWithError("module still mapped after unload");
}

// The same with more classes registered: neither a load nor an unload should
// cost more for them.
void BM_LinkerLoadUnloadAt(benchmark::State& state, int scale) {
  benchGrowClassesTo(scale);
  state.counters["classes"] = ycrxInternalGetClassDic()->numEntries();
  BM_LinkerLoadUnload(state);
}

void BM_Kernel32LoadFree(benchmark::State& state) {
  for (auto _ : state) {
    HMODULE handle = KmKernel32::LoadLibraryExW(modulePath().c_str(), nullptr, 0);
    if (!handle) {
      state.SkipWithError("load failed");
      break;
    }
    KmKernel32::FreeLibrary(handle);
  }
  if (isMapped()) state.SkipWithError("module still mapped after unload");
}

void BM_DlopenDlclose(benchmark::State& state) {
  const std::string path = modulePathNarrow();
  for (auto _ : state) {
    void* handle = ::dlopen(path.c_str(), RTLD_NOW);  // the flags the platform layer uses
    if (!handle) {
      state.SkipWithError("dlopen failed");
      break;
    }
    ::dlclose(handle);
  }
  if (isMapped()) state.SkipWithError("module still mapped after unload");
}

// Loads the module for one benchmark run and unloads it at the end.
class LoadedModule {
public:
  explicit LoadedModule(benchmark::State& state) {
    if (!ycrxLoadModule(modulePath().c_str(), false)) {
      state.SkipWithError("load failed");
      return;
    }
    mpRecord = linker()->findRxModuleProxyByModuleName(modulePath().c_str(), false);
    if (!mpRecord) state.SkipWithError("no record for the loaded module");
  }
  ~LoadedModule() {
    if (mpRecord) unloadThroughLinker();
  }
  YcRxDynLoadModuleProxy* record() const { return mpRecord; }
  HMODULE handle() const { return mpRecord ? mpRecord->rxModuleHandle() : nullptr; }

private:
  YcRxDynLoadModuleProxy* mpRecord = nullptr;
};

constexpr YcRx::AppMsgCode kBenchMsg = static_cast<YcRx::AppMsgCode>(99);

void BM_SendMessage(benchmark::State& state) {
  LoadedModule module(state);
  if (!module.record()) return;
  YcRxDynamicLinkerImp* dl = linker();
  if (!dl->sendMessageToApp(module.record(), kBenchMsg, nullptr))
    state.SkipWithError("message refused");
  for (auto _ : state) {
    bool ok = dl->sendMessageToApp(module.record(), kBenchMsg, nullptr);
    benchmark::DoNotOptimize(ok);
  }
}

void BM_DirectEntryCall(benchmark::State& state) {
  LoadedModule module(state);
  if (!module.record()) return;
  auto entry = reinterpret_cast<YcRxEntryPointFunc>(
      KmKernel32::GetProcAddress(module.handle(), "ycrxEntryPoint"));
  if (!entry) {
    state.SkipWithError("no entry point");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(entry);
    YcRx::AppRetCode ret = entry(kBenchMsg, nullptr);
    benchmark::DoNotOptimize(ret);
  }
}

void BM_ServiceSymbol(benchmark::State& state) {
  LoadedModule module(state);
  if (!module.record()) return;
  if (!ycrxGetServiceSymbolAddr(L"BenchService", "benchSymbol"))
    state.SkipWithError("symbol not found through the service");
  for (auto _ : state) {
    void* symbol = ycrxGetServiceSymbolAddr(L"BenchService", "benchSymbol");
    benchmark::DoNotOptimize(symbol);
  }
}

void BM_GetProcAddress(benchmark::State& state) {
  LoadedModule module(state);
  if (!module.record()) return;
  HMODULE handle = module.handle();
  for (auto _ : state) {
    void* symbol = KmKernel32::GetProcAddress(handle, "benchSymbol");
    benchmark::DoNotOptimize(symbol);
  }
}

void BM_Dlsym(benchmark::State& state) {
  LoadedModule module(state);
  if (!module.record()) return;
  void* handle = module.handle();
  for (auto _ : state) {
    void* symbol = ::dlsym(handle, "benchSymbol");
    benchmark::DoNotOptimize(symbol);
  }
}

}  // namespace

void registerLinkerBenchmarks() {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("module/load_unload/KmRx_ycrxLoadModule_unload", BM_LinkerLoadUnload);
  RegisterBenchmark("module/load_unload/LoadLibraryExW_FreeLibrary", BM_Kernel32LoadFree);
  RegisterBenchmark("module/load_unload/dlopen_dlclose", BM_DlopenDlclose);
  RegisterBenchmark("module/message/KmRx_sendMessageToApp", BM_SendMessage);
  RegisterBenchmark("module/message/direct_entry_call", BM_DirectEntryCall);
  RegisterBenchmark("module/symbol/KmRx_ycrxGetServiceSymbolAddr", BM_ServiceSymbol);
  RegisterBenchmark("module/symbol/GetProcAddress", BM_GetProcAddress);
  RegisterBenchmark("module/symbol/dlsym", BM_Dlsym);
}

void registerLinkerBenchmarksAt(int scale) {
  const std::string stem = "module/load_unload_" + std::string(scale >= 100000 ? "100k" : "10k") + "_classes/";
  benchmark::RegisterBenchmark((stem + "KmRx_ycrxLoadModule_unload").c_str(), BM_LinkerLoadUnloadAt, scale);
  benchmark::RegisterBenchmark((stem + "dlopen_dlclose").c_str(), BM_DlopenDlclose);
}
