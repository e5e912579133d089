// Unloading real extension modules: locks, refusals, nested unloads released
// in queue order, classes unlinked and destroyed, multi-document state.
#include "LinkerTestSupport.h"

namespace {

class LinkerUnload : public LinkerTest {};

// Looks at tm_good's class and service while observers are told of its unload.
class ProbeReactor : public YcRxDLinkerReactor {
public:
  void rxAppWillBeUnloaded(const wchar_t*) override { before = probe(); }
  void rxAppUnloaded(const wchar_t*) override { after = probe(); }

  struct State {
    bool classRegistered = false;
    YcRxDynLoadModuleProxy* classModule = nullptr;
    bool serviceRegistered = false;
    int unloadDepth = -1;
  };
  State before, after;

private:
  static State probe() {
    State s;
    auto* cls = YcRxClass::cast(ycrxInternalGetClassDic()->at(L"TmGoodThing"));
    s.classRegistered = cls != nullptr;
    s.classModule = cls ? YcRxClassImp::getImpl(cls)->moduleProxy() : nullptr;
    s.serviceRegistered = ycrxServiceIsRegistered(L"TmGoodService");
    s.unloadDepth = linker()->unloadDepth();
    return s;
  }
};

}  // namespace

TEST_F(LinkerUnload, LockedModuleShows1005AndStaysUntilUnlocked) {
  const std::wstring path = modulePath(L"tm_locked");
  YcRxDynLoadModuleProxy* record = load(L"tm_locked");
  ASSERT_NE(nullptr, record);
  EXPECT_TRUE(ycrxApplicationIsLocked(path.c_str()));
  for (bool flag : {false, true}) {
    host.clearRecords();
    EXPECT_FALSE(ycrxUnloadModule(path.c_str(), flag));
    EXPECT_EQ(Lines{resText(1005, path)}, host.messages);
    EXPECT_EQ(1, record->moduleRefCount()) << "a refused call keeps the reference";
    EXPECT_TRUE(ycrxAppIsLoaded(path.c_str()));
  }
  EXPECT_TRUE(ycrxUnlockApplication(record));
  EXPECT_FALSE(ycrxApplicationIsLocked(path.c_str()));
  EXPECT_TRUE(unload(L"tm_locked"));
  EXPECT_FALSE(isMapped(path));
}

TEST_F(LinkerUnload, ModuleHandlingAMessageCannotBeUnloaded) {
  const std::wstring path = modulePath(L"tm_good");
  YcRxDynLoadModuleProxy* record = load(L"tm_good");
  ASSERT_NE(nullptr, record);
  EXPECT_TRUE(linker()->sendMessageToApp(path.c_str(), kTmUnloadSelfMsg, nullptr));
  EXPECT_EQ(Lines{L"tm:tm_good unload self no"}, logWith(L"tm:tm_good unload"));
  EXPECT_EQ(Lines{resText(1005, path)}, host.messages);
  EXPECT_EQ(1, record->moduleRefCount());
  EXPECT_FALSE(record->sendingMessage());
  EXPECT_TRUE(unload(L"tm_good"));
}

TEST_F(LinkerUnload, NestedUnloadIsReleasedInQueueOrderWhenTheOutermostEnds) {
  const std::wstring outer = modulePath(L"tm_nest_outer"), inner = modulePath(L"tm_nest_inner");
  load(L"tm_nest_inner");
  load(L"tm_nest_outer");
  EXPECT_TRUE(ycrxUnloadModule(outer.c_str()));
  host.clearRecords();
  EXPECT_TRUE(ycrxUnloadModule(outer.c_str()));
  // Inside the outer unload message the inner module has gone through its
  // protocol but is still mapped, still recorded and its condemned class
  // still registered; both go, inner first, when the outer run ends.
  EXPECT_EQ((Lines{
                L"yrx " + outer + L" unload", L"tm:tm_nest_outer msg 2",
                L"yrx " + inner + L" unload", L"tm:tm_nest_inner msg 2",
                L"tm:tm_nest_outer unloaded other yes yes, mapped yes, record yes, class yes",
                L"tm:tm_nest_inner destroyed", L"tm:tm_nest_outer destroyed"}),
            host.logLines);
  EXPECT_FALSE(isMapped(inner));
  EXPECT_FALSE(isMapped(outer));
  EXPECT_FALSE(ycrxAppIsLoaded(inner.c_str()));
  EXPECT_FALSE(ycrxInternalGetClassDic()->has(L"TmNestInnerThing"));
  EXPECT_EQ(0, YcRxClassImp::getDoomedRxClassCount());
}

