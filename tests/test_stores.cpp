// The registry-style store and the configuration store, read from their text files.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "KmRxTestSupport.h"
#include "StoreTestSupport.h"

namespace {

class StoreTest : public ::testing::Test {
protected:
  void SetUp() override { kmStoreCloseAll(); }
  void TearDown() override {
    kmStoreCloseAll();
    kmOsReset();
  }

  void openUser(const std::string& text) {
    ASSERT_TRUE(kmStoreOpenRegistryFile(HKEY_CURRENT_USER, dir.write("HKCU.reg", text).c_str()));
  }

  // Subkey names of path under root, through the registry calls, in order.
  static std::vector<std::wstring> subkeys(HKEY root, const wchar_t* path) {
    std::vector<std::wstring> names;
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path, 0, KEY_READ, &key) != ERROR_SUCCESS) return names;
    DWORD count = 0, longest = 0;
    EXPECT_EQ(ERROR_SUCCESS,
              RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr));
    std::vector<wchar_t> buffer(longest + 1);
    for (DWORD i = 0; i < count; ++i) {
      EXPECT_EQ(ERROR_SUCCESS, RegEnumKeyW(key, i, buffer.data(), longest + 1));
      names.emplace_back(buffer.data());
    }
    EXPECT_EQ(ERROR_NO_MORE_ITEMS, RegEnumKeyW(key, count, buffer.data(), longest + 1));
    EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
    return names;
  }

  static bool keyExists(HKEY root, const wchar_t* path) {
    HKEY key = nullptr;
    const LONG result = RegOpenKeyExW(root, path, 0, KEY_READ, &key);
    if (result == ERROR_SUCCESS) RegCloseKey(key);
    return result == ERROR_SUCCESS;
  }

  static std::wstring stringValue(const wchar_t* key) {
    YcadVariant value;
    if (!ycadConfig() || !ycadConfig()->readValue(TesselConfig::kApplications, key, value))
      return L"<none>";
    return value.getString();
  }

  // Line numbers named by the messages about file, in order.
  static std::vector<int> reportedLines(const DiagnosticsRecorder& diagnostics,
                                        const std::wstring& file) {
    std::vector<int> lines;
    for (const std::wstring& message : diagnostics.messages) {
      EXPECT_EQ(0u, message.find(file + L":"))
          << "message does not name the file: " << utf8(message);
      if (message.find(file + L":") == 0)
        lines.push_back(std::stoi(message.substr(file.size() + 1)));
    }
    return lines;
  }

  TempDir dir;
};

using V = std::vector<std::wstring>;

TEST_F(StoreTest, SubkeysComeInFileOrderAndNamesIgnoreCase) {
  openUser(
      "; start-up applications\n"
      "[Software\\KmRx\\Test\\Applications\\Zeta]\n"
      "\n"
      "[HKEY_CURRENT_USER\\Software\\KmRx\\Test\\Applications\\alpha]\n"
      "\"LOADER\"=\"a.yrx\"\n"
      "[software\\kmrx\\test\\APPLICATIONS\\LongestName]\n"
      "[Software\\KmRx\\Test\\Applications\\ZETA]\n");
  EXPECT_EQ((V{L"Zeta", L"alpha", L"LongestName"}),
            subkeys(HKEY_CURRENT_USER, L"SOFTWARE\\kmrx\\Test\\Applications"));
  // Parents exist with their children; a leading or doubled separator is harmless.
  EXPECT_EQ((V{L"KmRx"}), subkeys(HKEY_CURRENT_USER, L"\\Software"));
  EXPECT_TRUE(keyExists(HKEY_CURRENT_USER, L"Software\\\\KmRx"));
  EXPECT_FALSE(keyExists(HKEY_LOCAL_MACHINE, L"Software"));
  EXPECT_FALSE(keyExists(HKEY_CURRENT_USER, L"Software\\KmRx\\Test\\Applications\\Beta"));
}

