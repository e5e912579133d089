#include "FuzzSupport.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "KmRx.h"
#include "KmStores.h"
#include "KmUtf8.h"

namespace {

std::string gDir;

void removeDir() {
  std::error_code error;
  std::filesystem::current_path(std::filesystem::temp_directory_path(), error);
  std::filesystem::remove_all(gDir, error);
}

class QuietHost : public YcDbHostApplicationServices, public YcadHostApplication, public YcadHostLog {
public:
  Ycad::ErrorStatus findFile(wchar_t* out, int outLength, const wchar_t* name, YcDbDatabase*,
                             FindFileHint) override {
    if (!out || outLength <= 0 || !name || !*name) return Ycad::eKeyNotFound;
    // Relative names stay relative to the scratch directory, the current one:
    // the list reader opens its file by a short name only.
    std::wstring path = name;
    if (!KmFileSystem::isFileExisting(path.c_str()) || path.size() >= static_cast<std::size_t>(outLength))
      return Ycad::eKeyNotFound;
    path.copy(out, path.size());
    out[path.size()] = 0;
    return Ycad::eOk;
  }
  void displayString(const wchar_t*, int) override {}
  YcadHostApplication* application() override { return this; }
  const wchar_t* productKey() override { return L"Software\\KmRx\\Fuzz"; }
  unsigned int productLcid() override { return 1033; }
  bool acceptsNonMdiAwareModules() override { return true; }
  void resumeMultiDocument() override {}
  bool getVariable(const wchar_t*, YcadVariableBuffer&) override { return false; }
  YcadHostLog* logObject() override { return this; }
  void log(const wchar_t*, int, int, int) override {}
};

// A report during start-up means the targets would test nothing.
class StartUpRecorder : public KmCrashRecorder {
public:
  void record(const KmExceptionWithMsg& report) override {
    std::fprintf(stderr, "fuzz: runtime report: %ls\n", report.message() ? report.message() : L"");
  }
};

}  // namespace

const std::string& fuzzScratchDir() {
  if (gDir.empty()) {
    // In memory when there is a memory file system: a file is written for every input.
    std::random_device seed;
    std::error_code error;
    const std::filesystem::path base = std::filesystem::is_directory("/dev/shm", error)
                                           ? std::filesystem::path("/dev/shm")
                                           : std::filesystem::temp_directory_path();
    gDir = (base / ("kmrx-fuzz-" + std::to_string(seed()))).string();
    std::filesystem::create_directories(gDir);
    std::filesystem::current_path(gDir);
    std::atexit(&removeDir);
  }
  return gDir;
}

std::wstring fuzzWriteFile(const char* name, const std::uint8_t* data, std::size_t size) {
  const std::string path = fuzzScratchDir() + "/" + name;
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) __builtin_trap();
  if (size && std::fwrite(data, 1, size, file) != size) __builtin_trap();
  std::fclose(file);
  return kmPathFromBytes(path.c_str());
}

void fuzzStartRuntime() {
  static QuietHost host;
  fuzzScratchDir();
  kmStoreSetDiagnosticSink([](const wchar_t*, void*) {}, nullptr);
  static StartUpRecorder recorder;
  ycadSetCrashRecorder(&recorder);
  InitializeYcRxSystem();
  ycadSetCrashRecorder(nullptr);
  ycdbSetHostApplicationServices(&host);
  // Every target drives the running runtime; without it they would pass idle.
  if (!ycrxSysRegistry()) {
    std::fprintf(stderr, "fuzz: the runtime did not start\n");
    __builtin_trap();
  }
}
