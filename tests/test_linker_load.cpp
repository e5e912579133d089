// Loading real extension modules: messages, log, observers, records and the physical release.
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
    EXPECT_NE(std::wstring::npos, shown[0].find(L"tm_hidden_dep", head.size()));
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

TEST_F(LinkerLoad, WellBehavedModuleBringsItsClassAndLeavesAfterTheSecondUnload) {
  const std::wstring path = modulePath(L"tm_good");
  YcRxDynLoadModuleProxy* record = load(L"tm_good", true, true);
  ASSERT_NE(nullptr, record);
  EXPECT_EQ(Lines{resText(1007, path)}, host.messages);
  EXPECT_EQ(1, record->moduleType());
  EXPECT_EQ(1, record->moduleRefCount());
  // Outside any message the library itself is the module that runs.
  EXPECT_EQ(YcRxDynamicLinkerImp::mySelf()->rxModuleHandle(), linker()->currentModuleHandle());
  auto* cls = YcRxClass::cast(ycrxInternalGetClassDic()->at(L"TmGoodThing"));
  ASSERT_NE(nullptr, cls);
  EXPECT_EQ(record, YcRxClassImp::getImpl(cls)->moduleProxy());
  EXPECT_EQ(YcRxObject::desc(), cls->myParent()) << "the class tree is rebuilt after init";

  EXPECT_FALSE(ycrxUnloadModule(path.c_str(), true)) << "the first call yields !flag";
  EXPECT_TRUE(ycrxAppIsLoaded(path.c_str()));
  EXPECT_EQ(0, record->moduleRefCount());
  EXPECT_TRUE(ycrxUnloadModule(path.c_str(), true));
  EXPECT_FALSE(isMapped(path));
  EXPECT_FALSE(ycrxInternalGetClassDic()->has(L"TmGoodThing"));
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
}

TEST_F(LinkerLoad, NameTheHostCannotFindShowsNothingButLeavesALogLine) {
  EXPECT_FALSE(ycrxLoadModule(L"tm_nowhere.yrx", true));
  EXPECT_EQ(Lines{L"tm_nowhere.yrx"}, host.findFileNames);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(Lines{L"yrx tm_nowhere.yrx load failure: the host cannot find it on its module search path"},
            host.logLines);
  host.clearRecords();
  EXPECT_FALSE(ycrxLoadModule(L"", true));
  EXPECT_FALSE(ycrxLoadModule(nullptr, true));
}

TEST_F(LinkerLoad, RefusedFileShowsItsExactCauseThen1001AndLogsItOnce) {
  // Name, message id, the cause as shown after the message (none for 1004).
  struct Case { const wchar_t* name; int id; const wchar_t* cause; };
  LogReactor reactor(host, L"r");
  linker()->addReactor(&reactor);
  for (const Case& c : {Case{L"tm_no_version", 1006, L"it does not export ycrxGetApiVersion"},
                        Case{L"tm_no_entry", 1004, L"it does not export ycrxEntryPoint"},
                        Case{L"tm_text", 1006, L"it is not an ELF file"},
                        Case{L"tm_truncated", 1006, L"it is truncated: its ELF header ends after 6 bytes"}}) {
    SCOPED_TRACE(c.name);
    const std::wstring path = modulePath(c.name);
    const std::wstring logged = L"yrx " + path + L" load failure: " + c.cause;
    EXPECT_TRUE(refusedLoad(path, false).empty());
    EXPECT_EQ(Lines{logged}, logWith(L"yrx ")) << "printed or not, one log line";
    const std::wstring shown = c.id == 1004 ? resText(c.id, path) : resText(c.id, path) + L": " + c.cause;
    EXPECT_EQ((Lines{shown, resText(1001, path)}), refusedLoad(path, true));
    EXPECT_EQ(Lines{logged}, logWith(L"yrx "));
    EXPECT_TRUE(logWith(L"r ").empty()) << "no observer hears of a file refused before init";
    EXPECT_TRUE(logWith(L"tm:").empty()) << "none of its code ran";
  }
  linker()->removeReactor(&reactor);
}

TEST_F(LinkerLoad, MissingDependencyShows1008WithTheLoadersOwnWords) {
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
}

TEST_F(LinkerLoad, VersionNoticeComparesWithTheRuntimes15Point20OnlyWhenAsked) {
  const std::pair<const wchar_t*, int> cases[] = {{L"tm_api_1520", 0}, {L"tm_api_1499", 1013},
      {L"tm_api_1519", 1013}, {L"tm_api_1600", 1014}, {L"tm_api_1521", 1014}};
  for (short notify : {1, 0}) {
    host.variables[L"YRXCHECKNOTIFY"] = notify;
    for (const auto& [name, notice] : cases) {
      host.clearRecords();
      ASSERT_NE(nullptr, load(name)) << "a version notice never refuses";
      // Shown although printIt is off.
      EXPECT_EQ(notify && notice ? Lines{resText(notice, modulePath(name))} : Lines{},
                host.messages) << name << " YRXCHECKNOTIFY=" << notify;
      EXPECT_TRUE(unload(name));
    }
  }
}

TEST_F(LinkerLoad, FailedInitIsLoggedShows1001AndUnloadsTheModule) {
  const std::wstring path = modulePath(L"tm_init_fails");
  LogReactor reactor(host, L"r");
  linker()->addReactor(&reactor);
  EXPECT_EQ((Lines{resText(KmRxMsg::kInitFailed, path), resText(1001, path)}), refusedLoad(path, false))
      << "even without printIt";
  linker()->removeReactor(&reactor);
  EXPECT_EQ((Lines{L"yrx " + path + L" load failure: its initialisation failed (it answered message 1 with 3)",
                   L"yrx " + path + L" unload"}),
            logWith(L"yrx "));
  EXPECT_EQ((Lines{L"r willBeLoaded " + path, L"r loadAborted " + path,
                   L"r willBeUnloaded " + path, L"r unloaded " + path}),
            logWith(L"r "));
  EXPECT_EQ((Lines{L"tm:tm_init_fails msg 1", L"tm:tm_init_fails msg 2"}),
            logWith(L"tm:tm_init_fails msg"));
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
  EXPECT_FALSE(isMapped(path));
  EXPECT_EQ((Lines{L"r willBeLoaded " + path, L"r willBeUnloaded " + path, L"r unloaded " + path,
                   L"r loadAborted " + path, L"r loaded " + path}),
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