TEST_F(StoreTest, RegistryIsReadOnlyAndChecksHandles) {
  openUser("[Apps]\n");
  HKEY key = reinterpret_cast<HKEY>(&key);
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_CURRENT_USER, L"Nope", 0, KEY_READ, &key));
  EXPECT_EQ(nullptr, key);
  EXPECT_EQ(ERROR_ACCESS_DENIED,
            RegOpenKeyExW(HKEY_CURRENT_USER, L"Apps", 0, KEY_READ | KEY_SET_VALUE, &key));
  EXPECT_EQ(ERROR_INVALID_PARAMETER,
            RegOpenKeyExW(HKEY_CURRENT_USER, L"Apps", 0, KEY_READ, nullptr));

  wchar_t name[8];
  EXPECT_EQ(ERROR_MORE_DATA, RegEnumKeyW(HKEY_CURRENT_USER, 0, name, 4));  // room for the end
  ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, L"Apps", 0, KEY_READ, &key));
  // A handle outlives the store it was opened in: its key is simply gone.
  kmStoreCloseAll();
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegEnumKeyW(key, 0, name, 8));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegCloseKey(key));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegEnumKeyW(key, 0, name, 8));
  EXPECT_EQ(ERROR_INVALID_HANDLE, RegOpenKeyExW(nullptr, L"Apps", 0, KEY_READ, &key));
  EXPECT_EQ(ERROR_SUCCESS, RegCloseKey(HKEY_LOCAL_MACHINE));
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
      "just words\n"                                           // 7
      "\"DESCRIPTION\" = \"spaces around = are fine\"   \n"    // 8
      "[Applications\\Broken\n"                                // 9
      "\"Lost\"=\"under a bad section, dropped quietly\"\n"    // 10
      "[Elsewhere\\App]\n"                                     // 11
      "[Applications\\A/B]\n"                                  // 12
      "[Applications\\\\Empty]\n"                              // 13
      "[-Applications\\Good]\n"                                // 14
      "[Applications\\Good]\n"                                 // 15
      "\"a/b\"=\"slash in a value name\"\n"                    // 16
      "\"LOADCTRLS\"=dword:0000000D\n"                         // 17
      "\"Text\"=\"say \\\"hi\\\" C:\\\\dir\\\\f and C:\\x\"\n");  // 18
  ASSERT_TRUE(kmStoreOpenConfigFile(file.c_str()));
  EXPECT_EQ((std::vector<int>{1, 4, 5, 6, 7, 9, 11, 12, 13, 14, 16}),
            reportedLines(diagnostics, file));
  EXPECT_EQ(L"good.yrx", stringValue(L"Good/LOADER"));
  EXPECT_EQ(L"spaces around = are fine", stringValue(L"Good/DESCRIPTION"));
  EXPECT_EQ(L"say \"hi\" C:\\dir\\f and C:\\x", stringValue(L"Good/Text"));
  YcadVariant reasons;
  ASSERT_TRUE(ycadConfig()->readValue(TesselConfig::kApplications, L"Good/LOADCTRLS", reasons));
  EXPECT_EQ(13u, reasons.getDWord());
  EXPECT_FALSE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"Broken"));
  EXPECT_FALSE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"A"));
}

TEST_F(StoreTest, RegistryFileRejectsTheOtherRootsKeys) {
  DiagnosticsRecorder diagnostics;
  const std::wstring file = dir.write("HKLM.reg",
      "[HKEY_CURRENT_USER\\Software\\Mine]\n"
      "[HKLM\\Software\\Machine]\n");
  ASSERT_TRUE(kmStoreOpenRegistryFile(HKEY_LOCAL_MACHINE, file.c_str()));
  EXPECT_EQ((std::vector<int>{1}), reportedLines(diagnostics, file));
  EXPECT_EQ((V{L"Machine"}), subkeys(HKEY_LOCAL_MACHINE, L"Software"));
  EXPECT_FALSE(keyExists(HKEY_CURRENT_USER, L"Software"));
}

TEST_F(StoreTest, DamagedFilesKeepWhatCanBeRead) {
  DiagnosticsRecorder diagnostics;
  // Not UTF-8, a NUL byte, a line over the limit, and a last line cut short.
  const std::string longLine = "\"Long\"=\"" + std::string(9000, 'x') + "\"\n";
  const std::wstring file = dir.write("config.reg",
      "\xEF\xBB\xBF[Applications\\Caf\xE9]\r\n"
      "\"Nul\"=\"a" + std::string(1, '\0') + "b\"\n" + longLine +
      "\"After\"=\"still read\"\r\n"
      "\"Cut\"=\"no end");
  ASSERT_TRUE(kmStoreOpenConfigFile(file.c_str()));
  EXPECT_EQ((std::vector<int>{2, 3, 5}), reportedLines(diagnostics, file));
  EXPECT_NE(std::wstring::npos, diagnostics.messages[1].find(L"8192"));
  EXPECT_TRUE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"Caf\xFFFD"));
  EXPECT_EQ(L"still read", stringValue(L"Caf\xFFFD/After"));
  EXPECT_EQ(L"<none>", stringValue(L"Caf\xFFFD/Cut"));
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
  ASSERT_EQ(1u, diagnostics.messages.size());
  EXPECT_EQ(file + L": larger than 8 MiB; only its first lines are read", diagnostics.messages[0]);
  EXPECT_TRUE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"Early"));
  EXPECT_EQ(L"<none>", stringValue(L"Early/Straddle"));
  EXPECT_FALSE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"Late"));
}

