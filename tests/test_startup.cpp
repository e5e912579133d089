// Start-up contents (registry, services, every runtime class in its place),
// fatal-error reports, teardown order and starting twice.
#include "KmRxTestSupport.h"

namespace {

const wchar_t* const kAlreadyInitialised = L"YcRxModuleGlobal has initialized already!!!";
const wchar_t* const kRootExists = L"RX-Root class has already existed!!";

struct RuntimeClassRow {
  const wchar_t* name;
  const wchar_t* parent;  // null for the root
  YcRxClass* (*desc)();
};

// Every class start-up registers, in order: ROW(class, registered name, parent name);
// OWN registers a class under its own name.
#define KMRX_WIDE(text) L##text
#define ROW(cls, name, parent) {KMRX_WIDE(#name), KMRX_WIDE(#parent), &cls::desc}
#define OWN(cls, parent) ROW(cls, cls, parent)
const RuntimeClassRow kRuntimeClasses[] = {
    {L"AcRxObject", nullptr, &YcRxObject::desc},
    ROW(YcRxClass, AcRxClass, AcRxObject), OWN(YcRxClassImp, AcRxClass),
    OWN(YcRxString, AcRxObject), ROW(YcRxDictionary, AcRxDictionary, AcRxObject),
    OWN(YcRxDictionaryImp, AcRxDictionary), ROW(YcRxIterator, AcRxIterator, AcRxObject),
    ROW(YcRxDictionaryIterator, AcRxDictionaryIterator, AcRxIterator),
    OWN(YcRxDictionaryImpIterator, AcRxDictionaryIterator),
    ROW(YcRxService, AcRxService, AcRxObject), ROW(YcRxKernel, AcRxKernel, AcRxService),
    OWN(YcRxKernelServiceImp, AcRxKernel), ROW(YcRxDynLoadModuleProxy, AcRxGenHand, AcRxObject),
    ROW(YcRxDynamicLinker, AcRxDynamicLinker, AcRxObject),
    OWN(YcRxDynamicLinkerImp, AcRxDynamicLinker),
    ROW(YcRxDLinkerReactor, AcRxDLinkerReactor, AcRxObject), OWN(YcRxIterable, AcRxObject),
    OWN(YcRxGenericCollection, YcRxIterable), OWN(YcRxLinkedList, YcRxGenericCollection),
    OWN(YcRxLinkedListIterator, AcRxIterator), OWN(YcRxGenericMap, YcRxIterable),
    OWN(YcRxGenericMapIterator, AcRxIterator), OWN(YcRxMap, YcRxGenericMap),
    OWN(YcRxMapIterator, YcRxGenericMapIterator), OWN(YcRxPEClassMap, YcRxGenericMap),
    OWN(YcRxPEClassMapIterator, YcRxGenericMapIterator),
    ROW(YcRxProtocolReactorManagerFactory, AcRxProtocolReactorManagerFactory, AcRxService),
    ROW(YcRxProtocolReactorManager, AcRxProtocolReactorManager, AcRxObject),
    ROW(YcRxProtocolReactorList, AcRxProtocolReactorList, AcRxObject),
    ROW(YcRxProtocolReactorListIterator, AcRxProtocolReactorListIterator, AcRxObject),
    ROW(YcRxProtocolReactor, AcRxProtocolReactor, AcRxObject),
    ROW(YcRxProtocolReactorIterator, AcRxProtocolReactorIterator, AcRxObject),
    OWN(YcRxProtocolReactorManagerFactoryImp, AcRxProtocolReactorManagerFactory),
    OWN(YcRxProtocolReactorManagerImp, AcRxProtocolReactorManager),
    OWN(YcRxProtocolReactorListImp, AcRxProtocolReactorList),
    OWN(YcRxProtocolReactorListIteratorImp, AcRxProtocolReactorListIterator),
    OWN(YcRxProtocolReactorIteratorImp, AcRxProtocolReactorIterator),
};
#undef OWN
#undef ROW

// Keys of a dictionary by id, 1 upwards.
std::vector<std::wstring> keysById(const YcRxDictionary* dict) {
  std::vector<std::wstring> keys;
  for (unsigned int id = 1; id <= dict->numEntries(); ++id)
    keys.emplace_back(dict->keyAt(id) ? dict->keyAt(id) : L"<none>");
  return keys;
}

void expectStartedGlobals() {
  YcRxModuleGlobal* g = ycrxGetModule();
  ASSERT_NE(nullptr, g);
  YcRxDictionary* registry = ycrxSysRegistry();
  YcRxDictionary* classes = ycrxInternalGetClassDic();
  EXPECT_EQ((std::vector<std::wstring>{L"ClassDictionary", L"DynamicLinker", L"ServiceDictionary"}),
            keysById(registry));
  EXPECT_EQ(classes, registry->at(L"ClassDictionary"));
  EXPECT_EQ(g->getRxDynamicLinker(), registry->at(L"DynamicLinker"));
  EXPECT_EQ(g->getRxServices(), registry->at(L"ServiceDictionary"));
  EXPECT_EQ((std::vector<std::wstring>{L"KernelServices", L"ProtocolReactorManager"}),
            keysById(g->getRxServices()));
  EXPECT_TRUE(classes->isSorted() && !classes->isCaseSensitive() && !classes->deletesObjects());
  for (YcRxDictionary* plain : {registry, g->getRxServices()})
    EXPECT_TRUE(!plain->isSorted() && plain->isCaseSensitive() && !plain->deletesObjects());
}

// Whether linker and a condemned class still stood when teardown destroyed this service.
std::wstring gDoomedClassName;
bool gProbeSawLinkerAndClass = false;
struct TeardownProbe : YcRxService {
  ~TeardownProbe() override {
    YcRxModuleGlobal* g = ycrxGetModule();
    gProbeSawLinkerAndClass = g && g->getRxDynamicLinker() && g->getRxClasses() &&
                              g->getRxClasses()->has(gDoomedClassName.c_str());
  }
};

using StartupTest = RuntimeTest;

TEST_F(StartupTest, RegistryAndServicesHoldTheGlobalsInStartOrderWithTheirSettings) {
  expectStartedGlobals();
  EXPECT_EQ(YcRxObject::desc(), ycrxInternalGetClassDic()->at(L"acrxobject"));
}

TEST_F(StartupTest, EveryRuntimeClassIsRegisteredAndLinkedToItsParent) {
  YcRxDictionary* classes = ycrxInternalGetClassDic();
  EXPECT_EQ(37u, sizeof(kRuntimeClasses) / sizeof(kRuntimeClasses[0]));
  for (const RuntimeClassRow& row : kRuntimeClasses) {
    SCOPED_TRACE(testing::Message() << "class " << row.name);
    YcRxClass* cls = YcRxClass::cast(classes->at(row.name));
    ASSERT_NE(nullptr, cls);
    EXPECT_STREQ(row.name, cls->name());
    EXPECT_EQ(cls, row.desc()) << "desc() finds another descriptor";
    EXPECT_EQ(row.parent ? classes->at(row.parent) : nullptr, cls->myParent());
  }
}

TEST_F(StartupTest, FatalReportsAreFormattedAndHandedToTheRecorderIfThereIsOne) {
  ycrxGetModule()->moduleFatalError(46);
  ycrxGetModule()->moduleFatalError(L"%s failed %d times", L"Load", 3);
  ycrx_abort(L"Cannot find module: \"%s\" %d%%", L"m\u00e9tier.yrx", 50);
  ycrx_abort(nullptr);
  const std::wstring body(5000, L'q');
  ycrx_abort(L"<%s>", body.c_str());
  KmCrashRecorder* mine = ycadSetCrashRecorder(nullptr);
  ycrx_abort(L"dropped");  // and the caller goes on
  ycadSetCrashRecorder(mine);
  EXPECT_EQ((std::vector<std::wstring>{L"Rx module fatal error, code is 46", L"Load failed 3 times",
                                       L"Cannot find module: \"m\u00e9tier.yrx\" 50%",
                                       L"Error abort!", L"<" + body + L">"}),
            fatalMessages());
}

// Teardown and starting again ruin the shared runtime: each runs in a child process.
TEST_F(StartupTest, TeardownDestroysServicesThenDoomedThenRemainingClasses) {
  KMRX_EXPECT_IN_CHILD({
    gDoomedClassName = uniqueClassName(L"TeardownParent");
    YcRxClass* parent = newYcRxClass(gDoomedClassName.c_str(), L"AcRxObject");
    newYcRxClass(uniqueClassName(L"TeardownChild").c_str(), gDoomedClassName.c_str());
    ycrxBuildClassHierarchy();
    ycrxGetModule()->getRxServices()->atPut(L"TeardownProbe", new TeardownProbe());
    deleteYcRxClass(parent);
    clearFatalMessages();

    UninitializeYcRxSystem();
    EXPECT_EQ(nullptr, ycrxGetModule());
    EXPECT_TRUE(gProbeSawLinkerAndClass) << "services go first";
    // Only the class condemned before teardown is destroyed with checks on.
    EXPECT_EQ((std::vector<std::wstring>{L"Delete rx class in wrong order!!!"}), fatalMessages());
    EXPECT_EQ(0, YcRxClassImp::getDoomedRxClassCount());
    EXPECT_NE(nullptr, YcRxObject::desc()) << "the root pointer is never cleared";
  });
}

// The replaced global set stays allocated; kept reachable for the leak checker.
YcRxModuleGlobal* gReplacedGlobals = nullptr;

TEST_F(StartupTest, InitialiseWhileRunningReportsAndReplacesTheGlobals) {
  KMRX_EXPECT_IN_CHILD({
    gReplacedGlobals = ycrxGetModule();
    YcRxDictionary* oldClasses = ycrxInternalGetClassDic();
    YcRxClass* oldString = YcRxString::desc();
    clearFatalMessages();

    EXPECT_EQ(nullptr, InitializeYcRxSystem()) << "the last insertion is a new key";
    ASSERT_FALSE(fatalMessages().empty());
    EXPECT_EQ(kAlreadyInitialised, fatalMessages().front()) << "reported before anything is built";
    EXPECT_EQ(1, fatalCount(kRootExists));
    EXPECT_EQ(0, fatalCount(L"")) << "the other classes find their names missing";
    ASSERT_NE(gReplacedGlobals, ycrxGetModule());
    expectStartedGlobals();
    EXPECT_EQ(oldClasses, gReplacedGlobals->getRxClasses()) << "the first set is left standing";
    EXPECT_NE(oldString, YcRxString::desc());
    EXPECT_EQ(ycrxInternalGetClassDic()->at(L"YcRxString"), YcRxString::desc());
  });
}

TEST_F(StartupTest, InitialiseAfterTeardownBuildsAFreshSetButKeepsTheOldRoot) {
  KMRX_EXPECT_IN_CHILD({
    YcRxClass* root = YcRxObject::desc();
    UninitializeYcRxSystem();
    clearFatalMessages();
    InitializeYcRxSystem();
    EXPECT_EQ(1, fatalCount(kRootExists));
    EXPECT_EQ(0, fatalCount(kAlreadyInitialised) + fatalCount(L""));
    EXPECT_EQ(root, YcRxObject::desc()) << "the root is not created again";
    expectStartedGlobals();
    EXPECT_NE(nullptr, YcRxString::desc());
    EXPECT_EQ(ycrxInternalGetClassDic()->at(L"YcRxString"), YcRxString::desc());
  });
}

}  // namespace
