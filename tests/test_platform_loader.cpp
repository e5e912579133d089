// Module loading under the platform names: the error codes the linker turns
// into user messages, handle look-ups and real release, the current
// directory, the OS fault switches, and the runtime's message texts.
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FakeHost.h"
#include "KmRxTestSupport.h"
#include "YcRxModuleFunctions.h"

namespace {

std::string narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }
std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

std::vector<unsigned char> readBytes(const std::wstring& path) {
  std::ifstream in(narrow(path), std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {});
}

// Files handed to the loader, in a directory of their own that goes away after the test.
class ScratchDir {
public:
  ScratchDir() {
    char pattern[] = "/tmp/kmrx_loader_XXXXXX";
    mPath = ::mkdtemp(pattern) ? pattern : "";
  }
  ~ScratchDir() {
    for (const std::string& entry : mEntries) ::remove(entry.c_str());
    ::rmdir(mPath.c_str());
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  std::wstring file(const char* name, const std::vector<unsigned char>& bytes) {
    const std::string path = mPath + "/" + name;
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
    mEntries.insert(mEntries.begin(), path);
    return widen(path);
  }
  std::wstring dir(const char* name) {
    const std::string path = mPath + "/" + name;
    ::mkdir(path.c_str(), 0755);
    mEntries.push_back(path);  // directories go after the files
    return widen(path);
  }

private:
  std::string mPath;
  std::vector<std::string> mEntries;
};

// A 64-byte ELF file header with the given class, type and machine.
std::vector<unsigned char> elfHeader(unsigned char elfClass, unsigned short type,
                                     unsigned short machine) {
  std::vector<unsigned char> h(64, 0);
  h[0] = 0x7f, h[1] = 'E', h[2] = 'L', h[3] = 'F';
  h[4] = elfClass;
  h[5] = 1;  // little endian
  h[6] = 1;  // version
  h[16] = type & 0xff, h[17] = type >> 8;
  h[18] = machine & 0xff, h[19] = machine >> 8;
  h[20] = 1;
  return h;
}

#if defined(__aarch64__)
constexpr unsigned short kThisMachine = 183;
constexpr unsigned short kOtherMachine = 62;
#else
constexpr unsigned short kThisMachine = 62;
constexpr unsigned short kOtherMachine = 183;
#endif

// The directory of libKmRx, where the resource module is built.
std::wstring libraryDir() {
  wchar_t path[1024] = {};
  const HMODULE self =
      KmKernel32::GetModuleHandleFromAddress(reinterpret_cast<const void*>(&ycrxLoadModule));
  if (!self || !KmKernel32::GetModuleFileNameW(self, path, 1024)) return std::wstring();
  const std::wstring full(path);
  return full.substr(0, full.rfind(L'/'));
}

std::wstring resourceModulePath() { return libraryDir() + L"/KmRxRes.dll"; }

// Puts the working directory back however the test ends.
class CurrentDirectoryGuard {
public:
  CurrentDirectoryGuard() { KmKernel32::GetCurrentDirectoryW(4096, mSaved); }
  ~CurrentDirectoryGuard() { KmKernel32::SetCurrentDirectoryW(mSaved); }
  const wchar_t* saved() const { return mSaved; }

private:
  wchar_t mSaved[4096] = {};
};

// Loads path expecting failure; returns the error code left behind.
DWORD failedLoadCode(const std::wstring& path) {
  KmKernel32::SetLastError(0);
  HMODULE h = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0);
  EXPECT_EQ(nullptr, h) << narrow(path);
  if (h) KmKernel32::FreeLibrary(h);
  return KmKernel32::GetLastError();
}

void expectNotAModule(const std::wstring& path) { EXPECT_EQ(193u, failedLoadCode(path)); }

class PlatformLoaderTest : public RuntimeTest {
protected:
  void TearDown() override {
    kmOsReset();
    KmKernel32::SetLastError(0);
    RuntimeTest::TearDown();
  }

  ScratchDir mScratch;
};

