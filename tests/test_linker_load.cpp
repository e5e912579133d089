// Loading real extension modules: what the user sees (messages, log), what
// the runtime gains (records, classes, services) and the physical release.
#include <algorithm>
#include <cwchar>

#include "LinkerTestSupport.h"

namespace {

class LinkerLoad : public LinkerTest {
protected:
  // Loads a module that must be refused; returns the messages shown.
  Lines refusedLoad(const std::wstring& path, bool printIt) {
    host.clearRecords();
    EXPECT_FALSE(ycrxLoadModule(path.c_str(), printIt)) << path;
    EXPECT_FALSE(ycrxAppIsLoaded(path.c_str()));
    EXPECT_FALSE(isMapped(path)) << "a refused module must be released";
    return host.messages;
  }

  void expectMissingDependencyShown() {
    const std::wstring path = modulePath(L"tm_missing_dep");
    const Lines shown = refusedLoad(path, true);
    ASSERT_EQ(2u, shown.size());
    const std::wstring head = resText(1008, path) + L": ";
    EXPECT_EQ(head, shown[0].substr(0, head.size()));
    EXPECT_NE(std::wstring::npos, shown[0].find(L"tm_hidden_dep", head.size()))
        << "the appended text names the missing module";
    EXPECT_EQ(resText(1001, path), shown[1]);
  }
};

// Finds the module at a path that no longer holds a file.
class VanishedFileHost : public FakeHost {
public:
  Ycad::ErrorStatus findFile(wchar_t* out, int outLength, const wchar_t*, YcDbDatabase*,
                             FindFileHint) override {
    std::wcsncpy(out, modulePath(L"tm_vanished").c_str(), static_cast<std::size_t>(outLength));
    return Ycad::eOk;
  }
};

}  // namespace

TEST(LinkerStartup, RegistryAndServicesHoldTheStartUpObjects) {
  YcRxDictionary* registry = ycrxSysRegistry();
  EXPECT_EQ(3u, registry->numEntries());
  for (const wchar_t* key : {L"ClassDictionary", L"DynamicLinker", L"ServiceDictionary"})
    EXPECT_TRUE(registry->has(key)) << key;
  auto* kernel = YcRxService::cast(serviceDictionary()->at(L"KernelServices"));
  ASSERT_NE(nullptr, kernel);
  ASSERT_NE(nullptr, YcRxDynamicLinkerImp::mySelf());
  EXPECT_EQ(YcRxDynamicLinkerImp::mySelf(), kernel->getSysInfo());
  EXPECT_TRUE(serviceDictionary()->has(L"ProtocolReactorManager"));
  // Outside any message the library itself is the module that runs.
  EXPECT_EQ(YcRxDynamicLinkerImp::mySelf()->rxModuleHandle(), linker()->currentModuleHandle());
}

