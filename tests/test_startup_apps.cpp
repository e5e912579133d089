// Start-up applications from both registry roots, load reasons, managed and listed modules.
#include <cwchar>

#include "LinkerTestSupport.h"
#include "StoreTestSupport.h"

namespace {

using V = std::vector<std::wstring>;

// Finds ".lst" files as named, in the current directory: the list reader uses 8 bytes of a path.
class ListHost : public FakeHost {
public:
  Ycad::ErrorStatus findFile(wchar_t* out, int outLength, const wchar_t* name, YcDbDatabase* db,
                             FindFileHint hint) override {
    const Ycad::ErrorStatus found = FakeHost::findFile(out, outLength, name, db, hint);
    if (found == Ycad::eOk && std::wcsstr(name, L".lst")) std::wcscpy(out, name);
    return found;
  }
};

class StartupAppsTest : public LinkerTest {
protected:
  void SetUp() override {
    LinkerTest::SetUp();
    lists.install();
  }
  void TearDown() override {
    lists.uninstall();
    kmStoreCloseAll();
    LinkerTest::TearDown();
  }

  // Writes keys below the product key into root's store.
  void openRoot(HKEY root, std::initializer_list<const char*> keys) {
    std::string text;
    for (const char* key : keys) text += std::string("[Software\\KmRx\\Test\\") + key + "]\n";
    const char* file = root == HKEY_CURRENT_USER ? "HKCU.reg" : "HKLM.reg";
    ASSERT_TRUE(kmStoreOpenRegistryFile(root, dir.write(file, text).c_str()));
  }

  // A config entry for app with load reasons (in hexadecimal) and loader.
  static std::string entry(const std::string& app, const char* reasons,
                           const std::string& loader = "tm_good.yrx") {
    return "[Applications\\" + app + "]\n\"LOADCTRLS\"=dword:" + reasons + "\n\"LOADER\"=\"" +
           loader + "\"\n";
  }

  // "<application name> <load reason> <module type>" of module's record; unloads the module.
  std::wstring unloadRecord(const wchar_t* module) {
    auto* r = linker()->findRxModuleProxyByModuleName(modulePath(module).c_str(), false);
    if (!r) return L"<not loaded>";
    const std::wstring out = std::wstring(r->appName() ? r->appName() : L"<null>") + L" " +
                             std::to_wstring(r->loadReason()) + L" " +
                             std::to_wstring(r->moduleType());
    EXPECT_TRUE(unload(module));
    return out;
  }

  CtypeLocaleGuard locale;
  TempDir dir;
  CurrentDirGuard cwd{dir.path()};
  ListHost lists;
};

TEST_F(StartupAppsTest, StartupAppsComePerUserFirstOnceEachWithReasonTwo) {
  openRoot(HKEY_CURRENT_USER, {"Applications\\Beta", "Applications\\Api", "Other\\NotAnApp"});
  openRoot(HKEY_LOCAL_MACHINE, {"Applications\\Good", "Applications\\Api"});
  // Beta is not for start-up: its record is read (its loader looked for) and refused.
  openConfig(dir, entry("Beta", "8", "b.yrx") + entry("Api", "2", "tm_api_1520.yrx") +
                      entry("Good", "2") + entry("NotAnApp", "2", "n.yrx"));
  load(L"tm_good");
  lists.clearRecords();
  linker()->loadStarupApps();
  EXPECT_EQ((V{L"b.yrx", L"tm_api_1520.yrx", modulePath(L"tm_api_1520"), L"tm_good.yrx"}),
            lists.findFileNames);
  EXPECT_TRUE(lists.messages.empty());  // start-up loads quietly
  EXPECT_EQ(L"Api 2 2", unloadRecord(L"tm_api_1520"));
  // A module already there is not loaded again (one unload takes it), nor is its record changed.
  EXPECT_EQ(L"<null> 16 2", unloadRecord(L"tm_good"));
}

TEST_F(StartupAppsTest, LoadsFollowTheRegisteredReasonsAndRegistrationWritesNothing) {
  openConfig(dir, entry("OnRequest", "8") + entry("StartupOnly", "2") + entry("Disabled", "1a") +
                      entry("OnCommand", "20") + entry("ByLoader", "4"));
  for (const wchar_t* app : {L"StartupOnly", L"Disabled", L"OnCommand", L"Unknown", L""})
    EXPECT_FALSE(ycrxLoadApp(app, false)) << app;
  EXPECT_FALSE(
      linker()->loadApp(static_cast<YcadAppInfo*>(nullptr), YcadApp::kOnLoadRequest, false, false));

  // The name ends at a "|"; a load on request with messages says so.
  EXPECT_TRUE(ycrxLoadApp(L"OnRequest|whatever follows", true));
  EXPECT_EQ(V{resText(1007, modulePath(L"tm_good"))}, lists.messages);
  EXPECT_EQ(L"OnRequest 8 2", unloadRecord(L"tm_good"));
  EXPECT_TRUE(linker()->loadApp(L"OnCommand", YcadApp::kOnCommandInvocation, false, false));
  EXPECT_EQ(L"OnCommand 32 2", unloadRecord(L"tm_good"));
  YcadAppInfo info;
  info.setAppName(L"ByLoader");
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(YcadAppInfo::kModuleLoaded, info.runAppLoader());
  EXPECT_EQ(L"ByLoader 4 1", unloadRecord(L"tm_good"));  // loaded as a command

  // Registration checks the name and writes nothing.
  EXPECT_EQ(1, ycrxRegisterApp(YcadApp::kOnStartup, L"", false));
  EXPECT_EQ(0, ycrxRegisterApp(YcadApp::kOnStartup, L"NewApp", true));
  EXPECT_EQ(0, ycrxUnregisterApp(L"OnRequest", true));
  EXPECT_FALSE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"NewApp"));
}

