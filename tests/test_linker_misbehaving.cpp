// Modules that misbehave leave the host running: what they leave registered
// is taken off and reported, a failing or throwing init is told apart, and a
// load cycle is refused; a good module loads and unloads afterwards.
#include "LinkerTestSupport.h"

namespace {

class MisbehavingModule : public LinkerTest {
protected:
  // A good module still loads and unloads after whatever went before.
  void expectGoodModuleStillWorks() {
    ASSERT_NE(nullptr, load(L"tm_good"));
    EXPECT_TRUE(unload(L"tm_good"));
  }

  static std::wstring leftBehind(const wchar_t* module, const std::wstring& what) {
    wchar_t format[1024], text[1024];
    EXPECT_TRUE(KmRxGetResString(KmRxMsg::kLeftBehind, format, 1024));
    kmSwprintf(text, 1024, format, module, what.c_str());
    return text;
  }

  static YcRxProtocolReactorList* reactorList() {
    auto* factory = YcRxProtocolReactorManagerFactory::cast(
        serviceDictionary()->at(L"ProtocolReactorManager"));
    return factory->createReactorManager(YcRxLinkedList::desc())
        ->createReactorList(YcRxProtocolReactor::desc());
  }

  static int initCount(const std::wstring& path) {
    YcRxDynLoadModuleProxy* record = linker()->findRxModuleProxyByModuleName(path.c_str(), false);
    auto count = record ? reinterpret_cast<int (*)()>(
                              KmKernel32::GetProcAddress(record->rxModuleHandle(), "tmInitCount"))
                        : nullptr;
    return count ? count() : -1;
  }

  static int reactorsIn(YcRxProtocolReactorList* list) {
    int n = 0;
    YcRxProtocolReactorIterator* it = list->newIterator();
    for (; !it->done(); it->next()) ++n;
    delete it;
    return n;
  }
};

}  // namespace

TEST_F(MisbehavingModule, WhatAModuleLeavesRegisteredIsTakenOffAndReportedOnce) {
  const int reactorsBefore = linker()->reactorCount();
  const int protocolReactorsBefore = reactorsIn(reactorList());
  ASSERT_NE(nullptr, load(L"tm_leaves"));
  // Put outside any message of the module, so only where their code lies tells whose they are.
  YcRxDynLoadModuleProxy* record = linker()->findRxModuleProxyByModuleName(modulePath(L"tm_leaves").c_str(), false);
  ASSERT_NE(nullptr, record);
  reinterpret_cast<void (*)()>(KmKernel32::GetProcAddress(record->rxModuleHandle(), "tmLeaveObjects"))();
  YcRxObject notTheModules;
  serviceDictionary()->atPut(L"TmHostService", &notTheModules);
  host.clearRecords();
  EXPECT_TRUE(unload(L"tm_leaves"));
  const Lines expected = {
      leftBehind(L"tm_leaves.yrx", L"the linker reactor (anonymous namespace)::TraceReactor"),
      leftBehind(L"tm_leaves.yrx",
                 L"the protocol extension YcRxObject for AcRxKernel on the class YcRxLinkedList"),
      leftBehind(L"tm_leaves.yrx", L"the protocol reactor YcRxProtocolReactor for AcRxProtocolReactor"),
      leftBehind(L"tm_leaves.yrx", L"the object YcRxObject under \"TmExtrasEntry\" in the system registry"),
      leftBehind(L"tm_leaves.yrx", L"the object TmLeftObject under \"TmLateEntry\" in the system registry"),
      leftBehind(L"tm_leaves.yrx", L"the object TmLeftObject under \"TmLeftService\" in \"ServiceDictionary\""),
      leftBehind(L"tm_leaves.yrx", L"the constructor of the class TmLeavesThing")};
  EXPECT_EQ(expected, host.messages);
  EXPECT_EQ(7u, logWith(L"tm_leaves.yrx left ").size());
  EXPECT_EQ(L"tm_leaves.yrx left the linker reactor (anonymous namespace)::TraceReactor registered; "
            L"it was removed at unload",
            logWith(L"tm_leaves.yrx left ").at(0));

  EXPECT_FALSE(isMapped(modulePath(L"tm_leaves")));
  EXPECT_EQ(reactorsBefore, linker()->reactorCount());
  EXPECT_EQ(nullptr, YcRxLinkedList::desc()->queryX(YcRxKernel::desc()));
  EXPECT_FALSE(ycrxSysRegistry()->has(L"TmExtrasEntry"));
  EXPECT_FALSE(ycrxSysRegistry()->has(L"TmLateEntry"));
  EXPECT_FALSE(serviceDictionary()->has(L"TmLeftService"));
  EXPECT_EQ(&notTheModules, serviceDictionary()->remove(L"TmHostService")) << "what is not the module's stays";
  YcRxClass* kept = YcRxClass::cast(ycrxInternalGetClassDic()->at(L"TmLeavesThing"));
  ASSERT_NE(nullptr, kept) << "the class stays registered";
  EXPECT_EQ(nullptr, kept->create()) << "its constructor went with the module";
  EXPECT_EQ(protocolReactorsBefore, reactorsIn(reactorList()));
  // The next load and unload would have called into the unmapped module.
  expectGoodModuleStillWorks();
}

