// Unloading real modules: locks, refusals, nested unloads, classes, multi-document state.
#include "LinkerTestSupport.h"

namespace {

class LinkerUnload : public LinkerTest {};

// Describes tm_good's class and service each time observers hear of its unload.
class ProbeReactor : public YcRxDLinkerReactor {
public:
  void rxAppWillBeUnloaded(const wchar_t*) override { seen.push_back(probe()); }
  void rxAppUnloaded(const wchar_t*) override { seen.push_back(probe()); }
  const YcRxDynLoadModuleProxy* module = nullptr;
  Lines seen;

private:
  std::wstring probe() const {
    auto* cls = YcRxClass::cast(ycrxInternalGetClassDic()->at(L"TmGoodThing"));
    const auto* owner = cls ? YcRxClassImp::getImpl(cls)->moduleProxy() : nullptr;
    return std::wstring(cls ? L"class" : L"-") +
           (owner ? (owner == module ? L" of the module" : L" of another") : L"") +
           (ycrxServiceIsRegistered(L"TmGoodService") ? L", service" : L"") + L", depth " +
           std::to_wstring(linker()->unloadDepth());
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
  }
  EXPECT_TRUE(ycrxUnlockApplication(record));
  EXPECT_TRUE(unload(L"tm_locked"));
}

TEST_F(LinkerUnload, ModuleHandlingAMessageCannotBeUnloaded) {
  const std::wstring path = modulePath(L"tm_good");
  YcRxDynLoadModuleProxy* record = load(L"tm_good");
  ASSERT_NE(nullptr, record);
  EXPECT_TRUE(linker()->sendMessageToApp(path.c_str(), kTmUnloadSelfMsg, nullptr));
  EXPECT_EQ(Lines{L"tm:tm_good unload self no"}, logWith(L"tm:tm_good unload"));
  EXPECT_EQ(Lines{resText(1005, path)}, host.messages);
  EXPECT_EQ(1, record->moduleRefCount());
  EXPECT_TRUE(unload(L"tm_good"));
}

TEST_F(LinkerUnload, NestedUnloadIsReleasedInQueueOrderWhenTheOutermostEnds) {
  const std::wstring outer = modulePath(L"tm_nest_outer"), inner = modulePath(L"tm_nest_inner");
  load(L"tm_nest_inner");
  load(L"tm_nest_outer");
  EXPECT_TRUE(ycrxUnloadModule(outer.c_str()));
  host.clearRecords();
  EXPECT_TRUE(ycrxUnloadModule(outer.c_str()));
  // Inside the outer unload message the inner module has gone through its protocol but
  // is still mapped, recorded and its class registered; both go, inner first, at the end.
  EXPECT_EQ((Lines{
                L"yrx " + outer + L" unload", L"tm:tm_nest_outer msg 2",
                L"yrx " + inner + L" unload", L"tm:tm_nest_inner msg 2",
                L"tm:tm_nest_outer unloaded other yes yes, mapped yes, record yes, class yes",
                L"tm:tm_nest_inner destroyed", L"tm:tm_nest_outer destroyed"}),
            host.logLines);
  EXPECT_FALSE(ycrxInternalGetClassDic()->has(L"TmNestInnerThing"));
  EXPECT_EQ(0, YcRxClassImp::getDoomedRxClassCount());
}

// Unloads another module, again and again, while the first one is being unloaded.
class RepeatUnloadReactor : public YcRxDLinkerReactor {
public:
  void rxAppWillBeUnloaded(const wchar_t*) override {
    if (other.empty()) return;
    const std::wstring target = other;
    other.clear();
    for (int i = 0; i < 3; ++i) results.push_back(ycrxUnloadModule(target.c_str()));
  }
  std::wstring other;
  std::vector<bool> results;
};

TEST_F(LinkerUnload, ModuleAlreadyOnItsWayOutIsNotUnloadedTwice) {
  const std::wstring second = modulePath(L"tm_api_1520");
  load(L"tm_good");
  load(L"tm_api_1520");
  RepeatUnloadReactor reactor;
  linker()->addReactor(&reactor);
  reactor.other = second;
  EXPECT_TRUE(unload(L"tm_good"));
  linker()->removeReactor(&reactor);
  // Lower the count, run the protocol (queued until the outer run ends), then refuse.
  EXPECT_EQ((std::vector<bool>{true, true, false}), reactor.results);
  EXPECT_FALSE(isMapped(second));
  EXPECT_EQ(1, static_cast<int>(logWith(L"yrx " + second + L" unload").size()));
}

TEST_F(LinkerUnload, ClassesAreUnlinkedBeforeObserversHearAndDestroyedAfterTheUnload) {
  ProbeReactor probe;
  probe.module = load(L"tm_good");
  ASSERT_NE(nullptr, probe.module);
  linker()->addReactor(&probe);
  EXPECT_TRUE(unload(L"tm_good"));
  linker()->removeReactor(&probe);
  // Condemned by the module, unlinked and its service removed; destroyed only at depth 0.
  EXPECT_EQ((Lines{L"class of the module, service, depth 1", L"class, depth 1"}), probe.seen);
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
  EXPECT_EQ((Lines{L"r willBeUnloaded " + path, L"r unloadAborted " + path}), logWith(L"r "));
  EXPECT_EQ((Lines{L"yrx " + path + L" unload",
                   L"yrx " + path + L" unload: it answered message 2 with 3; it stays loaded"}),
            logWith(L"yrx "));

  host.clearRecords();
  EXPECT_TRUE(unload(L"tm_refuses_unload")) << "unloading by name forces";
  linker()->removeReactor(&reactor);
  EXPECT_EQ((Lines{L"r willBeUnloaded " + path, L"r unloaded " + path}), logWith(L"r "));
  EXPECT_EQ(Lines{L"yrx " + path + L" unload: it answered message 2 with 3; it is unloaded all the same"},
            logWith(L"yrx " + path + L" unload:"));
}

TEST_F(LinkerUnload, UnloadByApplicationNameIgnoresCaseUnknownNamesUnloadNothing) {
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
  // Unknown names unload nothing, quietly.
  host.clearRecords();
  EXPECT_FALSE(ycrxUnloadModule(L""));
  EXPECT_FALSE(ycrxUnloadModule(nullptr));
  EXPECT_FALSE(ycrxUnloadModule(modulePath(L"tm_good").c_str()));
  EXPECT_TRUE(host.messages.empty());
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
