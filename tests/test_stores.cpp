// The registry-style store and the configuration store, read from their text files.
#include <cstring>

#include "KmRxTestSupport.h"
#include "KmRxTesting.h"
#include "StoreTestSupport.h"

namespace {

using V = std::vector<std::wstring>;
constexpr auto kApps = TesselConfig::kApplications;

class StoreTest : public ::testing::Test {
protected:
  void SetUp() override { kmStoreCloseAll(); }
  void TearDown() override {
    kmStoreCloseAll();
    kmOsReset();
  }

  // Subkey names of path under root, in order; {"<none>"} when it cannot be opened.
  static V subkeys(HKEY root, const wchar_t* path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &key) != ERROR_SUCCESS) return {L"<none>"};
    V names;
    for (wchar_t name[64]; RegEnumKeyW(key, static_cast<DWORD>(names.size()), name, 64) == 0;)
      names.emplace_back(name);
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
    return names;
  }
  static bool exists(HKEY root, const wchar_t* path) { return subkeys(root, path) != V{L"<none>"}; }

  // A value of the applications section as text, "<none>" when it cannot be read.
  static std::wstring value(const wchar_t* key) {
    YcadVariant v;
    if (!ycadConfig() || !ycadConfig()->readValue(kApps, key, v)) return L"<none>";
    return v.type() == YcadVariant::kDWord ? std::to_wstring(v.getDWord()) : v.getString();
  }

  // Line numbers named by the messages, each of which must begin "<file>:".
  static std::vector<int> reported(const DiagnosticsRecorder& sink, const std::wstring& file) {
    std::vector<int> lines;
    for (const std::wstring& message : sink.messages) {
      EXPECT_EQ(0u, message.find(file + L":")) << utf8(message);
      lines.push_back(std::wcstol(message.c_str() + file.size() + 1, nullptr, 10));
    }
    return lines;
  }

  TempDir dir;
};

TEST_F(StoreTest, KeysComeInFileOrderIgnoreCaseAndHandlesAreChecked) {
  ASSERT_TRUE(kmStoreOpenRegistryFile(HKEY_CURRENT_USER, dir.write("HKCU.reg",
      "; a comment, then a blank line\n\n"
      "[Software\\KmRx\\Test\\Applications\\Zeta]\n"
      "[HKEY_CURRENT_USER\\Software\\KmRx\\Test\\Applications\\alpha]\n"
      "\"LOADER\"=\"a.yrx\"\n"
      "[software\\kmrx\\test\\APPLICATIONS\\LongestName]\n"
      "[Software\\KmRx\\Test\\Applications\\ZETA]\n").c_str()));
  EXPECT_EQ((V{L"Zeta", L"alpha", L"LongestName"}),
            subkeys(HKEY_CURRENT_USER, L"SOFTWARE\\kmrx\\Test\\Applications"));
  // Parents exist with their children; a leading or doubled separator is harmless.
  EXPECT_EQ((V{L"Applications"}), subkeys(HKEY_CURRENT_USER, L"\\Software\\\\KmRx\\Test"));

  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key));
  // A handle outlives the store it was opened in: its key is simply gone.
  kmStoreCloseAll();
  wchar_t name[8];
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegEnumKeyW(key, 0, name, 8));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(key));
}

TEST_F(StoreTest, MalformedLinesAreReportedByFileAndLineAndSkipped) {
  DiagnosticsRecorder diagnostics;
  const std::wstring file = dir.write("config.reg",
      "\"Orphan\"=\"before any key\"\n"                       // 1
      "[Applications\\Good]\n"                                 // 2
      "\"LOADER\"=\"good.yrx\"\n"                              // 3
      "\"LOADCTRLS\"=dword:123456789\n"                        // 4: nine digits
      "\"Bin\"=hex:01,02\n"                                    // 5
      "\"Open\"=\"no closing quote\n"                          // 6
      "\"DESCRIPTION\" = \"spaces around = are fine\"   \n"    // 7
      "[Applications\\Broken\n"                                // 8
      "\"Lost\"=\"under a bad section, dropped quietly\"\n"    // 9
      "[Elsewhere\\App]\n"                                     // 10
      "[Applications\\A/B]\n"                                  // 11
      "[Applications\\Good]\n"                                 // 12
      "\"a/b\"=\"slash in a value name\"\n"                    // 13
      "\"LOADCTRLS\"=dword:0000000D\n"                         // 14
      "\"Text\"=\"say \\\"hi\\\" C:\\\\dir\\\\f and C:\\x\"\n"  // 15
      "\"LOADER\"=\"later.yrx\"\n");                            // 16: the later one wins
  ASSERT_TRUE(kmStoreOpenConfigFile(file.c_str()));
  EXPECT_EQ((std::vector<int>{1, 4, 5, 6, 8, 10, 11, 13}), reported(diagnostics, file));
  EXPECT_EQ(L"later.yrx", value(L"Good/LOADER"));
  EXPECT_EQ(L"spaces around = are fine", value(L"Good/DESCRIPTION"));
  EXPECT_EQ(L"say \"hi\" C:\\dir\\f and C:\\x", value(L"Good/Text"));
  EXPECT_EQ(L"13", value(L"Good/LOADCTRLS"));
  EXPECT_FALSE(ycadConfig()->isItemExist(kApps, L"Broken"));
}

