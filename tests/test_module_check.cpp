// One exact cause for every file that cannot be loaded as a module, found
// before mapping where the file tells it and from the loader's words after;
// the look at a file survives any bytes; paths that are not UTF-8 load.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "FakeHost.h"
#include "KmModuleCheck.h"
#include "KmRxTesting.h"
#include "KmUtf8.h"
#include "StoreTestSupport.h"

namespace {

using Bytes = std::vector<char>;
const char* const kExports[] = {"ycrxGetApiVersion", "ycrxEntryPoint"};

Bytes readAll(const std::wstring& path) {
  std::ifstream in(kmPathToBytes(path), std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::wstring writeAll(const TempDir& dir, const std::string& name, const Bytes& bytes) {
  const std::string path = dir.path().string() + "/" + name;
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return kmPathFromBytes(path.c_str());
}

// A copy of a real module with one header field changed.
Bytes patched(std::size_t offset, std::vector<unsigned char> with) {
  Bytes bytes = readAll(testModulePath(L"tm_good.yrx"));
  for (std::size_t i = 0; i < with.size(); ++i) bytes[offset + i] = static_cast<char>(with[i]);
  return bytes;
}

Bytes prefix(std::size_t length) {
  Bytes bytes = readAll(testModulePath(L"tm_good.yrx"));
  bytes.resize(length);
  return bytes;
}

// The bytes the OS table's file entries hand out, for looks at files that never touch a disk.
Bytes gMemoryFile;
int memoryStatus(void*, int* type, long long* size) {
  *type = 0100000;
  *size = static_cast<long long>(gMemoryFile.size());
  return 0;
}
void* memoryOpen(const char*, const char*) { return &gMemoryFile; }
int memoryClose(void*) { return 0; }
long long memoryReadAt(void*, long long offset, void* out, std::size_t bytes) {
  if (offset < 0 || static_cast<std::size_t>(offset) > gMemoryFile.size()) return 0;
  const std::size_t n = std::min(bytes, gMemoryFile.size() - static_cast<std::size_t>(offset));
  std::memcpy(out, gMemoryFile.data() + offset, n);
  return static_cast<long long>(n);
}

class ModuleCheckTest : public ::testing::Test {
protected:
  void TearDown() override { kmOsReset(); }

  static void useMemoryFile() {
    KmOsTable& os = kmOsTable();
    os.fileStatus = &memoryStatus;
    os.openFile = &memoryOpen;
    os.closeFile = &memoryClose;
    os.readFileAt = &memoryReadAt;
  }

  TempDir dir;
};

struct Cause {
  const char* what;
  std::wstring path;
  KmLoadFailure failure;
  const wchar_t* detail;  // the start of it
};

}  // namespace

TEST_F(ModuleCheckTest, EveryFileThatIsNoModuleHasItsOwnCauseAndCode) {
  const std::string fifo = dir.path().string() + "/pipe.yrx";
  ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
  const std::vector<Cause> causes = {
      {"missing", dir.wpath() + L"/absent.yrx", KmLoadFailure::kNotFound, L"there is no such file"},
      {"directory", dir.wpath(), KmLoadFailure::kNotRegularFile, L"it is a directory"},
      {"fifo", kmPathFromBytes(fifo.c_str()), KmLoadFailure::kNotRegularFile, L"it is a FIFO"},
      {"empty", writeAll(dir, "empty.yrx", {}), KmLoadFailure::kNotElf, L"it is empty"},
      {"text", testModulePath(L"tm_text.yrx"), KmLoadFailure::kNotElf, L"it is not an ELF file"},
      {"32-bit", writeAll(dir, "c32.yrx", patched(4, {1})), KmLoadFailure::kWrongClass,
       L"it is a 32-bit ELF file; this host loads 64-bit modules"},
      {"big-endian", writeAll(dir, "be.yrx", patched(5, {2})), KmLoadFailure::kWrongByteOrder,
       L"it is big-endian"},
      {"foreign machine", writeAll(dir, "arm.yrx", patched(18, {40, 0})), KmLoadFailure::kWrongMachine,
       L"it is built for ARM (machine 40); this host is "},
      {"object file", writeAll(dir, "obj.yrx", patched(16, {1, 0})), KmLoadFailure::kNotSharedObject,
       L"it is an object file (.o)"},
      {"program", L"/bin/true", KmLoadFailure::kNotSharedObject, L"it is a program"},
      {"truncated", writeAll(dir, "cut.yrx", prefix(3000)),
       KmLoadFailure::kTruncated, L"it is truncated: its segment "},
      {"no entry point", testModulePath(L"tm_no_entry.yrx"), KmLoadFailure::kMissingExport,
       L"it does not export ycrxEntryPoint"},
      {"no version", testModulePath(L"tm_no_version.yrx"), KmLoadFailure::kMissingExport,
       L"it does not export ycrxGetApiVersion"},
  };
  for (const Cause& c : causes) {
    SCOPED_TRACE(c.what);
    KmModuleCheck check;
    EXPECT_FALSE(kmCheckModuleFile(c.path.c_str(), kExports, 2, check));
    EXPECT_EQ(c.failure, check.failure);
    EXPECT_EQ(0u, check.detail.find(c.detail)) << std::string(check.detail.begin(), check.detail.end());
    if (c.failure == KmLoadFailure::kMissingExport) continue;  // the loader does not ask for exports
    EXPECT_EQ(nullptr, KmKernel32::LoadLibraryExW(c.path.c_str(), nullptr, 0));
    EXPECT_EQ(kmLoadFailureCode(c.failure), KmKernel32::GetLastError());
    EXPECT_EQ(static_cast<int>(c.failure), KmKernel32::GetLastLoadFailure().kind);
    EXPECT_EQ(check.detail, KmKernel32::GetLastLoadErrorText());
  }
  KmModuleCheck good;
  EXPECT_TRUE(kmCheckModuleFile(testModulePath(L"tm_good.yrx").c_str(), kExports, 2, good)) << good.detail.size();
  EXPECT_EQ(KmLoadFailure::kNone, good.failure);
}

TEST_F(ModuleCheckTest, WhatOnlyTheLoaderFindsIsNamedFromItsWords) {
  struct LoaderCause { const wchar_t* module; KmLoadFailure failure; DWORD code; const wchar_t* names; };
  for (const LoaderCause& c : {LoaderCause{L"tm_missing_dep.yrx", KmLoadFailure::kMissingDependency, 126,
                                           L"it needs libtm_hidden_dep.so, which is not in its run path"},
                               LoaderCause{L"tm_undefined.yrx", KmLoadFailure::kUndefinedSymbol, 127,
                                           L"it uses the symbol tmDefinedNowhere, which no loaded library"}}) {
    SCOPED_TRACE(c.module);
    const std::wstring path = testModulePath(c.module);
    KmModuleCheck check;
    EXPECT_TRUE(kmCheckModuleFile(path.c_str(), kExports, 2, check)) << "the file itself is fine";
    EXPECT_EQ(nullptr, KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0));
    EXPECT_EQ(c.code, KmKernel32::GetLastError());
    EXPECT_EQ(static_cast<int>(c.failure), KmKernel32::GetLastLoadFailure().kind);
    EXPECT_EQ(0u, std::wstring(KmKernel32::GetLastLoadErrorText()).find(c.names));
  }
  // A bare name is searched for where the loader looks.
  EXPECT_EQ(nullptr, KmKernel32::LoadLibraryExW(L"kmrx_no_such_module.yrx", nullptr, 0));
  EXPECT_EQ(126u, KmKernel32::GetLastError());
}

TEST_F(ModuleCheckTest, AFileNamedWithBytesThatAreNotUtf8LoadsAndKeepsItsName) {
  const std::string name = dir.path().string() + "/tm_\xff\xfe.yrx";
  const Bytes module = readAll(testModulePath(L"tm_good.yrx"));
  std::ofstream(name, std::ios::binary).write(module.data(), static_cast<std::streamsize>(module.size()));
  const std::wstring path = kmPathFromBytes(name.c_str());
  EXPECT_EQ(name, kmPathToBytes(path)) << "the conversion loses nothing";
  EXPECT_TRUE(KmFileSystem::isFileExisting(path.c_str()));
  HMODULE h = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0);
  ASSERT_NE(nullptr, h) << KmKernel32::GetLastLoadErrorText();
  wchar_t back[kKmTextBuffer];
  ASSERT_NE(0u, KmKernel32::GetModuleFileNameW(h, back, kKmTextBuffer));
  EXPECT_EQ(name, kmPathToBytes(back));
  KmKernel32::FreeLibrary(h);
  EXPECT_EQ(std::wstring(L"\xDCFF") + L"\xDCFE", kmPathFromBytes("\xff\xfe")) << "bytes keep their value";
  EXPECT_EQ(L"\xFFFD", kmPathFromBytes("\xEF\xBF\xBD")) << "a real replacement character stays one";
}