TEST_F(StoreTest, ReportsStopAfterTwentyWithACount) {
  DiagnosticsRecorder diagnostics;
  std::string text;
  for (int i = 0; i < 30; ++i) text += "rubbish\n";
  const std::wstring file = dir.write("HKCU.reg", text + "[Still\\Read]\n");
  ASSERT_TRUE(kmStoreOpenRegistryFile(HKEY_CURRENT_USER, file.c_str()));
  ASSERT_EQ(21u, diagnostics.messages.size());
  EXPECT_EQ(file + L": 10 more problems not shown", diagnostics.messages.back());
  EXPECT_TRUE(keyExists(HKEY_CURRENT_USER, L"Still\\Read"));
}

TEST_F(StoreTest, MissingOrUnopenableFiles) {
  DiagnosticsRecorder diagnostics;
  openUser("[Apps]\n");
  openConfig(dir, "[Applications\\App]\n");
  // Missing: the root is emptied and the configuration store is gone, quietly.
  EXPECT_FALSE(kmStoreOpenRegistryFile(HKEY_CURRENT_USER, dir.file("none.reg").c_str()));
  EXPECT_FALSE(keyExists(HKEY_CURRENT_USER, L"Apps"));
  EXPECT_FALSE(kmStoreOpenConfigFile(dir.file("none.reg").c_str()));
  EXPECT_EQ(nullptr, ycadConfig());
  EXPECT_FALSE(kmStoreOpenConfigFile(nullptr));
  EXPECT_FALSE(
      kmStoreOpenRegistryFile(reinterpret_cast<HKEY>(&diagnostics), dir.file("HKCU.reg").c_str()));
  EXPECT_TRUE(diagnostics.messages.empty());

  // A file that is there but cannot be opened is reported.
  const std::wstring config = dir.file("config.reg");
  kmOsFailNth(KmOsCall::OpenFile, 1);
  EXPECT_FALSE(kmStoreOpenConfigFile(config.c_str()));
  EXPECT_EQ(nullptr, ycadConfig());
  EXPECT_EQ((V{config + L": cannot be opened"}), diagnostics.messages);
  EXPECT_TRUE(kmStoreOpenConfigFile(config.c_str()));
}

TEST_F(StoreTest, DirectoryAndEnvironmentNameTheThreeFiles) {
  dir.write("HKCU.reg", "[User]\n");
  dir.write("HKLM.reg", "[Machine]\n");
  dir.write("config.reg", "[Applications\\App]\n");
  ASSERT_TRUE(kmStoreOpenDirectory(dir.wpath().c_str()));
  EXPECT_TRUE(keyExists(HKEY_CURRENT_USER, L"User"));
  EXPECT_TRUE(keyExists(HKEY_LOCAL_MACHINE, L"Machine"));
  ASSERT_NE(nullptr, ycadConfig());
  EXPECT_TRUE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"App"));

  kmStoreCloseAll();
  EXPECT_FALSE(keyExists(HKEY_CURRENT_USER, L"User"));
  EXPECT_EQ(nullptr, ycadConfig());

  const char* saved = std::getenv("KMRX_STORE_DIR");
  const std::string previous = saved ? saved : "";
  ::unsetenv("KMRX_STORE_DIR");
  EXPECT_FALSE(kmStoreOpenFromEnvironment());
  ::setenv("KMRX_STORE_DIR", dir.path().c_str(), 1);
  EXPECT_TRUE(kmStoreOpenFromEnvironment());
  EXPECT_TRUE(keyExists(HKEY_LOCAL_MACHINE, L"Machine"));
  EXPECT_NE(nullptr, ycadConfig());
  if (saved)
    ::setenv("KMRX_STORE_DIR", previous.c_str(), 1);
  else
    ::unsetenv("KMRX_STORE_DIR");
}

