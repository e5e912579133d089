// Start-up contents (registry, services, every runtime class in its place),
// fatal-error reports, teardown order and starting twice.
#include <cstdarg>
#include <string>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

const wchar_t* const kAlreadyInitialised = L"YcRxModuleGlobal has initialized already!!!";
const wchar_t* const kRootExists = L"RX-Root class has already existed!!";
const wchar_t* const kWrongDeleteOrder = L"Delete rx class in wrong order!!!";

struct RuntimeClassRow {
  const wchar_t* name;
  const wchar_t* parent;  // null for the root
  YcRxClass* (*desc)();
};

// Every class start-up registers, in registration order.
const RuntimeClassRow kRuntimeClasses[] = {
    {L"AcRxObject", nullptr, &YcRxObject::desc},
    {L"AcRxClass", L"AcRxObject", &YcRxClass::desc},
    {L"YcRxClassImp", L"AcRxClass", &YcRxClassImp::desc},
    {L"YcRxString", L"AcRxObject", &YcRxString::desc},
    {L"AcRxDictionary", L"AcRxObject", &YcRxDictionary::desc},
    {L"YcRxDictionaryImp", L"AcRxDictionary", &YcRxDictionaryImp::desc},
    {L"AcRxIterator", L"AcRxObject", &YcRxIterator::desc},
    {L"AcRxDictionaryIterator", L"AcRxIterator", &YcRxDictionaryIterator::desc},
    {L"YcRxDictionaryImpIterator", L"AcRxDictionaryIterator", &YcRxDictionaryImpIterator::desc},
    {L"AcRxService", L"AcRxObject", &YcRxService::desc},
    {L"AcRxKernel", L"AcRxService", &YcRxKernel::desc},
    {L"YcRxKernelServiceImp", L"AcRxKernel", &YcRxKernelServiceImp::desc},
    {L"AcRxGenHand", L"AcRxObject", &YcRxDynLoadModuleProxy::desc},
    {L"AcRxDynamicLinker", L"AcRxObject", &YcRxDynamicLinker::desc},
    {L"YcRxDynamicLinkerImp", L"AcRxDynamicLinker", &YcRxDynamicLinkerImp::desc},
    {L"AcRxDLinkerReactor", L"AcRxObject", &YcRxDLinkerReactor::desc},
    {L"YcRxIterable", L"AcRxObject", &YcRxIterable::desc},
    {L"YcRxGenericCollection", L"YcRxIterable", &YcRxGenericCollection::desc},
    {L"YcRxLinkedList", L"YcRxGenericCollection", &YcRxLinkedList::desc},
    {L"YcRxLinkedListIterator", L"AcRxIterator", &YcRxLinkedListIterator::desc},
    {L"YcRxGenericMap", L"YcRxIterable", &YcRxGenericMap::desc},
    {L"YcRxGenericMapIterator", L"AcRxIterator", &YcRxGenericMapIterator::desc},
    {L"YcRxMap", L"YcRxGenericMap", &YcRxMap::desc},
    {L"YcRxMapIterator", L"YcRxGenericMapIterator", &YcRxMapIterator::desc},
    {L"YcRxPEClassMap", L"YcRxGenericMap", &YcRxPEClassMap::desc},
    {L"YcRxPEClassMapIterator", L"YcRxGenericMapIterator", &YcRxPEClassMapIterator::desc},
    {L"AcRxProtocolReactorManagerFactory", L"AcRxService",
     &YcRxProtocolReactorManagerFactory::desc},
    {L"AcRxProtocolReactorManager", L"AcRxObject", &YcRxProtocolReactorManager::desc},
    {L"AcRxProtocolReactorList", L"AcRxObject", &YcRxProtocolReactorList::desc},
    {L"AcRxProtocolReactorListIterator", L"AcRxObject", &YcRxProtocolReactorListIterator::desc},
    {L"AcRxProtocolReactor", L"AcRxObject", &YcRxProtocolReactor::desc},
    {L"AcRxProtocolReactorIterator", L"AcRxObject", &YcRxProtocolReactorIterator::desc},
    {L"YcRxProtocolReactorManagerFactoryImp", L"AcRxProtocolReactorManagerFactory",
     &YcRxProtocolReactorManagerFactoryImp::desc},
    {L"YcRxProtocolReactorManagerImp", L"AcRxProtocolReactorManager",
     &YcRxProtocolReactorManagerImp::desc},
    {L"YcRxProtocolReactorListImp", L"AcRxProtocolReactorList", &YcRxProtocolReactorListImp::desc},
    {L"YcRxProtocolReactorListIteratorImp", L"AcRxProtocolReactorListIterator",
     &YcRxProtocolReactorListIteratorImp::desc},
    {L"YcRxProtocolReactorIteratorImp", L"AcRxProtocolReactorIterator",
     &YcRxProtocolReactorIteratorImp::desc},
};