TEST_F(LinkerLoad, WellBehavedModuleBringsClassAndServiceAndLeavesAfterTheSecondUnload) {
  const std::wstring path = modulePath(L"tm_good");
  YcRxDynLoadModuleProxy* record = load(L"tm_good", true, true);
  ASSERT_NE(nullptr, record);
  EXPECT_EQ(Lines{resText(1007, path)}, host.messages);
  EXPECT_EQ(Lines{L"yrx " + path + L" load success"}, logWith(L"yrx "));
  EXPECT_EQ(path, record->fileName());
  EXPECT_EQ(1, record->moduleType());
  EXPECT_EQ(1, record->moduleRefCount());
  EXPECT_FALSE(record->appInLoaded());
  EXPECT_TRUE(linker()->isModuleLoaded(path.c_str()));
  EXPECT_EQ(record->rxModuleHandle(), KmKernel32::GetModuleHandleW(path.c_str()));

  auto* cls = YcRxClass::cast(ycrxInternalGetClassDic()->at(L"TmGoodThing"));
  ASSERT_NE(nullptr, cls);
  EXPECT_EQ(record, YcRxClassImp::getImpl(cls)->moduleProxy());
  EXPECT_EQ(YcRxObject::desc(), cls->myParent()) << "the class tree is rebuilt after init";
  auto* service = YcRxService::cast(serviceDictionary()->at(L"TmGoodService"));
  ASSERT_NE(nullptr, service);
  EXPECT_EQ(record, service->getSysInfo());

  host.clearRecords();
  EXPECT_FALSE(ycrxUnloadModule(path.c_str(), true)) << "the first call yields !flag";
  EXPECT_TRUE(ycrxAppIsLoaded(path.c_str()));
  EXPECT_EQ(0, record->moduleRefCount());
  EXPECT_TRUE(logWith(L"yrx ").empty());

  EXPECT_TRUE(ycrxUnloadModule(path.c_str(), true));
  EXPECT_EQ(Lines{L"yrx " + path + L" unload"}, logWith(L"yrx "));
  EXPECT_FALSE(ycrxAppIsLoaded(path.c_str()));
  EXPECT_FALSE(isMapped(path));
  EXPECT_FALSE(ycrxInternalGetClassDic()->has(L"TmGoodThing"));
  EXPECT_FALSE(ycrxServiceIsRegistered(L"TmGoodService"));
  EXPECT_FALSE(ycrxUnloadModule(path.c_str())) << "no longer known";
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(LinkerLoad, ReloadAfterTheReleaseRunsTheModulesStaticConstructorsAgain) {
  const std::wstring path = modulePath(L"tm_good");
  for (int round = 0; round < 2; ++round) {
    YcRxDynLoadModuleProxy* record = load(L"tm_good");
    ASSERT_NE(nullptr, record);
    EXPECT_EQ(2, record->moduleType());
    auto initCount = reinterpret_cast<int (*)()>(
        KmKernel32::GetProcAddress(record->rxModuleHandle(), "tmInitCount"));
    ASSERT_NE(nullptr, initCount);
    EXPECT_EQ(1, initCount()) << "round " << round << ": a fresh copy sees one init message";
    EXPECT_TRUE(unload(L"tm_good"));
    EXPECT_FALSE(isMapped(path));
  }
  const std::wstring made = L"tm:tm_good constructed", gone = L"tm:tm_good destroyed";
  Lines lifetime;
  for (const std::wstring& line : host.logLines)
    if (line == made || line == gone) lifetime.push_back(line);
  EXPECT_EQ((Lines{made, gone, made, gone}), lifetime);
}

TEST_F(LinkerLoad, NameTheHostCannotFindFailsWithoutAWord) {
  EXPECT_FALSE(ycrxLoadModule(L"tm_nowhere.yrx", true));
  EXPECT_EQ(Lines{L"tm_nowhere.yrx"}, host.findFileNames);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_TRUE(host.logLines.empty());
  EXPECT_FALSE(ycrxLoadModule(L"", true));
  EXPECT_FALSE(ycrxLoadModule(nullptr, true));
}

TEST_F(LinkerLoad, RefusedFileShowsItsReasonThen1001OnlyWhenPrinting) {
  struct Case {
    const wchar_t* name;
    int id;
    bool platformRefused;  // the loader itself refused the file
  };
  LogReactor reactor(host, L"r");
  linker()->addReactor(&reactor);
  for (const Case& c : {Case{L"tm_no_version", 1006, false}, Case{L"tm_no_entry", 1004, false},
                        Case{L"tm_text", 1006, true}, Case{L"tm_truncated", 1006, true}}) {
    SCOPED_TRACE(c.name);
    const std::wstring path = modulePath(c.name);
    EXPECT_TRUE(refusedLoad(path, false).empty());
    EXPECT_EQ((Lines{resText(c.id, path), resText(1001, path)}),
              refusedLoad(path, true));
    // No observer hears of a module that never loaded. Only a file the loader
    // refused is logged, with the loader's reason after its path.
    EXPECT_TRUE(logWith(L"r ").empty());
    const Lines logged = logWith(L"yrx ");
    if (c.platformRefused) {
      ASSERT_EQ(1u, logged.size());  // records are cleared before each load
      for (const std::wstring& line : logged) {
        EXPECT_EQ(0u, line.find(L"yrx " + path + L" load failure: "));
      }
    } else {
      EXPECT_TRUE(logged.empty());
    }
  }
  linker()->removeReactor(&reactor);
}

TEST_F(LinkerLoad, MissingDependencyShows1008WithTheLoadersOwnWords) {
  ASSERT_EQ(0, _waccess(modulePath(L"tm_missing_dep").c_str(), 0)) << "the module itself exists";
  expectMissingDependencyShown();
  // Also as the first message of a process, when the texts are not read yet.
  KMRX_EXPECT_IN_CHILD({
    for (int i = 0; i < 8 && isMapped(L"KmRxRes.dll"); ++i)
      KmKernel32::FreeLibrary(KmKernel32::GetModuleHandleW(L"KmRxRes.dll"));
    EXPECT_FALSE(isMapped(L"KmRxRes.dll"));
    expectMissingDependencyShown();
  });
}

TEST_F(LinkerLoad, FileGoneAfterTheSearchShows1010) {
  VanishedFileHost vanished;
  vanished.install();
  const std::wstring path = modulePath(L"tm_vanished");
  EXPECT_FALSE(ycrxLoadModule(L"tm_vanished.yrx", true));
  EXPECT_EQ((Lines{resText(1010, path), resText(1001, path)}), vanished.messages);
  vanished.uninstall();
}

TEST_F(LinkerLoad, VersionNoticeComparesWithTheRuntimes15Point20OnlyWhenAsked) {
  struct Case {
    const wchar_t* name;
    int notice;  // 0: none
  };
  for (short notify : {1, 0}) {
    host.variables[L"YRXCHECKNOTIFY"] = notify;
    for (const Case& c : {Case{L"tm_api_1520", 0}, Case{L"tm_api_1499", 1013},
                          Case{L"tm_api_1519", 1013}, Case{L"tm_api_1600", 1014},
                          Case{L"tm_api_1521", 1014}}) {
      SCOPED_TRACE(std::wstring(c.name) + L" YRXCHECKNOTIFY=" + std::to_wstring(notify));
      host.clearRecords();
      ASSERT_NE(nullptr, load(c.name)) << "a version notice never refuses";
      Lines expected;
      if (notify && c.notice) expected.push_back(resText(c.notice, modulePath(c.name)));
      EXPECT_EQ(expected, host.messages) << "shown although printIt is off";
      EXPECT_TRUE(unload(c.name));
    }
  }
}

TEST_F(LinkerLoad, FailedInitIsLoggedShows1001AndUnloadsTheModule) {
  const std::wstring path = modulePath(L"tm_init_fails");
  LogReactor reactor(host, L"r");
  linker()->addReactor(&reactor);
  EXPECT_FALSE(ycrxLoadModule(path.c_str(), false));
  linker()->removeReactor(&reactor);

  EXPECT_EQ(Lines{resText(1001, path)}, host.messages) << "even without printIt";
  EXPECT_EQ((Lines{L"yrx " + path + L" load failure", L"yrx " + path + L" unload"}),
            logWith(L"yrx "));
  EXPECT_EQ((Lines{L"r willBeLoaded " + path, L"r loadAborted " + path,
                                       L"r willBeUnloaded " + path, L"r unloaded " + path}),
            logWith(L"r "));
  EXPECT_EQ((Lines{L"tm:tm_init_fails msg 1", L"tm:tm_init_fails msg 2"}),
            logWith(L"tm:tm_init_fails msg"));
  EXPECT_FALSE(ycrxAppIsLoaded(path.c_str()));
  EXPECT_FALSE(isMapped(path));
  EXPECT_FALSE(ycrxServiceIsRegistered(L"TmFailService"));
  EXPECT_FALSE(ycrxInternalGetClassDic()->has(L"TmFailThing"));
}

TEST_F(LinkerLoad, ModuleNotMdiAwareIsUnloadedWhenTheHostRefusesYetTheLoadSucceeds) {
  const std::wstring path = modulePath(L"tm_not_mdi");
  host.acceptNonMdi = false;
  LogReactor reactor(host, L"r");
  linker()->addReactor(&reactor);
  EXPECT_TRUE(ycrxLoadModule(path.c_str(), true));
  linker()->removeReactor(&reactor);

  EXPECT_FALSE(ycrxAppIsLoaded(path.c_str()));
  EXPECT_FALSE(isMapped(path));
  EXPECT_EQ((Lines{L"r willBeLoaded " + path, L"r willBeUnloaded " + path,
                                       L"r unloaded " + path, L"r loadAborted " + path,
                                       L"r loaded " + path}),
            logWith(L"r "));
  EXPECT_EQ((Lines{L"yrx " + path + L" unload", L"yrx " + path + L" load success"}),
            logWith(L"yrx "));
  EXPECT_EQ(Lines{resText(1007, path)}, host.messages);
  EXPECT_EQ(1, host.resumeCalls);
}

TEST_F(LinkerLoad, LoadedAppsListsBaseNameAndExtensionOfEveryModule) {
  auto names = [] {
    YcArray<const wchar_t*>* apps = ycrxLoadedApps();
    EXPECT_NE(nullptr, apps);
    Lines out;
    for (int i = 0; apps && i < apps->length(); ++i) {
      out.emplace_back((*apps)[i]);
      delete[] (*apps)[i];
    }
    delete apps;
    std::sort(out.begin(), out.end());
    return out;
  };
  EXPECT_TRUE(names().empty());
  load(L"tm_good");
  load(L"tm_api_1520");
  EXPECT_EQ((Lines{L"tm_api_1520.yrx", L"tm_good.yrx"}), names());
  EXPECT_TRUE(unload(L"tm_good"));
  EXPECT_TRUE(unload(L"tm_api_1520"));
}
