// The runtime context: its life with the module global, and the ledger of
// what each module registered, kept current as modules add and take back.
#include "LinkerTestSupport.h"
#include "core/KmRxContext.h"

namespace {

constexpr auto kTmDropExtrasMsg = static_cast<YcRx::AppMsgCode>(80);

class RuntimeContext : public LinkerTest {
protected:
  static KmRxContext& context() { return *kmrxContext(); }

  static KmRxModuleLedger ledger(const YcRxDynLoadModuleProxy* record) {
    return context().ledgerOf(record);
  }

  static std::vector<std::wstring> classNames(const KmRxModuleLedger& ledger) {
    std::vector<std::wstring> names;
    for (YcRxClass* cls : ledger.classes) names.emplace_back(cls->name());
    return names;
  }

  static YcRxDictionary* services() { return serviceDictionary(); }
};

class CountingReactor : public YcRxDLinkerReactor {};

}  // namespace

TEST_F(RuntimeContext, LedgerListsEverythingAModuleRegisteredUntilItTakesItBack) {
  YcRxDynLoadModuleProxy* record = load(L"tm_extras");
  ASSERT_NE(nullptr, record);
  KmRxModuleLedger kept = ledger(record);
  EXPECT_EQ(std::vector<std::wstring>{L"TmExtrasThing"}, classNames(kept));
  ASSERT_EQ(1u, kept.services.size());
  EXPECT_EQ(services()->at(L"TmExtrasService"), kept.services[0]);
  EXPECT_EQ(1u, kept.linkerReactors.size());

  ASSERT_EQ(1u, kept.extensions.size());
  EXPECT_EQ(KmRxExtensionKey(YcRxLinkedList::desc(), YcRxKernel::desc()), kept.extensions[0].first);
  EXPECT_EQ(YcRxLinkedList::desc()->queryX(YcRxKernel::desc()), kept.extensions[0].second);

  ASSERT_EQ(1u, kept.protocolReactors.size());
  EXPECT_EQ(YcRxProtocolReactorList::cast(kept.protocolReactors[0].first)->reactorClass(),
            YcRxProtocolReactor::desc());

  ASSERT_EQ(1u, kept.registryEntries.size());
  EXPECT_EQ(ycrxSysRegistry()->idAt(L"TmExtrasEntry"), kept.registryEntries[0].first);
  EXPECT_EQ(ycrxSysRegistry()->at(L"TmExtrasEntry"), kept.registryEntries[0].second);

  // Taken back from inside a message of its own: only what it keeps stays.
  EXPECT_TRUE(linker()->sendMessageToApp(modulePath(L"tm_extras").c_str(), kTmDropExtrasMsg, nullptr));
  kept = ledger(record);
  EXPECT_EQ(std::vector<std::wstring>{L"TmExtrasThing"}, classNames(kept));
  EXPECT_EQ(1u, kept.services.size());
  EXPECT_TRUE(kept.linkerReactors.empty());
  EXPECT_TRUE(kept.extensions.empty());
  EXPECT_TRUE(kept.protocolReactors.empty());
  EXPECT_TRUE(kept.registryEntries.empty());

  EXPECT_TRUE(unload(L"tm_extras"));
  EXPECT_TRUE(ledger(record).empty()) << "a record that is gone leaves nothing behind";
}

TEST_F(RuntimeContext, ClassesAndServicesFollowTheirStampNotWhoHoldsThem) {
  YcRxDynLoadModuleProxy* record = load(L"tm_good");
  ASSERT_NE(nullptr, record);
  auto* cls = YcRxClassImp::getImpl(YcRxClass::cast(ycrxInternalGetClassDic()->at(L"TmGoodThing")));
  auto* service = YcRxService::cast(services()->at(L"TmGoodService"));
  ASSERT_TRUE(cls && service);
  EXPECT_EQ(record, context().classes.owner(cls));
  EXPECT_EQ(record, context().services.owner(service));

  cls->setModuleProxy(nullptr);
  EXPECT_EQ(nullptr, context().classes.owner(cls));
  cls->setModuleProxy(record);
  EXPECT_EQ(record, context().classes.owner(cls));

  // A service credited to another module leaves this one's ledger.
  YcRxDynLoadModuleProxy* other = load(L"tm_nest_inner");
  service->setSysInfo(other);
  EXPECT_TRUE(ledger(record).services.empty());
  EXPECT_EQ(std::vector<YcRxService*>{service}, ledger(other).services);
  service->setSysInfo(record);

  EXPECT_TRUE(unload(L"tm_nest_inner"));
  EXPECT_TRUE(unload(L"tm_good"));
  EXPECT_EQ(nullptr, context().classes.owner(cls)) << "the unload reset the stamp";
}