TEST_F(StoreTest, ConfigurationItemsAndValues) {
  openConfig(dir,
             "[Applications]\n"
             "\"TopValue\"=\"on the root\"\n"
             "[Applications\\Draw\\Groups]\n"
             "\"MAIN\"=\"\"\n"
             "\"EXTRA\"=\"\"\n"
             "[Applications\\DRAW]\n"
             "[Applications\\Draw\\Commands]\n"
             "\"LINE\"=\"line\"\n"
             "\"Count\"=dword:00000002\n"
             "\"LINE\"=\"later wins\"\n");
  TesselConfig* config = ycadConfig();
  ASSERT_NE(nullptr, config);
  const auto apps = TesselConfig::kApplications;
  EXPECT_STREQ(L"Applications", TesselConfig::pathName(apps));
  EXPECT_TRUE(config->isItemExist(apps, L""));
  EXPECT_TRUE(config->isItemExist(apps, L"Draw"));
  EXPECT_TRUE(config->isItemExist(apps, L"Draw/Groups"));
  EXPECT_FALSE(config->isItemExist(apps, L"draw/groups"));  // names are exact here
  EXPECT_FALSE(config->isItemExist(apps, L"Draw//Groups"));
  EXPECT_FALSE(config->isItemExist(static_cast<TesselConfig::Path>(4), L""));
  EXPECT_EQ(L"on the root", stringValue(L"TopValue"));

  // Items in file order; a name read needs room for its terminator.
  TesselConfigItemIterator* items = config->newItemIterator(apps, L"");
  ASSERT_NE(nullptr, items);
  wchar_t name[5];
  EXPECT_TRUE(items->readName(name, 5));
  EXPECT_STREQ(L"Draw", name);
  EXPECT_FALSE(items->readName(name, 4));
  items->next();
  EXPECT_TRUE(items->readName(name, 5));
  EXPECT_STREQ(L"DRAW", name);
  items->next();
  EXPECT_TRUE(items->done());
  EXPECT_FALSE(items->readName(name, 5));
  delete items;
  EXPECT_EQ(nullptr, config->newItemIterator(apps, L"Paint"));

  // Values in file order; a repeated name keeps its place and takes the later text.
  TesselConfigValueIterator* values = config->newValueIterator(apps, L"Draw/Commands");
  ASSERT_NE(nullptr, values);
  std::vector<std::wstring> seen;
  for (; !values->done(); values->next()) {
    wchar_t key[16];
    YcadVariant value;
    ASSERT_TRUE(values->readKey(key, 16));
    ASSERT_TRUE(values->readValue(value));
    seen.push_back(std::wstring(key) + L"=" +
                   (value.type() == YcadVariant::kDWord ? std::to_wstring(value.getDWord())
                                                        : std::wstring(value.getString())));
  }
  EXPECT_EQ((V{L"LINE=later wins", L"Count=2"}), seen);
  YcadVariant none;
  EXPECT_FALSE(values->readValue(none));
  delete values;
  EXPECT_EQ(nullptr, config->newValueIterator(apps, L"Draw/Nothing"));
}

TEST_F(StoreTest, VariantLayoutAndBlock) {
  openConfig(dir,
             "[Applications\\App]\n"
             "\"N\"=dword:DEADBEEF\n"
             "\"S\"=\"text\"\n");
  YcadVariant number;
  ASSERT_TRUE(ycadConfig()->readValue(TesselConfig::kApplications, L"App/N", number));
  // 12 packed bytes: the type code, then the block pointer.
  unsigned char raw[12];
  std::memcpy(raw, static_cast<const void*>(&number), 12);
  std::int32_t type;
  const void* block;
  std::memcpy(&type, raw, 4);
  std::memcpy(&block, raw + 4, 8);
  EXPECT_EQ(1, type);
  ASSERT_EQ(number.valueBlock(), block);
  std::uint32_t header, payload;
  std::memcpy(&header, block, 4);
  std::memcpy(&payload, static_cast<const char*>(block) + 4, 4);
  EXPECT_EQ(4u, header);
  EXPECT_EQ(0xDEADBEEFu, payload);
  EXPECT_EQ(0xDEADBEEFu, number.getDWord());
  EXPECT_STREQ(L"", number.getString());  // not a string: empty, never null

  YcadVariant text;
  ASSERT_TRUE(ycadConfig()->readValue(TesselConfig::kApplications, L"App/S", text));
  EXPECT_EQ(5, text.type());
  EXPECT_STREQ(L"text", text.getString());
  EXPECT_EQ(0u, text.getDWord());
  text.releaseValue();
  EXPECT_EQ(nullptr, text.valueBlock());
  EXPECT_EQ(5, text.type());
  EXPECT_STREQ(L"", text.getString());

  // A missing value leaves the variant empty; so does running out of memory.
  EXPECT_FALSE(ycadConfig()->readValue(TesselConfig::kApplications, L"App/None", number));
  EXPECT_EQ(0, number.type());
  EXPECT_EQ(nullptr, number.valueBlock());
  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_FALSE(ycadConfig()->readValue(TesselConfig::kApplications, L"App/S", text));
  EXPECT_EQ(nullptr, text.valueBlock());

  YcadVariant fresh;
  unsigned char zero[12] = {};
  EXPECT_EQ(0, std::memcmp(zero, static_cast<const void*>(&fresh), 12));
}

}  // namespace