TEST_F(MisbehavingModule, AModuleThatCleansUpAfterItselfSeesNoReport) {
  ASSERT_NE(nullptr, load(L"tm_extras"));
  host.clearRecords();
  EXPECT_TRUE(unload(L"tm_extras"));
  EXPECT_EQ(Lines{}, host.messages);
  EXPECT_EQ(Lines{}, logWith(L"tm_extras.yrx left"));
}

TEST_F(MisbehavingModule, FailingAndThrowingInitsAreToldApartInMessageAndLog) {
  const std::wstring fails = modulePath(L"tm_init_fails"), throws = modulePath(L"tm_init_throws");
  EXPECT_FALSE(ycrxLoadModule(fails.c_str(), false));
  EXPECT_EQ((Lines{resText(KmRxMsg::kInitFailed, fails), resText(KmRxMsg::kLoadFailed, fails)}),
            host.messages);
  EXPECT_EQ(Lines{L"yrx " + fails + L" load failure: its initialisation failed (it answered message 1 with 3)"},
            logWith(L"yrx " + fails + L" load"));
  host.clearRecords();
  EXPECT_FALSE(ycrxLoadModule(throws.c_str(), false));
  ASSERT_EQ(2u, host.messages.size());
  EXPECT_EQ(resText(KmRxMsg::kInitThrew, throws).substr(0, 40), host.messages[0].substr(0, 40));
  EXPECT_NE(std::wstring::npos, host.messages[0].find(L"unloaded again: std::runtime_error: no units table"));
  EXPECT_EQ(Lines{L"yrx " + throws + L" load failure: its initialisation threw std::runtime_error: no units table"},
            logWith(L"yrx " + throws + L" load"));
  EXPECT_FALSE(isMapped(throws));
  expectGoodModuleStillWorks();
}

TEST_F(MisbehavingModule, ThrowingOutOfAMessageOrUnloadingItselfLeavesATraceAndTheHostRunning) {
  const std::wstring throws = modulePath(L"tm_unload_throws");
  ASSERT_NE(nullptr, load(L"tm_unload_throws"));
  EXPECT_TRUE(linker()->sendMessageToApp(throws.c_str(), kTmThrowMsg, nullptr)) << "found, whatever it answers";
  EXPECT_EQ(Lines{L"yrx tm_unload_throws.yrx message 81 threw std::logic_error: not now"},
            logWith(L"yrx tm_unload_throws.yrx message"));
  EXPECT_TRUE(unload(L"tm_unload_throws")) << "the host's unload is forced";
  EXPECT_EQ(Lines{L"yrx " + throws + L" unload: its unload message threw std::runtime_error: still drawing; "
                  L"it is unloaded all the same"},
            logWith(L"yrx " + throws + L" unload:"));
  EXPECT_FALSE(isMapped(throws));

  // Refused while its own message runs, and nothing else changes.
  const std::wstring good = modulePath(L"tm_good");
  ASSERT_NE(nullptr, load(L"tm_good"));
  EXPECT_TRUE(linker()->sendMessageToApp(good.c_str(), kTmUnloadSelfMsg, nullptr));
  EXPECT_EQ(Lines{L"tm:tm_good unload self no"}, logWith(L"tm:tm_good unload self"));
  EXPECT_TRUE(isMapped(good));
  EXPECT_TRUE(unload(L"tm_good"));
  expectGoodModuleStillWorks();
}