TEST_F(PlatformLoaderTest, MissingFilesGive126) {
  EXPECT_EQ(126u, failedLoadCode(L"/kmrx/no/such/dir/tm_absent.yrx"));
  EXPECT_EQ(126u, failedLoadCode(testModuleDir() + L"/tm_absent.yrx"));
  // A bare name the loader searches for and does not find.
  EXPECT_EQ(126u, failedLoadCode(L"kmrx_no_such_module.yrx"));
}

TEST_F(PlatformLoaderTest, FilesWithoutAModuleHeaderForThisMachineGive193) {
  std::vector<unsigned char> text(200, 'x');
  std::vector<unsigned char> wrongMagic = elfHeader(2, 3, kThisMachine);
  wrongMagic[1] = 'X';
  std::vector<unsigned char> cutHeader = elfHeader(2, 3, kThisMachine);
  cutHeader.resize(12);
  const std::wstring files[] = {
      mScratch.file("text.yrx", text),
      mScratch.file("empty.yrx", {}),
      mScratch.file("cut_header.yrx", cutHeader),
      mScratch.file("wrong_magic.yrx", wrongMagic),
      mScratch.file("class32.yrx", elfHeader(1, 3, 3)),
      mScratch.file("class32_this_machine.yrx", elfHeader(1, 3, kThisMachine)),
      mScratch.file("other_machine.yrx", elfHeader(2, 3, kOtherMachine)),
      mScratch.file("executable.yrx", elfHeader(2, 2, kThisMachine)),
      mScratch.file("relocatable.yrx", elfHeader(2, 1, kThisMachine)),
      mScratch.dir("directory.yrx"),
  };
  for (const std::wstring& file : files) EXPECT_EQ(193u, failedLoadCode(file)) << narrow(file);
}

// Files that pass a header check and still are no module. Neither may be
// reported as a missing dependency, which is what 126 on an existing file
// tells the user.
TEST_F(PlatformLoaderTest, ProgramsGive193) {
  const std::vector<unsigned char> program = readBytes(L"/bin/true");
  ASSERT_GT(program.size(), 64u);
  EXPECT_EQ(193u, failedLoadCode(mScratch.file("program.yrx", program)));
}

// A module cut short (an interrupted copy or fetch) must be refused, not
// mapped: touching the missing pages would end the host. Run apart for that.
TEST_F(PlatformLoaderTest, TruncatedModulesGive193) {
  const std::vector<unsigned char> module = readBytes(resourceModulePath());
  ASSERT_GT(module.size(), 4096u);
  const std::wstring half = mScratch.file(
      "half_module.yrx", std::vector<unsigned char>(module.begin(), module.begin() + module.size() / 2));
  const std::wstring headersOnly = mScratch.file(
      "headers_only.yrx", std::vector<unsigned char>(module.begin(), module.begin() + 1024));
  KMRX_EXPECT_IN_CHILD(expectNotAModule(half));
  KMRX_EXPECT_IN_CHILD(expectNotAModule(headersOnly));
}

TEST_F(PlatformLoaderTest, MissingDependencyGives126AndNamesIt) {
  const std::wstring path = testModulePath(L"tm_missing_dep.yrx");
  ASSERT_TRUE(KmFileSystem::isFileExisting(path.c_str())) << "test module not built";
  EXPECT_EQ(126u, failedLoadCode(path));
  const std::wstring text = KmKernel32::GetLastLoadErrorText();
  EXPECT_NE(std::wstring::npos, text.find(L"tm_hidden_dep")) << narrow(text);
}