// Keys of a dictionary by id, 1 upwards.
std::vector<std::wstring> keysById(const YcRxDictionary* dict, unsigned int count) {
  std::vector<std::wstring> keys;
  for (unsigned int id = 1; id <= count; ++id) {
    const wchar_t* key = dict->keyAt(id);
    keys.emplace_back(key ? key : L"<none>");
  }
  return keys;
}

void expectStartedRegistry() {
  YcRxDictionary* registry = ycrxSysRegistry();
  ASSERT_NE(nullptr, registry);
  EXPECT_EQ(3u, registry->numEntries());
  const std::vector<std::wstring> expected = {L"ClassDictionary", L"DynamicLinker",
                                              L"ServiceDictionary"};
  EXPECT_EQ(expected, keysById(registry, 3));
}

// What a service saw of the runtime while teardown destroyed it.
struct TeardownView {
  bool destroyed = false;
  bool linkerAlive = false;
  bool doomedClassRegistered = false;
};
TeardownView gTeardownView;
std::wstring gDoomedClassName;
// The replaced global set stays allocated; kept reachable for the leak checker.
YcRxModuleGlobal* gReplacedGlobals = nullptr;

class TeardownProbe : public YcRxService {
public:
  ~TeardownProbe() override {
    YcRxModuleGlobal* g = ycrxGetModule();
    gTeardownView.destroyed = true;
    gTeardownView.linkerAlive = g && g->getRxDynamicLinker();
    gTeardownView.doomedClassRegistered =
        g && g->getRxClasses() && g->getRxClasses()->has(gDoomedClassName.c_str());
  }
};

void abortV(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  ycrx_abort_v(format, args);
  va_end(args);
}

void moduleFatalErrorV(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  ycrxGetModule()->moduleFatalError(format, args);
  va_end(args);
}

// Keeps where a report says it came from, besides its text.
class WhereRecorder : public KmCrashRecorder {
public:
  void record(const KmExceptionWithMsg& e) override {
    files.emplace_back(e.file() ? e.file() : L"<null>");
    lines.push_back(e.line());
  }
  std::vector<std::wstring> files;
  std::vector<int> lines;
};

class StartupTest : public RuntimeTest {
protected:
  void tearDownWithDoomedParent();
  void initialiseWhileRunning();
  void initialiseAfterTeardown();
};

// ---------------------------------------------------------------------------
// What start-up leaves behind

TEST_F(StartupTest, RegistryHoldsTheThreeGlobalsInStartOrder) {
  expectStartedRegistry();
  YcRxModuleGlobal* g = ycrxGetModule();
  ASSERT_NE(nullptr, g);
  EXPECT_EQ(g, YcRxModuleGlobal::GetInstance());
  YcRxDictionary* registry = ycrxSysRegistry();
  EXPECT_EQ(g->getSysRegistry(), registry);
  EXPECT_EQ(g->getRxClasses(), registry->at(L"ClassDictionary"));
  EXPECT_EQ(g->getRxClasses(), ycrxInternalGetClassDic());
  EXPECT_EQ(g->getRxDynamicLinker(), registry->at(L"DynamicLinker"));
  EXPECT_EQ(g->getRxServices(), registry->at(L"ServiceDictionary"));
  ASSERT_NE(nullptr, g->getRxDynamicLinker());
  EXPECT_TRUE(g->getRxDynamicLinker()->isKindOf(YcRxDynamicLinker::desc()));
}

TEST_F(StartupTest, ServiceDictionaryStartsWithKernelThenReactorManagerFactory) {
  YcRxModuleGlobal* g = ycrxGetModule();
  YcRxDictionary* services = g->getRxServices();
  ASSERT_NE(nullptr, services);
  const std::vector<std::wstring> expected = {L"KernelServices", L"ProtocolReactorManager"};
  EXPECT_EQ(expected, keysById(services, 2));
  ASSERT_NE(nullptr, g->getRxKernel());
  EXPECT_EQ(g->getRxKernel(), services->at(L"KernelServices"));
  EXPECT_NE(nullptr, YcRxKernelServiceImp::cast(services->at(L"KernelServices")));
  EXPECT_NE(nullptr,
            YcRxProtocolReactorManagerFactoryImp::cast(services->at(L"ProtocolReactorManager")));
}