TEST_F(StartupAppsTest, ManagedApplicationsGoToTheManagedLoader) {
  YcadAppInfo info;
  info.setModuleName(L"Managed.Module.dll");
  info.setManaged(true);
  EXPECT_FALSE(linker()->loadApp(&info, YcadApp::kOnLoadRequest, false, false));
  // The stand-in loader answers 0 unless the module name holds "refuse".
  HMODULE loader = KmKernel32::LoadLibraryExW(testModulePath(L"KmManaged.dll").c_str(), nullptr, 0);
  ASSERT_NE(nullptr, loader);
  EXPECT_TRUE(linker()->loadApp(&info, YcadApp::kOnLoadRequest, false, false));
  EXPECT_FALSE(linker()->loadApp(&info, YcadApp::kOnStartup, false, false));  // reasons first
  info.setModuleName(L"refuse.dll");
  EXPECT_FALSE(linker()->loadApp(&info, YcadApp::kOnLoadRequest, false, false));
  EXPECT_TRUE(KmKernel32::FreeLibrary(loader));
}

TEST_F(StartupAppsTest, ListedModulesLoadAfterTheStartupAppsDespiteMissingEntries) {
  openRoot(HKEY_CURRENT_USER, {"Applications\\Api"});
  openConfig(dir, entry("Api", "2", "tm_api_1520.yrx"));
  dir.write("m.lst",
            "\n"
            "   ; an indented comment\n"
            "tm_good.yrx\n"
            "// tm_locked.yrx\n"
            "tm_absent.yrx\n"
            "tm_text.yrx\n"
            "\t\ttm_nest_inner.yrx");  // no line end
  EXPECT_FALSE(linker()->initListedModules(L"m.lst"));
  EXPECT_EQ((V{L"tm_api_1520.yrx", modulePath(L"tm_api_1520"), L"m.lst", L"tm_good.yrx",
               modulePath(L"tm_good"), L"tm_absent.yrx", L"tm_text.yrx", modulePath(L"tm_text"),
               L"tm_nest_inner.yrx", modulePath(L"tm_nest_inner")}),
            lists.findFileNames);
  // With messages: the user hears of each load, and of the file that is no module.
  EXPECT_EQ((V{resText(1007, modulePath(L"tm_good")), resText(1006, modulePath(L"tm_text")) + L": it is not an ELF file",
               resText(1001, modulePath(L"tm_text")), resText(1007, modulePath(L"tm_nest_inner"))}),
            lists.messages);
  EXPECT_EQ(L"Api 2 2", unloadRecord(L"tm_api_1520"));
  EXPECT_EQ(L"<null> 16 1", unloadRecord(L"tm_good"));  // as a command
  EXPECT_TRUE(unload(L"tm_nest_inner"));
}

TEST_F(StartupAppsTest, ListFileProblems) {
  for (const wchar_t* list : {L"absent.lst", L"", static_cast<const wchar_t*>(nullptr)})
    EXPECT_FALSE(linker()->initListedModules(list));
  dir.write("long.lst", std::string(1100, 'x') + ".yrx\n");
  EXPECT_FALSE(linker()->initListedModules(L"long.lst"));
  EXPECT_NE(std::wstring::npos, lists.messages.at(0).find(L"longer than 1023 characters"));
  // Found by its full path, the list is opened under eight bytes of it: nothing.
  dir.write("full.list", "tm_good.yrx\n");
  EXPECT_FALSE(linker()->initListedModules(L"full.list"));
  // Without a host there is nothing to find files with.
  lists.uninstall();
  host.uninstall();
  EXPECT_FALSE(linker()->initListedModules(L"long.lst"));
  EXPECT_EQ(1, fatalCount(L"Cannot get host application service object!"));
  host.install();
}

}  // namespace
