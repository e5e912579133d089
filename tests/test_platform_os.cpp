// The OS seam: every kind of OS call can be made to fail, and the platform
// function above it then reports that failure; the calls that once went
// straight to the OS (write, the program's path, the terminal check, the
// environment) reach the table.
#include <cerrno>
#include <cstring>
#include <functional>
#include <set>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "FakeHost.h"
#include "KmRxTestSupport.h"
#include "KmRxTesting.h"
#include "StoreTestSupport.h"
#include "YcRxModuleFunctions.h"

namespace {

using namespace KmKernel32;

// What the stand-ins were handed.
int gReleases = 0, gCloses = 0;
std::set<int> gDescriptors;
std::string gWritten, gAskedFor;
std::string gStoreDir;

void countedRelease(void* block) {
  ++gReleases;
  kmOsDefaults().release(block);
}

int countedClose(void* file) {
  ++gCloses;
  return kmOsDefaults().closeFile(file);
}

// Takes half of what it is given at a time: the rest must be written on.
long halfWrite(int descriptor, const void* bytes, std::size_t count) {
  gDescriptors.insert(descriptor);
  const std::size_t part = count > 1 ? count / 2 : count;
  gWritten.append(static_cast<const char*>(bytes), part);
  return static_cast<long>(part);
}

int terminal(int descriptor) {
  gDescriptors.insert(descriptor);
  return 1;
}

const char* storeDirVariable(const char* name) {
  gAskedFor = name;
  return gStoreDir.c_str();
}

class OsTableTest : public RuntimeTest {
protected:
  void TearDown() override {
    kmOsReset();
    kmStoreCloseAll();
    RuntimeTest::TearDown();
  }

  static void arm(KmOsCall kind) { kmOsFailNth(kind, 1); }

  static HMODULE load() {
    HMODULE h = LoadLibraryExW(module().c_str(), nullptr, 0);
    EXPECT_NE(nullptr, h) << "test module not built?";
    return h;
  }
  static std::wstring module() { return testModulePath(L"tm_api_1520.yrx"); }

  // Expects the loader to refuse the module with this code and text.
  static void expectRefused(DWORD code, const wchar_t* text) {
    SetLastError(0);
    EXPECT_EQ(nullptr, LoadLibraryExW(module().c_str(), nullptr, 0));
    EXPECT_EQ(code, GetLastError());
    EXPECT_STREQ(text, GetLastLoadErrorText());
  }