// One splitter under three sets of rules: a section of the file refuses an empty name or a path
// too deep, the registry functions pass over empty names, the configuration API refuses them.
TEST_F(StoreTest, KeyPathsSplitByTheRulesOfEachUser) {
  DiagnosticsRecorder diagnostics;
  auto deep = [](int names) {
    std::string path = "k";
    for (int i = 1; i < names; ++i) path += "\\k";
    return path;
  };
  const std::wstring file = dir.write("HKCU.reg",
      "[A\\B]\n"                 // 1
      "[A\\\\B2]\n"              // 2: empty name
      "[\\A]\n"                  // 3: leading separator
      "[A\\]\n"                  // 4: trailing separator
      "[]\n"                     // 5
      "[" + deep(128) + "]\n"    // 6: the deepest allowed
      "[" + deep(129) + "]\n");  // 7
  ASSERT_TRUE(kmStoreOpenRegistryFile(HKEY_CURRENT_USER, file.c_str()));
  ASSERT_EQ((std::vector<int>{2, 3, 4, 5, 7}), reported(diagnostics, file));
  EXPECT_NE(std::wstring::npos, diagnostics.messages[0].find(L"empty key name in section \"A\\\\B2\""));
  EXPECT_NE(std::wstring::npos, diagnostics.messages[4].find(L"deeper than 128 levels"));
  EXPECT_EQ(V{L"B"}, subkeys(HKEY_CURRENT_USER, L"\\A\\"));
  EXPECT_EQ(V{L"k"}, subkeys(HKEY_CURRENT_USER, L"k\\\\k"));
  const std::string narrowDeepest = deep(128);
  const std::wstring deepest(narrowDeepest.begin(), narrowDeepest.end());
  EXPECT_TRUE(exists(HKEY_CURRENT_USER, deepest.c_str()));
  EXPECT_FALSE(exists(HKEY_CURRENT_USER, (deepest + L"\\k").c_str()));

  openConfig(dir, "[Applications\\App\\Sub]\n\"V\"=\"x\"\n");
  for (const wchar_t* key : {L"", L"App", L"App/Sub"})
    EXPECT_TRUE(ycadConfig()->isItemExist(kApps, key)) << utf8(key);
  for (const wchar_t* key : {L"/App", L"App/", L"App//Sub", L"App\\Sub"})
    EXPECT_FALSE(ycadConfig()->isItemExist(kApps, key)) << utf8(key);
  EXPECT_EQ(L"x", value(L"App/Sub/V"));
  EXPECT_EQ(L"<none>", value(L"App//Sub/V"));
}

TEST_F(StoreTest, OtherRootsKeysAreRejectedAndReportsStopAfterTwenty) {
  DiagnosticsRecorder diagnostics;
  std::string text = "[HKEY_CURRENT_USER\\Software\\Mine]\n[HKLM\\Software\\Machine]\n";
  for (int i = 0; i < 29; ++i) text += "rubbish\n";
  const std::wstring file = dir.write("HKLM.reg", text);
  ASSERT_TRUE(kmStoreOpenRegistryFile(HKEY_LOCAL_MACHINE, file.c_str()));
  ASSERT_EQ(21u, diagnostics.messages.size());
  EXPECT_EQ(0u, diagnostics.messages[0].find(file + L":1: ")) << utf8(diagnostics.messages[0]);
  EXPECT_EQ(file + L": 10 more problems not shown", diagnostics.messages.back());
  EXPECT_EQ((V{L"Machine"}), subkeys(HKEY_LOCAL_MACHINE, L"Software"));
}