TEST_F(PlatformLoaderTest, LoadedModuleIsFoundByPathAndReallyReleased) {
  const std::wstring path = testModulePath(L"tm_api_1520.yrx");
  ASSERT_TRUE(KmFileSystem::isFileExisting(path.c_str())) << "test module not built";
  ASSERT_EQ(nullptr, KmKernel32::GetModuleHandleW(path.c_str())) << "left loaded elsewhere";

  HMODULE h = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0);
  ASSERT_NE(nullptr, h);
  EXPECT_EQ(L"", std::wstring(KmKernel32::GetLastLoadErrorText()));
  EXPECT_EQ(h, KmKernel32::GetModuleHandleW(path.c_str()));
  wchar_t name[1024] = {};
  EXPECT_EQ(path.size(), KmKernel32::GetModuleFileNameW(h, name, 1024));
  EXPECT_EQ(path, name);
  EXPECT_NE(nullptr, KmKernel32::GetProcAddress(h, "ycrxEntryPoint"));
  EXPECT_NE(nullptr, KmKernel32::GetProcAddress(h, "ycrxGetApiVersion"));
  EXPECT_EQ(nullptr, KmKernel32::GetProcAddress(h, "kmrxNoSuchSymbol"));

  // A second load only counts; the module stays until the last release.
  HMODULE again = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0);
  EXPECT_EQ(h, again);
  EXPECT_TRUE(KmKernel32::FreeLibrary(again));
  EXPECT_EQ(h, KmKernel32::GetModuleHandleW(path.c_str()));
  EXPECT_TRUE(KmKernel32::FreeLibrary(h));
  EXPECT_EQ(nullptr, KmKernel32::GetModuleHandleW(path.c_str())) << "still mapped";
}

TEST_F(PlatformLoaderTest, ResourceModuleLoadedByPathIsFoundByItsBareName) {
  const std::wstring path = resourceModulePath();
  ASSERT_TRUE(KmFileSystem::isFileExisting(path.c_str())) << narrow(path);
  HMODULE h = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0);
  ASSERT_NE(nullptr, h);
  EXPECT_EQ(h, KmKernel32::GetModuleHandleW(L"KmRxRes.dll"));
  HMODULE viaLoader = loadResourceDll(L"KmRxRes.dll");
  EXPECT_EQ(h, viaLoader);
  if (viaLoader) KmKernel32::FreeLibrary(viaLoader);
  EXPECT_TRUE(KmKernel32::FreeLibrary(h));
  EXPECT_EQ(nullptr, KmKernel32::GetModuleHandleW(L"kmrx_never_loaded.dll"));
  EXPECT_NE(nullptr, KmKernel32::GetModuleHandleW(nullptr)) << "the program itself";
}

void expectOrdinalLookupsGiveNull(HMODULE h) {
  for (std::uintptr_t ordinal : {1u, 2u, 0xFFFFu})
    EXPECT_EQ(nullptr, KmKernel32::GetProcAddress(h, reinterpret_cast<const char*>(ordinal)));
}

// The linker passes symbols given as ordinals on unchanged; this platform has
// no ordinals, so they find nothing (and must not be read as text).
TEST_F(PlatformLoaderTest, OrdinalSymbolsFindNothing) {
  HMODULE h = KmKernel32::LoadLibraryExW(resourceModulePath().c_str(), nullptr, 0);
  ASSERT_NE(nullptr, h);
  KMRX_EXPECT_IN_CHILD(expectOrdinalLookupsGiveNull(h));
  KmKernel32::FreeLibrary(h);
}

TEST_F(PlatformLoaderTest, CurrentDirectoryChangesAndComesBack) {
  CurrentDirectoryGuard guard;
  const std::wstring target = mScratch.dir("cwd");
  char resolved[4096];
  ASSERT_NE(nullptr, ::realpath(narrow(target).c_str(), resolved));

  ASSERT_TRUE(KmKernel32::SetCurrentDirectoryW(target.c_str()));
  wchar_t now[4096] = {};
  EXPECT_EQ(std::strlen(resolved), KmKernel32::GetCurrentDirectoryW(4096, now));
  EXPECT_EQ(widen(resolved), now);
  // Too small a buffer: the size needed, terminator included.
  EXPECT_EQ(std::strlen(resolved) + 1, KmKernel32::GetCurrentDirectoryW(3, now));

  EXPECT_FALSE(KmKernel32::SetCurrentDirectoryW(L"/kmrx/no/such/dir"));
  KmKernel32::GetCurrentDirectoryW(4096, now);
  EXPECT_EQ(widen(resolved), now) << "a failed change moved the directory";

  ASSERT_TRUE(KmKernel32::SetCurrentDirectoryW(guard.saved()));
  KmKernel32::GetCurrentDirectoryW(4096, now);
  EXPECT_STREQ(guard.saved(), now);
}