  // A Unix socket bound at name in dir, which no open can read.
  std::wstring bindSocket(const char* name) {
    const std::string path = dir.path().string() + "/" + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(0, ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    ::close(fd);
    return kmPathFromBytes(path.c_str());
  }

  // The configuration store from a file with one good item and one bad line.
  std::wstring config() {
    return dir.write("config.reg", "[Applications\\App]\n\"Name\"=\"app\"\nrubbish\n");
  }

  // KMRX_STORE_DIR, as a stand-in gives it: a directory with a user store.
  void standInEnvironment() {
    environmentDir.write("HKCU.reg", "[FromEnvironment]\n");
    gStoreDir = utf8(environmentDir.wpath());
    kmOsTable().environmentVariable = &storeDirVariable;
  }

  TempDir dir, environmentDir;
};

struct FaultCase {
  KmOsCall kind;
  const char* name;
  std::function<void()> armAndCheck;
};

TEST_F(OsTableTest, EveryKindCanBeFailedAndThePlatformReportsIt) {
  const FaultCase cases[] = {
      {KmOsCall::Alloc, "Alloc", [] { arm(KmOsCall::Alloc); EXPECT_EQ(nullptr, _kmMalloc(8)); }},
      {KmOsCall::Release, "Release", [] {
         gReleases = 0;
         kmOsTable().release = &countedRelease;
         void* block = _kmMalloc(8);
         arm(KmOsCall::Release);
         _kmFree(block);
         EXPECT_EQ(0, gReleases) << "a failed release keeps the block";
         _kmFree(block);
         EXPECT_EQ(1, gReleases);
       }},
      {KmOsCall::OpenModule, "OpenModule", [] {
         arm(KmOsCall::OpenModule);
         expectRefused(126, L"the loader refused it: module could not be opened");
       }},
      {KmOsCall::FindModule, "FindModule", [] {
         HMODULE h = load();
         arm(KmOsCall::FindModule);
         EXPECT_EQ(nullptr, GetModuleHandleW(module().c_str()));
         EXPECT_EQ(h, GetModuleHandleW(module().c_str())) << "loading is a kind of its own";
         FreeLibrary(h);
       }},
      {KmOsCall::FindSymbol, "FindSymbol", [] {
         HMODULE h = load();
         arm(KmOsCall::FindSymbol);
         EXPECT_EQ(nullptr, GetProcAddress(h, "ycrxEntryPoint"));
         EXPECT_EQ(127u, GetLastError());
         FreeLibrary(h);
       }},
      {KmOsCall::CloseModule, "CloseModule", [] {
         HMODULE h = load();
         arm(KmOsCall::CloseModule);
         EXPECT_FALSE(FreeLibrary(h));
         EXPECT_EQ(h, GetModuleHandleW(module().c_str())) << "a failed close leaves it loaded";
         EXPECT_TRUE(FreeLibrary(h));
       }},
      {KmOsCall::ModulePath, "ModulePath", [] {
         HMODULE h = load();
         wchar_t path[kKmTextBuffer];
         arm(KmOsCall::ModulePath);
         EXPECT_EQ(0u, GetModuleFileNameW(h, path, kKmTextBuffer));
         FreeLibrary(h);
       }},
      {KmOsCall::AddressModulePath, "AddressModulePath", [] {
         arm(KmOsCall::AddressModulePath);
         const void* inRuntime = reinterpret_cast<const void*>(&ycrxLoadModule);
         EXPECT_EQ(nullptr, GetModuleHandleFromAddress(inRuntime));
       }},
      {KmOsCall::ModuleRanges, "ModuleRanges", [] {
         HMODULE h = load();
         const void* ranges[8];
         const int count = GetModuleAddressRanges(h, ranges, 4);
         ASSERT_GT(count, 0);
         const auto* entry = static_cast<const char*>(GetProcAddress(h, "ycrxEntryPoint"));
         int holding = 0;
         for (int i = 0; i < count; ++i)
           holding += entry >= static_cast<const char*>(ranges[2 * i]) && entry < static_cast<const char*>(ranges[2 * i + 1]);
         EXPECT_EQ(1, holding) << "one segment holds the code";
         arm(KmOsCall::ModuleRanges);
         EXPECT_EQ(-1, GetModuleAddressRanges(h, ranges, 4));
         FreeLibrary(h);
       }},
      {KmOsCall::ProgramPath, "ProgramPath", [] {
         HMODULE program = GetModuleHandleW(nullptr);
         wchar_t path[kKmTextBuffer];
         arm(KmOsCall::ProgramPath);
         EXPECT_EQ(0u, GetModuleFileNameW(program, path, kKmTextBuffer));
         EXPECT_EQ(EACCES, errno);
       }},
      {KmOsCall::FileAccess, "FileAccess",
       [] { arm(KmOsCall::FileAccess); EXPECT_EQ(-1, _waccess(module().c_str(), 0)); }},
      {KmOsCall::IsRegularFile, "IsRegularFile", [] {
         arm(KmOsCall::IsRegularFile);
         EXPECT_FALSE(KmFileSystem::isFileExisting(module().c_str()));
       }},
      {KmOsCall::FileStatus, "FileStatus",
       [] { arm(KmOsCall::FileStatus); expectRefused(5, L"it cannot be read: Permission denied"); }},
      {KmOsCall::CurrentDirectory, "CurrentDirectory", [] {
         wchar_t cwd[kKmTextBuffer];
         arm(KmOsCall::CurrentDirectory);
         EXPECT_EQ(0u, GetCurrentDirectoryW(kKmTextBuffer, cwd));
       }},
      {KmOsCall::ChangeDirectory, "ChangeDirectory", [] {
         wchar_t cwd[kKmTextBuffer];
         ASSERT_NE(0u, GetCurrentDirectoryW(kKmTextBuffer, cwd));
         arm(KmOsCall::ChangeDirectory);
         EXPECT_FALSE(SetCurrentDirectoryW(cwd));
       }},
      {KmOsCall::OpenFile, "OpenFile",
       [] { arm(KmOsCall::OpenFile); expectRefused(5, L"it cannot be read: Permission denied"); }},
      {KmOsCall::FileType, "FileType", [this] {
         // Only a file that cannot be opened is asked for its kind: a socket.
         const std::wstring socket = bindSocket("module.sock");
         const auto refusal = [&] {
           EXPECT_EQ(nullptr, LoadLibraryExW(socket.c_str(), nullptr, 0));
           return std::wstring(GetLastLoadErrorText());
         };
         EXPECT_EQ(L"it is a socket", refusal());
         arm(KmOsCall::FileType);
         EXPECT_EQ(L"it cannot be read: No such device or address", refusal());
       }},
      {KmOsCall::ReadFileAt, "ReadFileAt",
       [] { arm(KmOsCall::ReadFileAt); expectRefused(5, L"it cannot be read: Input/output error"); }},
      {KmOsCall::ReadFile, "ReadFile", [this] {
         DiagnosticsRecorder diagnostics;
         const std::wstring file = config();
         arm(KmOsCall::ReadFile);
         EXPECT_FALSE(kmStoreOpenConfigFile(file.c_str()));
         EXPECT_EQ(nullptr, ycadConfig()) << "half a file must not pass for the whole";
         EXPECT_EQ(std::vector<std::wstring>{file + L": cannot be read"}, diagnostics.messages);
       }},
      {KmOsCall::CloseFile, "CloseFile", [this] {
         // Nothing read is lost when closing fails, but the file must not stay open.
         DiagnosticsRecorder diagnostics;
         gCloses = 0;
         kmOsTable().closeFile = &countedClose;
         const std::wstring file = config();
         arm(KmOsCall::CloseFile);
         EXPECT_TRUE(kmStoreOpenConfigFile(file.c_str()));
         EXPECT_EQ(1, gCloses);
       }},
      {KmOsCall::Write, "Write", [this] {
         gWritten.clear();
         kmOsTable().write = &halfWrite;
         const std::wstring file = config();
         arm(KmOsCall::Write);
         EXPECT_TRUE(kmStoreOpenConfigFile(file.c_str()));
         EXPECT_EQ("", gWritten) << "a failed write is given up, not retried";
       }},
      {KmOsCall::IsTerminal, "IsTerminal", [] {
         kmOsTable().isTerminal = &terminal;
         arm(KmOsCall::IsTerminal);
         EXPECT_FALSE(kmIsInteractiveInput());
         EXPECT_TRUE(kmIsInteractiveInput());
       }},
      {KmOsCall::EnvironmentVariable, "EnvironmentVariable", [this] {
         standInEnvironment();
         arm(KmOsCall::EnvironmentVariable);
         EXPECT_FALSE(kmStoreOpenFromEnvironment());
         EXPECT_TRUE(kmStoreOpenFromEnvironment());
       }},
  };
  std::set<KmOsCall> covered;
  for (const FaultCase& c : cases) {
    SCOPED_TRACE(c.name);
    kmOsReset();
    const long before = kmOsCallCount(c.kind);
    c.armAndCheck();
    EXPECT_GT(kmOsCallCount(c.kind), before);
    covered.insert(c.kind);
  }
  EXPECT_EQ(static_cast<std::size_t>(KmOsCall::Count), covered.size()) << "a kind without a case";
}

TEST_F(OsTableTest, WriteProgramPathTerminalAndEnvironmentGoThroughTheTable) {
  gWritten.clear();
  gDescriptors.clear();
  kmOsTable().write = &halfWrite;
  const std::wstring file = config();
  EXPECT_TRUE(kmStoreOpenConfigFile(file.c_str()));
  EXPECT_EQ(utf8(file) + ":3: line not understood (expected [key], \"name\"=value or a ; comment); "
                         "skipped\n", gWritten);
  EXPECT_EQ(std::set<int>{2}, gDescriptors) << "standard error";

  kmOsTable().programPath = [](char* buffer, std::size_t size) {
    const char fake[] = "/opt/fake/host";
    if (size < sizeof fake) return -1L;
    std::memcpy(buffer, fake, sizeof fake);
    return static_cast<long>(sizeof fake - 1);
  };
  wchar_t path[kKmTextBuffer];
  EXPECT_EQ(14u, GetModuleFileNameW(GetModuleHandleW(nullptr), path, kKmTextBuffer));
  EXPECT_STREQ(L"/opt/fake/host", path);

  gDescriptors.clear();
  kmOsTable().isTerminal = &terminal;
  EXPECT_TRUE(kmIsInteractiveInput());
  EXPECT_EQ(std::set<int>{0}, gDescriptors) << "standard input";

  standInEnvironment();
  EXPECT_TRUE(kmStoreOpenFromEnvironment());
  EXPECT_EQ("KMRX_STORE_DIR", gAskedFor);
  HKEY key = nullptr;
  EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, L"FromEnvironment", 0, KEY_READ, &key));
  RegCloseKey(key);
}

}  // namespace