TEST_F(LinkerUnload, ClassesAreUnlinkedBeforeObserversHearAndDestroyedAfterTheUnload) {
  YcRxDynLoadModuleProxy* record = load(L"tm_good");
  ASSERT_NE(nullptr, record);
  ProbeReactor probe;
  linker()->addReactor(&probe);
  EXPECT_TRUE(unload(L"tm_good"));
  linker()->removeReactor(&probe);

  EXPECT_TRUE(probe.before.classRegistered);
  EXPECT_EQ(record, probe.before.classModule);
  EXPECT_TRUE(probe.before.serviceRegistered);
  EXPECT_EQ(1, probe.before.unloadDepth);
  // The module condemned its class in its unload message; the linker unlinked
  // it and removed the service, but destroys the class only at depth 0.
  EXPECT_TRUE(probe.after.classRegistered);
  EXPECT_EQ(nullptr, probe.after.classModule);
  EXPECT_FALSE(probe.after.serviceRegistered);
  EXPECT_EQ(1, probe.after.unloadDepth);
  EXPECT_FALSE(ycrxInternalGetClassDic()->has(L"TmGoodThing"));
}

TEST_F(LinkerUnload, RefusalIsHonouredOnlyWithoutForce) {
  const std::wstring path = modulePath(L"tm_refuses_unload");
  YcRxDynLoadModuleProxy* record = load(L"tm_refuses_unload");
  ASSERT_NE(nullptr, record);
  LogReactor reactor(host, L"r");
  linker()->addReactor(&reactor);
  host.clearRecords();
  EXPECT_FALSE(linker()->startYrxUnloadProtocol(record, false));
  EXPECT_EQ(1, record->moduleRefCount()) << "the released reference is taken again";
  EXPECT_TRUE(ycrxAppIsLoaded(path.c_str()));
  EXPECT_TRUE(isMapped(path));
  EXPECT_EQ((Lines{L"r willBeUnloaded " + path, L"r unloadAborted " + path}),
            logWith(L"r "));
  EXPECT_EQ(Lines{L"yrx " + path + L" unload"}, logWith(L"yrx "));

  host.clearRecords();
  EXPECT_TRUE(unload(L"tm_refuses_unload")) << "unloading by name forces";
  linker()->removeReactor(&reactor);
  EXPECT_EQ((Lines{L"r willBeUnloaded " + path, L"r unloaded " + path}),
            logWith(L"r "));
  EXPECT_FALSE(isMapped(path));
}

TEST_F(LinkerUnload, UnloadByApplicationNameIgnoresCase) {
  const std::wstring path = modulePath(L"tm_good");
  YcRxDynLoadModuleProxy* record = load(L"tm_good");
  ASSERT_NE(nullptr, record);
  record->setAppName(L"TmGoodApp");
  EXPECT_FALSE(ycrxUnloadApp(L""));
  EXPECT_FALSE(ycrxUnloadApp(L"TmOtherApp"));
  EXPECT_TRUE(ycrxUnloadApp(L"tmgoodapp"));
  EXPECT_TRUE(ycrxAppIsLoaded(path.c_str()));
  EXPECT_TRUE(ycrxUnloadApp(L"TMGOODAPP"));
  EXPECT_FALSE(ycrxAppIsLoaded(path.c_str()));
}

TEST_F(LinkerUnload, UnknownNamesUnloadNothing) {
  EXPECT_FALSE(ycrxUnloadModule(L""));
  EXPECT_FALSE(ycrxUnloadModule(nullptr));
  EXPECT_FALSE(ycrxUnloadModule(modulePath(L"tm_good").c_str()));
  EXPECT_TRUE(host.messages.empty());
  EXPECT_TRUE(host.logLines.empty());
}

TEST_F(LinkerUnload, HostResumesMultiDocumentWorkWhenTheLastModuleNotMdiAwareGoes) {
  load(L"tm_not_mdi");
  YcRxDynLoadModuleProxy* good = load(L"tm_good");
  EXPECT_FALSE(ycrxIsAppMDIAware(modulePath(L"tm_not_mdi").c_str()));
  EXPECT_TRUE(ycrxIsAppMDIAware(modulePath(L"tm_good").c_str()));
  EXPECT_TRUE(ycrxRegisterAppNotMDIAware(good));
  EXPECT_TRUE(unload(L"tm_not_mdi"));
  EXPECT_EQ(0, host.resumeCalls) << "another module is not MDI aware yet";
  EXPECT_TRUE(unload(L"tm_good"));
  EXPECT_EQ(1, host.resumeCalls);
}