TEST_F(PlatformLoaderTest, ArmedOpenFaultFailsOnlyTheNextLoadWith126) {
  const std::wstring path = resourceModulePath();
  kmOsFailNth(KmOsCall::OpenModule, 1);
  EXPECT_EQ(126u, failedLoadCode(path));
  HMODULE h = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0);
  EXPECT_NE(nullptr, h) << "the fault fired twice";
  if (h) KmKernel32::FreeLibrary(h);
}

TEST_F(PlatformLoaderTest, ArmedAllocFaultFailsTheNthAllocation) {
  kmOsFailNth(KmOsCall::Alloc, 2);
  void* first = _kmMalloc(16);
  void* second = _kmMalloc(16);
  void* third = _kmMalloc(16);
  EXPECT_NE(nullptr, first);
  EXPECT_EQ(nullptr, second);
  EXPECT_NE(nullptr, third);
  _kmFree(first);
  _kmFree(third);

  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_EQ(nullptr, _kmStrdup(L"copy"));

  kmOsFailNth(KmOsCall::Alloc, 1);
  kmOsFailNth(KmOsCall::Alloc, 0);  // disarmed again
  void* block = _kmMalloc(16);
  EXPECT_NE(nullptr, block);
  _kmFree(block);
}

// --- message texts ------------------------------------------------------------

class ResourceTextTest : public RuntimeTest {};

TEST_F(ResourceTextTest, EveryLinkerMessageTakesExactlyOneString) {
  for (int id = 1001; id <= 1014; ++id) {
    wchar_t text[1024];
    std::wmemset(text, L'#', 1024);
    EXPECT_TRUE(KmRxGetResString(id, text, 1024)) << id;
    const std::wstring s(text);
    EXPECT_GT(s.size(), 10u) << id;
    const std::size_t slot = s.find(L"%s");
    ASSERT_NE(std::wstring::npos, slot) << id;
    // No other conversion: the text goes through swprintf with one argument.
    EXPECT_EQ(slot, s.find(L'%')) << id;
    EXPECT_EQ(std::wstring::npos, s.find(L'%', slot + 1)) << id;
  }
}

TEST_F(ResourceTextTest, TooShortABufferCutsTheTextAndSaysSo) {
  wchar_t full[1024];
  ASSERT_TRUE(KmRxGetResString(1007, full, 1024));
  const int n = static_cast<int>(std::wcslen(full));
  ASSERT_GT(n, 6);

  wchar_t cut[1024];
  std::wmemset(cut, L'#', 1024);
  EXPECT_FALSE(KmRxGetResString(1007, cut, 6));
  EXPECT_EQ(std::wstring(full, 5), cut);
  EXPECT_EQ(L'#', cut[6]) << "wrote past the given length";

  // The text's own length does not fit either: the terminator needs a place.
  EXPECT_FALSE(KmRxGetResString(1007, cut, n));
  EXPECT_EQ(std::wstring(full, n - 1), cut);
  EXPECT_TRUE(KmRxGetResString(1007, cut, n + 1));
  EXPECT_STREQ(full, cut);
}

TEST_F(ResourceTextTest, UnknownIdsGiveEmptyTexts) {
  HMODULE h = loadResourceDll(L"KmRxRes.dll");
  ASSERT_NE(nullptr, h);
  wchar_t text[16];
  std::wmemset(text, L'#', 16);
  EXPECT_EQ(0, LoadStringW(h, 999, text, 16));
  EXPECT_EQ(L'\0', text[0]);
  std::wmemset(text, L'#', 16);
  EXPECT_EQ(15, LoadStringW(h, 1007, text, 16)) << "cut to the buffer";
  EXPECT_EQ(15u, std::wcslen(text));
  KmKernel32::FreeLibrary(h);

  std::wmemset(text, L'#', 16);
  KmRxGetResString(999, text, 16);
  EXPECT_EQ(L'\0', text[0]);
}

}  // namespace