TEST_F(ModuleCheckTest, AnyCutOrDamagedModuleGetsAVerdictAndNoFault) {
  const Bytes module = readAll(testModulePath(L"tm_good.yrx"));
  ASSERT_GT(module.size(), 4096u);
  useMemoryFile();
  int refused = 0;
  for (std::size_t length = 0; length <= module.size(); length += length < 4096 ? 1 : 61) {
    gMemoryFile.assign(module.begin(), module.begin() + static_cast<std::ptrdiff_t>(length));
    KmModuleCheck check;
    if (!kmCheckModuleFile(L"/memory/cut.yrx", kExports, 2, check)) {
      ++refused;
      EXPECT_FALSE(check.detail.empty()) << length;
    }
  }
  EXPECT_GT(refused, 4000) << "a cut module is refused";
  std::mt19937 random(7);
  for (int round = 0; round < 400; ++round) {
    gMemoryFile = module;
    for (int flips = 0; flips < 4; ++flips) {
      // The header, the program headers and the first pages, where the dynamic tables are.
      const std::size_t at = random() % std::min<std::size_t>(module.size(), round % 2 ? 64 : 8192);
      gMemoryFile[at] = static_cast<char>(random());
    }
    KmModuleCheck check;
    const bool passed = kmCheckModuleFile(L"/memory/damaged.yrx", kExports, 2, check);
    EXPECT_EQ(passed, check.detail.empty()) << round;
  }
}