TEST_F(RuntimeContext, WhatTheHostDoesOutsideModuleMessagesIsCreditedToNoModule) {
  const std::wstring name = uniqueClassName(L"HostThing");
  YcRxClass* cls = newYcRxClass(name.c_str(), L"AcRxObject");
  ycrxBuildClassHierarchy();
  YcRxObject extension;
  CountingReactor reactor;
  cls->addX(YcRxKernel::desc(), &extension);
  linker()->addReactor(&reactor);
  unsigned int id = 0;
  ycrxSysRegistry()->atPut(name.c_str(), &extension, id);

  EXPECT_EQ(nullptr, context().runningModule());
  EXPECT_EQ(nullptr, context().classes.owner(cls));
  EXPECT_EQ(nullptr, context().extensions.owner(KmRxExtensionKey(cls, YcRxKernel::desc())));
  EXPECT_EQ(nullptr, context().linkerReactors.owner(&reactor));
  EXPECT_EQ(nullptr, context().registryEntries.owner(ycrxSysRegistry()->idAt(name.c_str())));

  ycrxSysRegistry()->remove(name.c_str());
  linker()->removeReactor(&reactor);
  cls->delX(YcRxKernel::desc());
  deleteYcRxClass(cls);
  YcRxClassImp::destroyDoomedRxClasses(true);
}

TEST_F(RuntimeContext, AnExtensionReplacedOrAClassDestroyedIsNoLongerCredited) {
  YcRxDynLoadModuleProxy* record = load(L"tm_extras");
  ASSERT_NE(nullptr, record);
  const KmRxExtensionKey key(YcRxLinkedList::desc(), YcRxKernel::desc());
  ASSERT_EQ(record, context().extensions.owner(key));
  YcRxObject mine;
  YcRxObject* theirs = YcRxLinkedList::desc()->addX(YcRxKernel::desc(), &mine);
  EXPECT_EQ(nullptr, context().extensions.owner(key)) << "the host replaced the module's value";
  YcRxLinkedList::desc()->addX(YcRxKernel::desc(), theirs);

  // A credited extension on a class that is destroyed goes with the class.
  const std::wstring name = uniqueClassName(L"Doomed");
  YcRxClass* doomed = newYcRxClass(name.c_str(), L"AcRxObject");
  const KmRxExtensionKey onDoomed(doomed, YcRxKernel::desc());
  context().extensions.credit(onDoomed, record, &mine);
  deleteYcRxClass(doomed);
  YcRxClassImp::destroyDoomedRxClasses(false);
  EXPECT_EQ(nullptr, context().extensions.owner(onDoomed));
  EXPECT_TRUE(unload(L"tm_extras"));
}

TEST(RuntimeContextLife, StartsAndEndsWithTheModuleGlobal) {
  ASSERT_NE(nullptr, kmrxContext());
  KMRX_EXPECT_IN_CHILD({
    UninitializeYcRxSystem();
    EXPECT_EQ(nullptr, kmrxContext());
    EXPECT_EQ(nullptr, kmrxClassDictionary());
    EXPECT_EQ(nullptr, kmrxRegisteredLinker());
    InitializeYcRxSystem();
    ASSERT_NE(nullptr, kmrxContext());
    EXPECT_EQ(ycrxSysRegistry(), kmrxContext()->sysRegistry);
    EXPECT_EQ(ycrxInternalGetClassDic(), kmrxRegisteredClassDictionary());
  });
}

TEST(RuntimeContextLife, AReplacedRegistryEntryIsWhatTheLookUpsSee) {
  KMRX_EXPECT_IN_CHILD({
    YcRxObject notALinker;
    YcRxObject* linkerObject = ycrxSysRegistry()->at(L"DynamicLinker");
    unsigned int id = ycrxSysRegistry()->idAt(L"DynamicLinker");
    ycrxSysRegistry()->atPut(id, &notALinker);
    EXPECT_EQ(nullptr, kmrxRegisteredLinker()) << "an entry of another class gives null";
    ycrxSysRegistry()->atPut(id, linkerObject);
    EXPECT_EQ(linkerObject, kmrxRegisteredLinker());
  });
}