TEST_F(StartupTest, GlobalDictionariesHaveTheirSettings) {
  YcRxModuleGlobal* g = ycrxGetModule();
  YcRxDictionary* classes = g->getRxClasses();
  EXPECT_TRUE(classes->isSorted());
  EXPECT_FALSE(classes->isCaseSensitive());
  EXPECT_FALSE(classes->deletesObjects());
  EXPECT_EQ(YcRxObject::desc(), classes->at(L"acrxobject"));
  for (YcRxDictionary* plain : {g->getSysRegistry(), g->getRxServices()}) {
    EXPECT_FALSE(plain->isSorted());
    EXPECT_TRUE(plain->isCaseSensitive());
    EXPECT_FALSE(plain->deletesObjects());
  }
  EXPECT_EQ(nullptr, g->getSysRegistry()->at(L"classdictionary"));
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
    EXPECT_EQ(nullptr, YcRxClassImp::getImpl(cls)->pendingParentName());
    if (!row.parent) {
      EXPECT_EQ(nullptr, cls->myParent());
      continue;
    }
    ASSERT_NE(nullptr, cls->myParent());
    EXPECT_STREQ(row.parent, cls->myParent()->name());
    EXPECT_EQ(classes->at(row.parent), cls->myParent());
  }
}

// ---------------------------------------------------------------------------
// Fatal errors

TEST_F(StartupTest, CodeReportNamesTheCode) {
  ycrxGetModule()->moduleFatalError(46);
  ycrxGetModule()->moduleFatalError(-7);
  const std::vector<std::wstring> expected = {L"Rx module fatal error, code is 46",
                                              L"Rx module fatal error, code is -7"};
  EXPECT_EQ(expected, fatalMessages());
}

TEST_F(StartupTest, FormattedReportsTakeWideStringArguments) {
  ycrxGetModule()->moduleFatalError(L"%s failed %d times", L"Load", 3);
  moduleFatalErrorV(L"[%s]", L"listed");
  ycrx_abort(L"Cannot find module: \"%s\"", L"m\u00e9tier.yrx");
  abortV(L"%d%%", 50);
  const std::vector<std::wstring> expected = {L"Load failed 3 times", L"[listed]",
                                              L"Cannot find module: \"m\u00e9tier.yrx\"",
                                              L"50%"};
  EXPECT_EQ(expected, fatalMessages());
}

TEST_F(StartupTest, NullFormatReportsTheDefaultText) {
  ycrx_abort(nullptr);
  abortV(nullptr, 1);
  const std::vector<std::wstring> expected = {L"Error abort!", L"Error abort!"};
  EXPECT_EQ(expected, fatalMessages());
}

TEST_F(StartupTest, LongReportIsNotCut) {
  const std::wstring body(5000, L'q');
  ycrx_abort(L"<%s>", body.c_str());
  ASSERT_EQ(1u, fatalMessages().size());
  EXPECT_EQ(L"<" + body + L">", fatalMessages().front());
}

TEST_F(StartupTest, ReportHasNoFileAndLineZero) {
  WhereRecorder where;
  KmCrashRecorder* previous = ycadSetCrashRecorder(&where);
  ycrx_abort(L"somewhere");
  ycadSetCrashRecorder(previous);
  ASSERT_EQ(1u, where.files.size());
  EXPECT_TRUE(where.files[0].empty() || where.files[0] == L"<null>") << where.files[0].c_str();
  EXPECT_EQ(0, where.lines[0]);
}

TEST_F(StartupTest, WithoutRecorderReportsAreDroppedAndCallerGoesOn) {
  KmCrashRecorder* mine = ycadSetCrashRecorder(nullptr);
  EXPECT_NO_THROW(ycrxGetModule()->moduleFatalError(46));
  EXPECT_NO_THROW(ycrx_abort(L"dropped %d", 1));
  EXPECT_NO_THROW(ycrx_abort(nullptr));
  ycadSetCrashRecorder(mine);
  EXPECT_TRUE(fatalMessages().empty());
  // With a recorder the call returns as well.
  EXPECT_NO_THROW(ycrx_abort(L"kept"));
  EXPECT_EQ(1, fatalCount(L"kept"));
}

// ---------------------------------------------------------------------------
// Teardown and starting again (each in a child process)

