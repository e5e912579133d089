// The benchmark binary: starts the runtime once, installs a host, registers
// every group side by side with its peers, runs them and tears down.
#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include "BenchSupport.h"

Ycad::ErrorStatus BenchHost::findFile(wchar_t* out, int outLength, const wchar_t* name,
                                      YcDbDatabase*, FindFileHint) {
  if (!out || outLength <= 0) return Ycad::eInvalidInput;
  out[0] = 0;
  if (!name || name[0] != L'/' || _waccess(name, 0) != 0) return Ycad::eKeyNotFound;
  if (std::wcslen(name) >= static_cast<size_t>(outLength)) return Ycad::eInvalidInput;
  std::wcscpy(out, name);
  return Ycad::eOk;
}

YcRxClass* benchNewClass(const std::wstring& name, const wchar_t* parentName) {
  YcRxClass* cls = newYcRxClass(name.c_str(), parentName);
  if (!cls) {
    std::fprintf(stderr, "kmrx_bench: cannot register class %ls\n", name.c_str());
    std::exit(1);
  }
  return cls;
}

std::vector<std::wstring> benchNames(const wchar_t* stem, int count) {
  std::vector<std::wstring> names;
  wchar_t buffer[40];
  for (int i = 0; i < count; ++i) {
    std::swprintf(buffer, 40, L"%ls%05d", stem, i);
    names.emplace_back(buffer);
  }
  return names;
}

std::wstring benchWiden(const char* text) {
  std::wstring out;
  for (; *text; ++text) out += static_cast<wchar_t>(static_cast<unsigned char>(*text));
  return out;
}

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  InitializeYcRxSystem();
  BenchHost host;
  YcDbHostApplicationServices* previous = ycdbSetHostApplicationServices(&host);

  registerClassBenchmarks();
  registerScaleBenchmarks();
  registerContainerBenchmarks();
  registerDemandLoadBenchmarks();
  // With the classes there are at first (about 1,100).
  registerLinkerBenchmarks();
  // Filler classes bring the dictionary to 10,000, then (after the extension
  // group's trees of 11,000) to 100,000; the GLib rows mirror each size.
  registerScaleBenchmarksAt(10000);
  registerLinkerBenchmarksAt(10000);
  registerExtensionBenchmarks();
  registerScaleBenchmarksAt(100000);
  registerLinkerBenchmarksAt(100000);
  registerGlibBenchmarks();
  benchmark::AddCustomContext(
      "kmrx_class_dictionary_entries",
      std::to_string(ycrxInternalGetClassDic()->numEntries()));

  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();

  ycdbSetHostApplicationServices(previous);
  UninitializeYcRxSystem();
  return 0;
}