TEST_F(MisbehavingModule, ALoadCycleIsRefusedNamingTheChain) {
  const std::wstring a = modulePath(L"tm_cycle_a"), b = modulePath(L"tm_cycle_b");
  EXPECT_TRUE(ycrxLoadModule(a.c_str(), false));
  // b's init asked for a while a's init was still running.
  EXPECT_EQ(Lines{L"tm:tm_cycle_a loaded other yes"}, logWith(L"tm:tm_cycle_a loaded"));
  EXPECT_EQ(Lines{L"tm:tm_cycle_b loaded other no"}, logWith(L"tm:tm_cycle_b loaded"));
  EXPECT_EQ(Lines{L"yrx " + a + L" load failure: it is already being loaded "
                  L"(tm_cycle_a.yrx -> tm_cycle_b.yrx -> tm_cycle_a.yrx)"},
            logWith(L"yrx " + a + L" load failure"));
  ASSERT_FALSE(host.messages.empty());
  EXPECT_NE(std::wstring::npos, host.messages[0].find(L"tm_cycle_a.yrx -> tm_cycle_b.yrx -> tm_cycle_a.yrx"));
  EXPECT_EQ(1, initCount(a)) << "a's init ran once";
  EXPECT_TRUE(unload(L"tm_cycle_a"));
  EXPECT_TRUE(unload(L"tm_cycle_b"));
  expectGoodModuleStillWorks();
}

TEST_F(MisbehavingModule, AClassNameClashKeepsTheFirstDescriptorAsideAndSaysWhoReplacedWhom) {
  ASSERT_NE(nullptr, load(L"tm_good"));
  YcRxClass* first = YcRxClass::cast(ycrxInternalGetClassDic()->at(L"TmGoodThing"));
  ASSERT_NE(nullptr, first);
  host.clearRecords();
  ASSERT_NE(nullptr, load(L"tm_clash"));
  YcRxClass* second = YcRxClass::cast(ycrxInternalGetClassDic()->at(L"TmGoodThing"));
  EXPECT_NE(first, second) << "the name now gives the second, as registering defines";
  EXPECT_EQ(first->name(), std::wstring(L"TmGoodThing")) << "the first is still valid";
  ASSERT_EQ(1u, host.messages.size());
  EXPECT_NE(std::wstring::npos,
            host.messages[0].find(L"by tm_clash.yrx, in place of the one tm_good.yrx registered"));
  EXPECT_EQ(1u, logWith(L"class TmGoodThing registered again by tm_clash.yrx").size());
  // tm_good condemns its own (displaced) descriptor; the name keeps the second.
  EXPECT_TRUE(unload(L"tm_good"));
  EXPECT_EQ(second, ycrxInternalGetClassDic()->at(L"TmGoodThing"));
  EXPECT_TRUE(unload(L"tm_clash"));
  expectGoodModuleStillWorks();
}

TEST_F(MisbehavingModule, AModuleTakingTheRootsNameLeavesTheRootValid) {
  KMRX_EXPECT_IN_CHILD({
    YcRxClass* root = YcRxObject::desc();
    ASSERT_NE(nullptr, load(L"tm_clash_root"));
    EXPECT_NE(root, ycrxInternalGetClassDic()->at(L"AcRxObject"));
    EXPECT_EQ(root, YcRxObject::desc());
    EXPECT_TRUE(YcRxString::desc()->isDerivedFrom(root)) << "the tree still stands on the root";
    EXPECT_TRUE(unload(L"tm_clash_root"));
    UninitializeYcRxSystem();
  });
}
