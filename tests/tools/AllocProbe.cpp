// Runs one host session (start-up, stores, the demand-load registry, start-up
// and listed modules, a demand load, messages, a module that leaves things
// behind, unloads, teardown) with the
// nth allocation failing. Every step must return: the test that runs this
// program for every n checks that it exits 0, and under the sanitizers that
// nothing leaks or touches freed memory.
// Usage: kmrx_alloc_probe <store-dir> [n]   (n 0 or absent: nothing fails,
// and the number of allocations is printed). With KMRX_PROBE_TRACE set, the
// failing allocation prints its call stack, to find where a failure leads.
#include <execinfo.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "FakeHost.h"
#include "KmRx.h"
#include "KmRxTesting.h"

namespace {

class QuietRecorder : public KmCrashRecorder {
public:
  void record(const KmExceptionWithMsg&) override { ++reports; }
  int reports = 0;
};

long gTraceAt = 0;
long gAllocations = 0;

void* tracingAlloc(std::size_t bytes) {
  if (++gAllocations == gTraceAt) {
    void* frames[32];
    backtrace_symbols_fd(frames, backtrace(frames, 32), 2);
    return nullptr;
  }
  return kmOsDefaults().alloc(bytes);
}

std::wstring widen(const char* text) {
  std::wstring out;
  for (; *text; ++text) out += static_cast<wchar_t>(static_cast<unsigned char>(*text));
  return out;
}

YcRxDynamicLinker* linker() {
  YcRxDictionary* registry = ycrxSysRegistry();
  return registry ? YcRxDynamicLinker::cast(registry->at(L"DynamicLinker")) : nullptr;
}

void demandLoad(const wchar_t* command) {
  YcArray<YcadAppInfo*> apps(0, 8);
  if (!getRegisterYrxAppInfoList(command, apps, false)) return;
  for (int i = 0; i < apps.length(); ++i) apps[i]->runAppLoader();
}

void unloadModule(const wchar_t* name) {
  const std::wstring path = testModulePath(name);
  ycrxUnloadModule(path.c_str());
  ycrxUnloadModule(path.c_str());
}

void session(const std::wstring& storeDir) {
  InitializeYcRxSystem();
  FakeHost host;
  host.productKeyText = L"Software\\KmRx\\Probe";
  host.install();
  kmStoreOpenDirectory(storeDir.c_str());
  initDemandLoadYrxList();
  demandLoad(L"TMCMD");
  // The list reader opens its file by a short name, from its directory.
  wchar_t saved[1024];
  KmKernel32::GetCurrentDirectoryW(1024, saved);
  KmKernel32::SetCurrentDirectoryW(storeDir.c_str());
  if (YcRxDynamicLinker* l = linker()) l->initListedModules(L"p.lst");
  KmKernel32::SetCurrentDirectoryW(saved);
  if (YcRxDynamicLinker* l = linker()) l->sendMessageToAllApp(static_cast<YcRx::AppMsgCode>(78), nullptr);
  // A few calls a host makes between loads.
  if (YcArray<const wchar_t*>* apps = ycrxLoadedApps()) {
    for (int i = 0; i < apps->length(); ++i) delete[] (*apps)[i];
    delete apps;
  }
  YcArray<const wchar_t*> commands(0, 8);
  getAllRegisterYrxAppCommandList(commands);
  // Registered, the service dictionary deletes it at teardown; not, it is ours.
  YcRxService* service = ycrxRegisterService(L"ProbeService");
  if (!ycrxServiceIsRegistered(L"ProbeService")) delete service;
  newYcRxClass(L"ProbeThing", L"AcRxObject");
  ycrxBuildClassHierarchy();
  // A module that leaves everything behind, and objects of its code in the registries.
  const std::wstring leaves = testModulePath(L"tm_leaves.yrx");
  if (ycrxLoadModule(leaves.c_str(), false))
    if (auto leave = reinterpret_cast<void (*)()>(
            KmKernel32::GetProcAddress(KmKernel32::GetModuleHandleW(leaves.c_str()), "tmLeaveObjects")))
      leave();
  unloadModule(L"tm_leaves.yrx");
  unloadModule(L"tm_extras.yrx");
  unloadModule(L"tm_good.yrx");
  uninitDemandLoadYrxList();
  kmStoreCloseAll();
  host.uninstall();
  UninitializeYcRxSystem();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const long failAt = argc > 2 ? std::atol(argv[2]) : 0;
  QuietRecorder recorder;
  ycadSetCrashRecorder(&recorder);
  kmStoreSetDiagnosticSink([](const wchar_t*, void*) {}, nullptr);
  kmOsReset();
  if (failAt > 0 && std::getenv("KMRX_PROBE_TRACE")) {
    gTraceAt = failAt;
    kmOsTable().alloc = &tracingAlloc;
  } else if (failAt > 0) {
    kmOsFailNth(KmOsCall::Alloc, failAt);
  }
  session(widen(argv[1]));
  if (failAt == 0) std::printf("%ld\n", kmOsCallCount(KmOsCall::Alloc));
  ycadSetCrashRecorder(nullptr);
  return 0;
}
