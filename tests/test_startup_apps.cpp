// Start-up loading: applications registered under both registry roots, load
// reasons, managed applications, the listed-modules file, registration.
#include <algorithm>
#include <cwchar>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "LinkerTestSupport.h"
#include "StoreTestSupport.h"

namespace {

using V = std::vector<std::wstring>;

// Finds list files (".lst") by the name given, relative to the current
// directory, so that the list reader's short path limit is not in the way.
class ListHost : public FakeHost {
public:
  Ycad::ErrorStatus findFile(wchar_t* out, int outLength, const wchar_t* name, YcDbDatabase* db,
                             FindFileHint hint) override {
    const std::wstring n(name ? name : L"");
    if (n.size() < 4 || n.compare(n.size() - 4, 4, L".lst") != 0)
      return FakeHost::findFile(out, outLength, name, db, hint);
    findFileNames.push_back(n);
    if (!KmFileSystem::isFileExisting(name) || static_cast<int>(n.size()) >= outLength)
      return Ycad::eKeyNotFound;
    std::wcscpy(out, name);
    return Ycad::eOk;
  }
};

class StartupAppsTest : public LinkerTest {
protected:
  void SetUp() override {
    LinkerTest::SetUp();
    kmStoreCloseAll();
  }
  void TearDown() override {
    kmStoreCloseAll();
    LinkerTest::TearDown();
  }

  void openRoot(HKEY root, const std::string& text) {
    const char* file = root == HKEY_CURRENT_USER ? "HKCU.reg" : "HKLM.reg";
    ASSERT_TRUE(kmStoreOpenRegistryFile(root, dir.write(file, text).c_str()));
  }

  // A config entry for app with load reasons and loader.
  static std::string entry(const std::string& app, unsigned reasons, const std::string& loader) {
    char number[16];
    std::snprintf(number, sizeof(number), "%08x", reasons);
    return "[Applications\\" + app + "]\n\"LOADCTRLS\"=dword:" + number + "\n\"LOADER\"=\"" +
           loader + "\"\n";
  }

  YcRxDynLoadModuleProxy* record(const wchar_t* name) {
    return linker()->findRxModuleProxyByModuleName(modulePath(name).c_str(), false);
  }

  // Times tm_good was loaded, by the log of the host that saw it.
  static int goodLoads(const FakeHost& seen) {
    const std::wstring line = L"yrx " + modulePath(L"tm_good") + L" load success";
    return static_cast<int>(std::count(seen.logLines.begin(), seen.logLines.end(), line));
  }