TEST_F(StoreTest, DamagedFilesKeepWhatCanBeRead) {
  DiagnosticsRecorder diagnostics;
  // Not UTF-8, a NUL byte, a line over the limit, and a last line cut short.
  const std::wstring file = dir.write("config.reg",
      "\xEF\xBB\xBF[Applications\\Caf\xE9]\r\n"
      "\"Nul\"=\"a" + std::string(1, '\0') + "b\"\n"
      "\"Long\"=\"" + std::string(9000, 'x') + "\"\n"
      "\"After\"=\"still read\"\r\n"
      "\"Cut\"=\"no end");
  ASSERT_TRUE(kmStoreOpenConfigFile(file.c_str()));
  EXPECT_EQ((std::vector<int>{2, 3, 5}), reported(diagnostics, file));
  EXPECT_EQ(L"still read", value(L"Caf\xFFFD/After"));
  EXPECT_EQ(L"<none>", value(L"Caf\xFFFD/Cut"));
}

TEST_F(StoreTest, HugeFileIsReadUpToTheLimitAtALineEnd) {
  DiagnosticsRecorder diagnostics;
  std::string text = "[Applications\\Early]\n";
  const std::string filler = "; " + std::string(1000, '-') + "\n";
  while (text.size() + filler.size() < (8u << 20) - 100) text += filler;
  // This line straddles the limit: it must not be taken in half.
  text += "\"Straddle\"=\"" + std::string(2000, 'y') + "\"\n[Applications\\Late]\n";
  const std::wstring file = dir.write("config.reg", text);
  ASSERT_TRUE(kmStoreOpenConfigFile(file.c_str()));
  EXPECT_EQ(V{file + L": larger than 8 MiB; only its first lines are read"}, diagnostics.messages);
  EXPECT_TRUE(ycadConfig()->isItemExist(kApps, L"Early"));
  EXPECT_EQ(L"<none>", value(L"Early/Straddle"));
  EXPECT_FALSE(ycadConfig()->isItemExist(kApps, L"Late"));
}

TEST_F(StoreTest, MissingFilesLeaveTheirStoreEmptyQuietlyUnopenableOnesAreReported) {
  DiagnosticsRecorder diagnostics;
  dir.write("HKCU.reg", "[User]\n");
  dir.write("config.reg", "[Applications\\App]\n");
  EXPECT_TRUE(kmStoreOpenDirectory(dir.wpath().c_str()));  // HKCU.reg, HKLM.reg, config.reg
  EXPECT_TRUE(exists(HKEY_CURRENT_USER, L"User"));
  EXPECT_NE(nullptr, ycadConfig());
  EXPECT_FALSE(kmStoreOpenRegistryFile(HKEY_CURRENT_USER, dir.file("none.reg").c_str()));
  EXPECT_FALSE(exists(HKEY_CURRENT_USER, L"User"));
  EXPECT_FALSE(kmStoreOpenConfigFile(dir.file("none.reg").c_str()));
  EXPECT_EQ(nullptr, ycadConfig());
  EXPECT_FALSE(kmStoreOpenConfigFile(nullptr));
  EXPECT_TRUE(diagnostics.messages.empty());

  const std::wstring config = dir.file("config.reg");
  kmOsFailNth(KmOsCall::OpenFile, 1);
  EXPECT_FALSE(kmStoreOpenConfigFile(config.c_str()));
  EXPECT_EQ(nullptr, ycadConfig());
  EXPECT_EQ((V{config + L": cannot be opened"}), diagnostics.messages);
  EXPECT_TRUE(kmStoreOpenConfigFile(config.c_str()));
}

TEST_F(StoreTest, VariantIsTwelvePackedBytesWithTheStoresBlock) {
  openConfig(dir, "[Applications\\App]\n\"N\"=dword:DEADBEEF\n\"S\"=\"text\"\n");
  YcadVariant number, text;
  ASSERT_TRUE(ycadConfig()->readValue(kApps, L"App/N", number));
  // The type code, then the block pointer; the block: a 32-bit header, then the payload.
  struct __attribute__((packed)) { std::int32_t type; const char* block; } raw;
  std::uint32_t payload;
  std::memcpy(&raw, static_cast<const void*>(&number), sizeof raw);
  std::memcpy(&payload, raw.block + 4, 4);
  EXPECT_EQ(1, raw.type);
  EXPECT_EQ(0xDEADBEEFu, payload);
  EXPECT_STREQ(L"", number.getString());  // not a string: empty, never null
  // A missing value, or no memory for it, leaves the variant empty.
  EXPECT_FALSE(ycadConfig()->readValue(kApps, L"App/None", number));
  EXPECT_EQ(nullptr, number.valueBlock());
  ASSERT_TRUE(ycadConfig()->readValue(kApps, L"App/S", text));
  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_FALSE(ycadConfig()->readValue(kApps, L"App/S", text));
  EXPECT_EQ(nullptr, text.valueBlock());
}

}  // namespace