void StartupTest::tearDownWithDoomedParent() {
  YcRxDictionary* classes = ycrxInternalGetClassDic();
  gDoomedClassName = uniqueClassName(L"TeardownParent");
  YcRxClass* parent = newYcRxClass(gDoomedClassName.c_str(), L"AcRxObject");
  YcRxClass* child = newYcRxClass(uniqueClassName(L"TeardownChild").c_str(),
                                  gDoomedClassName.c_str());
  YcRxClassImp::initializeHierarchy(parent, classes);
  YcRxClassImp::initializeHierarchy(child, classes);
  ASSERT_EQ(parent, child->myParent());
  ycrxGetModule()->getRxServices()->atPut(L"TeardownProbe", new TeardownProbe());
  deleteYcRxClass(parent);
  clearFatalMessages();

  UninitializeYcRxSystem();
  EXPECT_EQ(nullptr, ycrxGetModule());
  EXPECT_EQ(nullptr, YcRxModuleGlobal::GetInstance());
  // Services go first, while linker and classes stand.
  EXPECT_TRUE(gTeardownView.destroyed);
  EXPECT_TRUE(gTeardownView.linkerAlive);
  EXPECT_TRUE(gTeardownView.doomedClassRegistered);
  // Only the class condemned before teardown is destroyed with checks on.
  EXPECT_EQ(1, fatalCount(kWrongDeleteOrder));
  EXPECT_EQ(0, YcRxClassImp::getDoomedRxClassCount());
  EXPECT_NE(nullptr, YcRxObject::desc()) << "the root pointer is never cleared";
}

TEST_F(StartupTest, TeardownDestroysServicesThenDoomedThenRemainingClasses) {
  KMRX_EXPECT_IN_CHILD(tearDownWithDoomedParent());
}

void StartupTest::initialiseWhileRunning() {
  YcRxModuleGlobal* first = ycrxGetModule();
  gReplacedGlobals = first;
  YcRxDictionary* oldRegistry = ycrxSysRegistry();
  YcRxDictionary* oldClasses = ycrxInternalGetClassDic();
  YcRxClass* oldString = YcRxString::desc();
  YcRxClass* root = YcRxObject::desc();
  clearFatalMessages();

  EXPECT_EQ(nullptr, InitializeYcRxSystem()) << "the last insertion is a new key";
  ASSERT_FALSE(fatalMessages().empty());
  EXPECT_EQ(kAlreadyInitialised, fatalMessages().front()) << "reported before anything is built";
  EXPECT_EQ(1, fatalCount(kAlreadyInitialised));
  EXPECT_EQ(1, fatalCount(kRootExists));
  EXPECT_EQ(0, fatalCount(L"")) << "the other classes find their names missing";

  YcRxModuleGlobal* second = ycrxGetModule();
  ASSERT_NE(nullptr, second);
  EXPECT_NE(first, second);
  EXPECT_NE(oldRegistry, ycrxSysRegistry());
  expectStartedRegistry();
  // The first set is left standing as it was.
  EXPECT_EQ(oldRegistry, first->getSysRegistry());
  EXPECT_EQ(oldClasses, first->getRxClasses());
  EXPECT_EQ(oldString, oldClasses->at(L"YcRxString"));

  YcRxDictionary* newClasses = ycrxInternalGetClassDic();
  EXPECT_NE(oldClasses, newClasses);
  YcRxObject* newString = newClasses->at(L"YcRxString");
  ASSERT_NE(nullptr, newString);
  EXPECT_NE(oldString, newString);
  EXPECT_EQ(newString, YcRxString::desc());
  EXPECT_EQ(root, YcRxObject::desc()) << "the root is not created again";
}

TEST_F(StartupTest, InitialiseWhileRunningReportsAndReplacesTheGlobals) {
  KMRX_EXPECT_IN_CHILD(initialiseWhileRunning());
}

void StartupTest::initialiseAfterTeardown() {
  YcRxClass* root = YcRxObject::desc();
  UninitializeYcRxSystem();
  ASSERT_EQ(nullptr, ycrxGetModule());
  clearFatalMessages();

  InitializeYcRxSystem();
  ASSERT_NE(nullptr, ycrxGetModule());
  EXPECT_EQ(1, fatalCount(kRootExists));
  EXPECT_EQ(0, fatalCount(kAlreadyInitialised));
  EXPECT_EQ(0, fatalCount(L""));
  EXPECT_EQ(root, YcRxObject::desc()) << "the root is not created again";
  expectStartedRegistry();
  YcRxObject* str = ycrxInternalGetClassDic()->at(L"YcRxString");
  ASSERT_NE(nullptr, str);
  EXPECT_EQ(str, YcRxString::desc());
  EXPECT_STREQ(L"YcRxString", YcRxString::desc()->name());
  YcRxDictionary* services = ycrxGetModule()->getRxServices();
  ASSERT_NE(nullptr, services);
  EXPECT_TRUE(services->has(L"KernelServices"));
  EXPECT_TRUE(services->has(L"ProtocolReactorManager"));
}

TEST_F(StartupTest, InitialiseAfterTeardownBuildsAFreshSetButKeepsTheOldRoot) {
  KMRX_EXPECT_IN_CHILD(initialiseAfterTeardown());
}

}  // namespace
