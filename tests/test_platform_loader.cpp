// Module loading under the platform names: handle look-ups and real release, the OS fault
// switches, and the runtime's message texts. Why a load fails is in test_module_check.
#include <cstdint>
#include <cwchar>

#include "FakeHost.h"
#include "KmRxTestSupport.h"
#include "KmRxTesting.h"
#include "YcRxModuleFunctions.h"

namespace {

std::string narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

// The resource module, built next to libKmRx.
std::wstring resourceModulePath() {
  wchar_t path[1024] = {};
  const HMODULE self =
      KmKernel32::GetModuleHandleFromAddress(reinterpret_cast<const void*>(&ycrxLoadModule));
  KmKernel32::GetModuleFileNameW(self, path, 1024);
  const std::wstring full(path);
  return full.substr(0, full.rfind(L'/')) + L"/KmRxRes.dll";
}

// Loads path expecting failure; returns the error code left behind.
DWORD failedLoadCode(const std::wstring& path) {
  KmKernel32::SetLastError(0);
  HMODULE h = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0);
  EXPECT_EQ(nullptr, h) << narrow(path);
  if (h) KmKernel32::FreeLibrary(h);
  return KmKernel32::GetLastError();
}

class PlatformLoaderTest : public RuntimeTest {
protected:
  void TearDown() override {
    kmOsReset();
    RuntimeTest::TearDown();
  }
};

TEST_F(PlatformLoaderTest, AnAddressOfTheProgramItselfNamesTheProgram) {
  // As for a runtime linked into the program statically.
  static const int inProgram = 0;
  EXPECT_EQ(KmKernel32::GetModuleHandleW(nullptr), KmKernel32::GetModuleHandleFromAddress(&inProgram));
  EXPECT_NE(KmKernel32::GetModuleHandleW(nullptr),
            KmKernel32::GetModuleHandleFromAddress(reinterpret_cast<const void*>(&ycrxLoadModule)));
}

TEST_F(PlatformLoaderTest, LoadedModuleIsFoundByPathAndReallyReleasedAtTheLastFree) {
  const std::wstring path = testModulePath(L"tm_api_1520.yrx");
  ASSERT_EQ(nullptr, KmKernel32::GetModuleHandleW(path.c_str())) << "left loaded elsewhere";
  HMODULE h = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0);
  ASSERT_NE(nullptr, h) << "test module not built?";
  wchar_t name[1024] = {};
  EXPECT_EQ(path.size(), KmKernel32::GetModuleFileNameW(h, name, 1024));
  EXPECT_EQ(path, name);
  EXPECT_TRUE(KmKernel32::GetProcAddress(h, "ycrxEntryPoint") &&
              !KmKernel32::GetProcAddress(h, "kmrxNoSuchSymbol"));
  EXPECT_EQ(h, KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0));  // a second load only counts
  EXPECT_TRUE(KmKernel32::FreeLibrary(h));
  EXPECT_EQ(h, KmKernel32::GetModuleHandleW(path.c_str()));
  EXPECT_TRUE(KmKernel32::FreeLibrary(h));
  EXPECT_EQ(nullptr, KmKernel32::GetModuleHandleW(path.c_str())) << "still mapped";
}

// The linker passes symbols given as ordinals on unchanged; this platform has none, so they
// find nothing (and must not be read as text: checked in a child).
TEST_F(PlatformLoaderTest, ResourceModuleIsFoundByItsBareNameAndOrdinalsFindNothing) {
  kmOsFailNth(KmOsCall::OpenModule, 1);
  EXPECT_EQ(126u, failedLoadCode(resourceModulePath()));
  HMODULE h = KmKernel32::LoadLibraryExW(resourceModulePath().c_str(), nullptr, 0);
  ASSERT_NE(nullptr, h) << "an armed fault must fail the next open only";
  EXPECT_EQ(h, KmKernel32::GetModuleHandleW(L"KmRxRes.dll"));
  HMODULE viaLoader = loadResourceDll(L"KmRxRes.dll");
  EXPECT_EQ(h, viaLoader);
  if (viaLoader) KmKernel32::FreeLibrary(viaLoader);
  KMRX_EXPECT_IN_CHILD(
      for (std::uintptr_t n = 1; n <= 0xFFFF; n += 0xFFFE)
        EXPECT_EQ(nullptr, KmKernel32::GetProcAddress(h, reinterpret_cast<const char*>(n))));
  EXPECT_TRUE(KmKernel32::FreeLibrary(h));
  EXPECT_NE(nullptr, KmKernel32::GetModuleHandleW(nullptr)) << "the program itself";
}

TEST_F(PlatformLoaderTest, ArmedAllocFaultFailsOnlyTheNthAllocation) {
  kmOsFailNth(KmOsCall::Alloc, 2);
  void* blocks[] = {_kmMalloc(16), _kmMalloc(16), _kmMalloc(16)};
  EXPECT_TRUE(blocks[0] && !blocks[1] && blocks[2]);
  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_EQ(nullptr, _kmStrdup(L"copy"));
  kmOsFailNth(KmOsCall::Alloc, 1);
  kmOsFailNth(KmOsCall::Alloc, 0);  // disarmed again
  EXPECT_NE(nullptr, blocks[1] = _kmMalloc(16));
  for (void* block : blocks) _kmFree(block);
}

TEST_F(PlatformLoaderTest, MessageTextsTakeExactlyOneStringForSwprintfAndAreCutToTheBuffer) {
  wchar_t text[1024], cut[1024];
  for (int id = 1001; id <= 1014; ++id) {
    ASSERT_TRUE(KmRxGetResString(id, text, 1024)) << id;
    EXPECT_TRUE(std::count(text, text + std::wcslen(text), L'%') == 1 && std::wcsstr(text, L"%s"))
        << id;
  }
  const int n = static_cast<int>(std::wcslen(text));
  std::wmemset(cut, L'#', 1024);
  EXPECT_FALSE(KmRxGetResString(1014, cut, 6));
  EXPECT_EQ(std::wstring(text, 5), cut);
  EXPECT_EQ(L'#', cut[6]) << "wrote past the given length";
  EXPECT_FALSE(KmRxGetResString(1014, cut, n));  // the terminator needs a place too
  EXPECT_TRUE(KmRxGetResString(1014, cut, n + 1));
  EXPECT_STREQ(text, cut);
  KmRxGetResString(999, cut, 16);  // unknown ids give empty texts
  EXPECT_EQ(L'\0', cut[0]);
}

}  // namespace