  CtypeLocaleGuard locale;
  TempDir dir;
};

TEST_F(StartupAppsTest, StartupNamesComePerUserFirstWithoutDuplicates) {
  openRoot(HKEY_CURRENT_USER,
           "[Software\\KmRx\\Test\\Applications\\Beta]\n"
           "[Software\\KmRx\\Test\\Applications\\Alpha]\n"
           "[Software\\KmRx\\Test\\Other\\NotAnApplication]\n");
  openRoot(HKEY_LOCAL_MACHINE,
           "[Software\\KmRx\\Test\\Applications\\Alpha]\n"
           "[Software\\KmRx\\Test\\Applications\\Gamma]\n");
  // Not for start-up: each record is read (its loader looked for) and refused.
  openConfig(dir, entry("Alpha", 8, "a.yrx") + entry("Beta", 8, "b.yrx") +
                      entry("Gamma", 8, "g.yrx") + entry("NotAnApplication", 2, "n.yrx"));
  linker()->loadStarupApps();
  EXPECT_EQ((V{L"b.yrx", L"a.yrx", L"g.yrx"}), host.findFileNames);
  EXPECT_EQ(0, linker()->loadedModuleCount());
}

TEST_F(StartupAppsTest, StartupLoadsOnceAndNamesTheModuleRecord) {
  openRoot(HKEY_LOCAL_MACHINE, "[Software\\KmRx\\Test\\Applications\\Good]\n");
  openConfig(dir, entry("Good", 2, "tm_good.yrx"));
  linker()->loadStarupApps();
  YcRxDynLoadModuleProxy* good = record(L"tm_good");
  ASSERT_NE(nullptr, good);
  EXPECT_STREQ(L"Good", good->appName());
  EXPECT_EQ(YcadApp::kOnStartup, good->loadReason());
  EXPECT_TRUE(host.messages.empty());  // start-up loads quietly

  // Again: the module is there, so nothing is loaded a second time.
  linker()->loadStarupApps();
  EXPECT_EQ(1, goodLoads(host));
  EXPECT_EQ(1, linker()->loadedModuleCount());

  YcArray<const wchar_t*>* apps = ycrxLoadedApps();
  ASSERT_NE(nullptr, apps);
  V names;
  for (int i = 0; i < apps->length(); ++i) {
    names.emplace_back((*apps)[i]);
    delete[] (*apps)[i];
  }
  delete apps;
  EXPECT_EQ((V{L"tm_good.yrx"}), names);
  EXPECT_TRUE(unload(L"tm_good"));
}

TEST_F(StartupAppsTest, StartupReasonDoesNotLoadAModuleTwice) {
  openConfig(dir, entry("Good", 2 | 8, "tm_good.yrx"));
  load(L"tm_good");
  EXPECT_TRUE(linker()->loadApp(L"Good", YcadApp::kOnStartup, false, false));
  EXPECT_EQ(1, goodLoads(host));
  EXPECT_EQ(nullptr, record(L"tm_good")->appName());  // the record was left alone
  EXPECT_TRUE(unload(L"tm_good"));
}

TEST_F(StartupAppsTest, LoadByNameFollowsTheRegisteredReasons) {
  openConfig(dir, entry("OnRequest", 8, "tm_good.yrx") + entry("StartupOnly", 2, "tm_good.yrx") +
                      entry("Disabled", 2 | 8 | 16, "tm_good.yrx") +
                      entry("OnCommand", 32, "tm_good.yrx"));
  EXPECT_FALSE(ycrxLoadApp(L"StartupOnly", false));
  EXPECT_FALSE(ycrxLoadApp(L"Disabled", false));
  EXPECT_FALSE(linker()->loadApp(L"Disabled", YcadApp::kOnStartup, false, false));
  EXPECT_FALSE(ycrxLoadApp(L"OnCommand", false));
  EXPECT_FALSE(ycrxLoadApp(L"Unknown", false));
  EXPECT_FALSE(ycrxLoadApp(L"", false));
  EXPECT_FALSE(linker()->loadApp(static_cast<const wchar_t*>(nullptr), YcadApp::kOnLoadRequest,
                                 false, false));
  EXPECT_FALSE(
      linker()->loadApp(static_cast<YcadAppInfo*>(nullptr), YcadApp::kOnLoadRequest, false, false));
  EXPECT_EQ(0, linker()->loadedModuleCount());

  // The name ends at a "|"; a load on request with messages says so.
  EXPECT_TRUE(ycrxLoadApp(L"OnRequest|whatever follows", true));
  ASSERT_NE(nullptr, record(L"tm_good"));
  EXPECT_STREQ(L"OnRequest", record(L"tm_good")->appName());
  EXPECT_EQ(YcadApp::kOnLoadRequest, record(L"tm_good")->loadReason());
  EXPECT_NE(host.messages.end(), std::find(host.messages.begin(), host.messages.end(),
                                           resText(1007, modulePath(L"tm_good"))));
  EXPECT_TRUE(unload(L"tm_good"));

  EXPECT_TRUE(linker()->loadApp(L"OnCommand", YcadApp::kOnCommandInvocation, false, false));
  ASSERT_NE(nullptr, record(L"tm_good"));
  EXPECT_EQ(YcadApp::kOnCommandInvocation, record(L"tm_good")->loadReason());
  EXPECT_TRUE(unload(L"tm_good"));
}

TEST_F(StartupAppsTest, AppLoaderLoadsForReasonFourAsACommand) {
  openConfig(dir, entry("ByLoader", 4, "tm_good.yrx") + entry("NotByLoader", 8, "tm_good.yrx") +
                      entry("Missing", 4, "tm_absent.yrx"));
  YcadAppInfo info;
  info.setAppName(L"NotByLoader");
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(YcadAppInfo::kNothingLoaded, info.runAppLoader());  // found, but refused
  info.setAppName(L"Missing");
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(YcadAppInfo::kModuleNotFound, info.runAppLoader());
  EXPECT_EQ(0, linker()->loadedModuleCount());

  info.setAppName(L"ByLoader");
  ASSERT_EQ(Ycad::eOk, info.readFromRegistry());
  EXPECT_EQ(YcadAppInfo::kModuleLoaded, info.runAppLoader());
  YcRxDynLoadModuleProxy* good = record(L"tm_good");
  ASSERT_NE(nullptr, good);
  EXPECT_EQ(1, good->moduleType());  // loaded as a command
  EXPECT_EQ(YcadApp::kOnAppLoader, good->loadReason());
  EXPECT_STREQ(L"ByLoader", good->appName());
  EXPECT_TRUE(unload(L"tm_good"));
}

TEST_F(StartupAppsTest, ManagedApplicationsGoToTheManagedLoader) {
  YcadAppInfo info;
  info.setAppName(L"Managed");
  info.setModuleName(L"Managed.Module.dll");
  info.setManaged(true);
  ASSERT_EQ(nullptr, KmKernel32::GetModuleHandleW(L"KmManaged.dll"));
  EXPECT_FALSE(linker()->loadApp(&info, YcadApp::kOnLoadRequest, false, false));

  HMODULE loader = KmKernel32::LoadLibraryExW(testModulePath(L"KmManaged.dll").c_str(), nullptr, 0);
  ASSERT_NE(nullptr, loader);
  auto calls =
      reinterpret_cast<int (*)()>(KmKernel32::GetProcAddress(loader, "ManagedLoaderCalls"));
  auto lastName = reinterpret_cast<const wchar_t* (*)()>(
      KmKernel32::GetProcAddress(loader, "ManagedLoaderLastName"));
  ASSERT_TRUE(calls && lastName);
  EXPECT_TRUE(linker()->loadApp(&info, YcadApp::kOnLoadRequest, false, false));
  EXPECT_EQ(1, calls());
  EXPECT_STREQ(L"Managed.Module.dll", lastName());
  // The loader's non-zero answer is a failure; the reasons are checked before it is asked.
  info.setModuleName(L"refuse.dll");
  EXPECT_FALSE(linker()->loadApp(&info, YcadApp::kOnLoadRequest, false, false));
  EXPECT_EQ(2, calls());
  EXPECT_FALSE(linker()->loadApp(&info, YcadApp::kOnStartup, false, false));
  info.setLoadReason(
      static_cast<YcadApp::LoadReasons>(YcadApp::kOnLoadRequest | YcadApp::kLoadDisabled));
  EXPECT_FALSE(linker()->loadApp(&info, YcadApp::kOnLoadRequest, false, false));
  EXPECT_EQ(2, calls());
  EXPECT_EQ(0, linker()->loadedModuleCount());
  EXPECT_TRUE(KmKernel32::FreeLibrary(loader));
}

TEST_F(StartupAppsTest, ListedModulesLoadDespiteAMissingEntry) {
  ListHost lists;
  lists.install();
  CurrentDirGuard cwd(dir.path());
  dir.write("m.lst",
            "; modules loaded at start-up\n"
            "\n"
            "   ; an indented comment\n"
            "tm_good.yrx\n"
            "// tm_locked.yrx\n"
            "tm_absent.yrx\n"
            "tm_text.yrx\n"
            "\t\ttm_nest_inner.yrx");  // no line end
  EXPECT_FALSE(linker()->initListedModules(L"m.lst"));
  V asked;
  for (const std::wstring& name : lists.findFileNames)
    if (name[0] != L'/') asked.push_back(name);
  EXPECT_EQ((V{L"m.lst", L"tm_good.yrx", L"tm_absent.yrx", L"tm_text.yrx", L"tm_nest_inner.yrx"}),
            asked);
  ASSERT_NE(nullptr, record(L"tm_good"));
  ASSERT_NE(nullptr, record(L"tm_nest_inner"));
  EXPECT_EQ(1, record(L"tm_good")->moduleType());  // as a command
  EXPECT_EQ(2, linker()->loadedModuleCount());
  // With messages: the user hears of each load, and of the file that is no module.
  EXPECT_NE(lists.messages.end(), std::find(lists.messages.begin(), lists.messages.end(),
                                            resText(1007, modulePath(L"tm_nest_inner"))));
  EXPECT_NE(lists.messages.end(), std::find(lists.messages.begin(), lists.messages.end(),
                                            resText(1001, modulePath(L"tm_text"))));
  EXPECT_TRUE(unload(L"tm_good"));
  EXPECT_TRUE(unload(L"tm_nest_inner"));

  dir.write("ok.lst", "tm_good.yrx\n");
  EXPECT_TRUE(linker()->initListedModules(L"ok.lst"));
  EXPECT_TRUE(unload(L"tm_good"));
  lists.uninstall();
}

TEST_F(StartupAppsTest, ListedModulesRunTheStartupApplicationsFirst) {
  ListHost lists;
  lists.install();
  CurrentDirGuard cwd(dir.path());
  openRoot(HKEY_CURRENT_USER, "[Software\\KmRx\\Test\\Applications\\Good]\n");
  openConfig(dir, entry("Good", 2, "tm_good.yrx"));
  dir.write("none.lst", "; nothing listed\n");
  EXPECT_TRUE(linker()->initListedModules(L"none.lst"));
  ASSERT_NE(nullptr, record(L"tm_good"));
  EXPECT_STREQ(L"Good", record(L"tm_good")->appName());

  // Also when the list comes to nothing; the module is there already.
  EXPECT_FALSE(linker()->initListedModules(L"absent.lst"));
  EXPECT_FALSE(linker()->initListedModules(L""));
  EXPECT_FALSE(linker()->initListedModules(nullptr));
  EXPECT_EQ(1, goodLoads(lists));
  EXPECT_TRUE(unload(L"tm_good"));
  EXPECT_FALSE(linker()->initListedModules(L"absent.lst"));
  EXPECT_EQ(2, goodLoads(lists));
  EXPECT_TRUE(unload(L"tm_good"));
  lists.uninstall();
}

TEST_F(StartupAppsTest, ListFileProblems) {
  ListHost lists;
  lists.install();
  CurrentDirGuard cwd(dir.path());
  // A line longer than an entry may be is reported, not loaded in part.
  dir.write("long.lst", std::string(1100, 'x') + ".yrx\ntm_good.yrx\n");
  EXPECT_FALSE(linker()->initListedModules(L"long.lst"));
  EXPECT_EQ(1,
            std::count_if(lists.messages.begin(), lists.messages.end(), [](const std::wstring& m) {
              return m.find(L"longer than 1023 characters") != std::wstring::npos;
            }));
  EXPECT_TRUE(unload(L"tm_good"));

  // Found by its full path, the list is opened under eight bytes of it: nothing.
  dir.write("full.list", "tm_good.yrx\n");
  EXPECT_FALSE(linker()->initListedModules(L"full.list"));
  EXPECT_EQ(0, linker()->loadedModuleCount());
  lists.uninstall();

  // Without a host there is nothing to find files with.
  host.uninstall();
  EXPECT_FALSE(linker()->initListedModules(L"long.lst"));
  EXPECT_EQ(1, fatalCount(L"Cannot get host application service object!"));
  host.install();
}

TEST_F(StartupAppsTest, RegistrationChecksTheNameAndWritesNothing) {
  const std::string text = entry("Kept", 8, "kept.yrx");
  openConfig(dir, text);
  EXPECT_EQ(1, ycrxRegisterApp(YcadApp::kOnStartup, L"", false));
  EXPECT_EQ(1, ycrxRegisterApp(YcadApp::kOnStartup, nullptr, true));
  EXPECT_EQ(0, ycrxRegisterApp(YcadApp::kOnStartup, L"NewApp", true));
  EXPECT_EQ(1, ycrxUnregisterApp(L"", false));
  EXPECT_EQ(1, ycrxUnregisterApp(nullptr, false));
  EXPECT_EQ(0, ycrxUnregisterApp(L"Kept", true));
  EXPECT_EQ(0, ycrxUnregisterApp(L"NeverThere", true));
  EXPECT_FALSE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"NewApp"));
  EXPECT_TRUE(ycadConfig()->isItemExist(TesselConfig::kApplications, L"Kept"));
  std::ifstream file(dir.path() / "config.reg", std::ios::binary);
  EXPECT_EQ(text, std::string(std::istreambuf_iterator<char>(file), {}));
}

}  // namespace
