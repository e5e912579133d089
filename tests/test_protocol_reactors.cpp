// Protocol reactors: one manager per class (kept as its extension), one list
// per reactor class found by identity, reactors kept once in first-added
// order, and nothing here ever deleting a reactor.
#include <string>
#include <vector>

#include "KmRxTestSupport.h"

// Named, not anonymous: the members the runtime-class macros define are
// used by the runtime, not all of them by this file.
namespace reactor_test {

const wchar_t* const kWrongDeleteOrder = L"Delete rx class in wrong order!!!";

const wchar_t* baseReactorName() {
  static const std::wstring name = uniqueClassName(L"PrBaseReactor");
  return name.c_str();
}
const wchar_t* derivedReactorName() {
  static const std::wstring name = uniqueClassName(L"PrDerivedReactor");
  return name.c_str();
}
const wchar_t* otherReactorName() {
  static const std::wstring name = uniqueClassName(L"PrOtherReactor");
  return name.c_str();
}

int gReactorDeaths = 0;

class PrBaseReactor : public YcRxProtocolReactor {
public:
  YCRX_DECLARE_MEMBERS(PrBaseReactor);
  ~PrBaseReactor() override { ++gReactorDeaths; }
};

class PrDerivedReactor : public PrBaseReactor {
public:
  YCRX_DECLARE_MEMBERS(PrDerivedReactor);
};

// A reactor kind beside the base one, not below it.
class PrOtherReactor : public YcRxProtocolReactor {
public:
  YCRX_DECLARE_MEMBERS(PrOtherReactor);
  ~PrOtherReactor() override { ++gReactorDeaths; }
};

YCRX_DEFINE_MEMBERS(PrBaseReactor, baseReactorName(), L"AcRxProtocolReactor")
YCRX_DEFINE_MEMBERS(PrDerivedReactor, derivedReactorName(), baseReactorName())
YCRX_DEFINE_MEMBERS(PrOtherReactor, otherReactorName(), L"AcRxProtocolReactor")

}  // namespace reactor_test

namespace {

using namespace reactor_test;

typedef std::vector<YcRxProtocolReactor*> Reactors;

class ProtocolReactorTest : public RuntimeTest {
protected:
  static void SetUpTestSuite() {
    PrBaseReactor::rxInit();
    PrDerivedReactor::rxInit();
    PrOtherReactor::rxInit();
    ycrxBuildClassHierarchy();
  }
  static void TearDownTestSuite() {
    RecordingCrashRecorder recorder;
    KmCrashRecorder* previous = ycadSetCrashRecorder(&recorder);
    deleteYcRxClass(PrDerivedReactor::desc());
    deleteYcRxClass(PrBaseReactor::desc());
    deleteYcRxClass(PrOtherReactor::desc());
    YcRxClassImp::destroyDoomedRxClasses(true);
    ycadSetCrashRecorder(previous);
  }

  void SetUp() override {
    RuntimeTest::SetUp();
    ASSERT_EQ(PrBaseReactor::desc(), PrDerivedReactor::desc()->myParent());
    ASSERT_NE(nullptr, factory());
    mpManager = managerImp(makeHostClass(L"PrHost"));
    ASSERT_NE(nullptr, mpManager);
  }

  // Managers outlive the test on their classes; their lists go so that no
  // list keeps pointers to this test's reactors.
  void TearDown() override {
    for (YcRxProtocolReactorManagerImp* manager : mManagers) manager->clearAllList();
    for (auto it = mClasses.rbegin(); it != mClasses.rend(); ++it) deleteYcRxClass(*it);
    YcRxClassImp::destroyDoomedRxClasses(true);
    EXPECT_EQ(0, fatalCount(kWrongDeleteOrder));
    RuntimeTest::TearDown();
  }

  static YcRxProtocolReactorManagerFactory* factory() {
    YcRxDictionary* services = YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"));
    return services ? YcRxProtocolReactorManagerFactory::cast(
                          services->at(L"ProtocolReactorManager"))
                    : nullptr;
  }

  // A new class under parent (the root when null), linked at once.
  YcRxClass* makeHostClass(const wchar_t* stem, YcRxClass* parent = nullptr) {
    const std::wstring name = uniqueClassName(stem);
    YcRxClass* cls = newYcRxClass(name.c_str(), parent ? parent->name() : L"AcRxObject");
    EXPECT_NE(nullptr, cls);
    mClasses.push_back(cls);
    ycrxBuildClassHierarchy();
    clearFatalMessages();  // classes other suites left pending may be reported here
    return cls;
  }

  YcRxProtocolReactorManagerImp* managerImp(YcRxClass* cls) {
    auto* manager = YcRxProtocolReactorManagerImp::cast(factory()->createReactorManager(cls));
    if (manager) mManagers.push_back(manager);
    return manager;
  }

  static Reactors reactorsOf(const YcRxProtocolReactorList* list) {
    Reactors reactors;
    YcRxProtocolReactorIterator* it = list->newIterator();
    for (; !it->done(); it->next()) reactors.push_back(it->object());
    delete it;
    return reactors;
  }

  static std::vector<YcRxClass*> listClassesOf(const YcRxProtocolReactorManager* manager) {
    std::vector<YcRxClass*> classes;
    YcRxProtocolReactorListIterator* it = manager->newIterator();
    for (; !it->done(); it->next())
      classes.push_back(it->object() ? it->object()->reactorClass() : nullptr);
    delete it;
    return classes;
  }

  YcRxProtocolReactorList* baseList() { return mpManager->createReactorList(PrBaseReactor::desc()); }

  std::vector<YcRxClass*> mClasses;
  std::vector<YcRxProtocolReactorManagerImp*> mManagers;
  YcRxProtocolReactorManagerImp* mpManager = nullptr;
};

TEST_F(ProtocolReactorTest, FactoryKeepsOneManagerPerClassOnTheClass) {
  YcRxProtocolReactorManagerFactory* f = factory();
  EXPECT_TRUE(f->isKindOf(YcRxProtocolReactorManagerFactoryImp::desc()));
  EXPECT_EQ(nullptr, f->createReactorManager(nullptr));

  YcRxClass* host = makeHostClass(L"PrHost");
  YcRxProtocolReactorManager* manager = f->createReactorManager(host);
  ASSERT_NE(nullptr, YcRxProtocolReactorManagerImp::cast(manager));
  mManagers.push_back(YcRxProtocolReactorManagerImp::cast(manager));
  EXPECT_EQ(manager, f->createReactorManager(host));
  EXPECT_EQ(manager, host->queryX(YcRxProtocolReactorManager::desc()));
  EXPECT_NE(manager, mpManager) << "another class, another manager";
}

// The factory answers with whatever the class's extension table holds, so a
// sub-class shares its parent's manager, whenever it was linked.
TEST_F(ProtocolReactorTest, SubClassesShareTheirParentsManager) {
  YcRxClass* parent = makeHostClass(L"PrParent");
  YcRxClass* early = makeHostClass(L"PrEarlySub", parent);
  YcRxProtocolReactorManagerImp* manager = managerImp(parent);
  ASSERT_NE(nullptr, manager);
  YcRxClass* late = makeHostClass(L"PrLateSub", parent);
  EXPECT_EQ(manager, factory()->createReactorManager(early));
  EXPECT_EQ(manager, factory()->createReactorManager(late));
}

TEST_F(ProtocolReactorTest, ReactorListsAreFoundByIdentityOfTheReactorClass) {
  EXPECT_EQ(nullptr, mpManager->createReactorList(nullptr));
  YcRxProtocolReactorList* base = baseList();
  ASSERT_NE(nullptr, base);
  EXPECT_EQ(PrBaseReactor::desc(), base->reactorClass());
  EXPECT_EQ(base, baseList());

  YcRxProtocolReactorList* derived = mpManager->createReactorList(PrDerivedReactor::desc());
  ASSERT_NE(nullptr, derived);
  EXPECT_NE(base, derived);
  EXPECT_EQ(PrDerivedReactor::desc(), derived->reactorClass());

  EXPECT_EQ(base, mpManager->findReactorList(PrBaseReactor::desc()));
  EXPECT_EQ(derived, mpManager->findReactorList(PrDerivedReactor::desc()));
  EXPECT_EQ(nullptr, mpManager->findReactorList(PrOtherReactor::desc()));
  EXPECT_EQ(nullptr, mpManager->findReactorList(nullptr));
  EXPECT_EQ(2u, listClassesOf(mpManager).size());
}

TEST_F(ProtocolReactorTest, AReactorStandsOnceInFirstAddedOrder) {
  YcRxProtocolReactorList* list = baseList();
  PrBaseReactor a, b, c;
  EXPECT_EQ(Ycad::eOk, list->addReactor(&c));
  EXPECT_EQ(Ycad::eOk, list->addReactor(&a));
  EXPECT_EQ(Ycad::eOk, list->addReactor(&b));
  EXPECT_EQ(Ycad::eOk, list->addReactor(&a)) << "a second add is no error";
  EXPECT_EQ(Ycad::eOk, list->addReactor(nullptr));
  EXPECT_EQ((Reactors{&c, &a, &b}), reactorsOf(list));
}

TEST_F(ProtocolReactorTest, OnlyReactorsOfTheListsClassOrBelowAreAccepted) {
  YcRxProtocolReactorList* list = baseList();
  PrBaseReactor a;
  PrDerivedReactor derived;
  PrOtherReactor other;
  YcRxProtocolReactor plain;  // the base of every reactor class, above the list's
  ASSERT_EQ(Ycad::eOk, list->addReactor(&a));
  EXPECT_EQ(46, static_cast<int>(list->addReactor(&other)));
  EXPECT_EQ(46, static_cast<int>(list->addReactor(&plain)));
  EXPECT_EQ((Reactors{&a}), reactorsOf(list));
  EXPECT_EQ(Ycad::eOk, list->addReactor(&derived));
  EXPECT_EQ((Reactors{&a, &derived}), reactorsOf(list));

  YcRxProtocolReactorList* derivedList = mpManager->createReactorList(PrDerivedReactor::desc());
  EXPECT_EQ(46, static_cast<int>(derivedList->addReactor(&a)));
  EXPECT_EQ(Reactors{}, reactorsOf(derivedList));
}

TEST_F(ProtocolReactorTest, RemovingTakesOutOnlyThatReactorAndDeletesNothing) {
  YcRxProtocolReactorList* list = baseList();
  PrBaseReactor a, b, c, absent;
  for (PrBaseReactor* r : {&a, &b, &c}) list->addReactor(r);
  const int deaths = gReactorDeaths;

  list->removeReactor(&absent);
  EXPECT_EQ((Reactors{&a, &b, &c}), reactorsOf(list));
  list->removeReactor(&b);
  EXPECT_EQ((Reactors{&a, &c}), reactorsOf(list));
  EXPECT_EQ(deaths, gReactorDeaths);
  list->addReactor(&b);
  EXPECT_EQ((Reactors{&a, &c, &b}), reactorsOf(list)) << "back in at the tail";
}

TEST_F(ProtocolReactorTest, IteratorsOnEmptyListsAreDoneAtOnce) {
  YcRxProtocolReactorListIterator* lists = mpManager->newIterator();
  EXPECT_TRUE(lists->done());
  EXPECT_EQ(nullptr, lists->object());
  EXPECT_FALSE(lists->next());
  delete lists;

  YcRxProtocolReactorIterator* reactors = baseList()->newIterator();
  EXPECT_TRUE(reactors->done());
  EXPECT_EQ(nullptr, reactors->object());
  EXPECT_FALSE(reactors->next());
  EXPECT_EQ(PrBaseReactor::desc(), reactors->reactorClass());
  delete reactors;
}

TEST_F(ProtocolReactorTest, StartRewindsBothIterators) {
  YcRxProtocolReactorList* list = baseList();
  YcRxProtocolReactorList* otherList = mpManager->createReactorList(PrOtherReactor::desc());
  PrBaseReactor a, b;
  list->addReactor(&a);
  list->addReactor(&b);

  YcRxProtocolReactorIterator* it = list->newIterator();
  while (!it->done()) it->next();
  it->start();
  ASSERT_FALSE(it->done());
  EXPECT_EQ(&a, it->object());
  it->next();
  EXPECT_EQ(&b, it->object());
  delete it;

  YcRxProtocolReactorListIterator* lists = mpManager->newIterator();
  lists->next();
  EXPECT_EQ(otherList, lists->object());
  lists->start();
  EXPECT_EQ(list, lists->object());
  delete lists;
}

TEST_F(ProtocolReactorTest, ListsAreVisitedInCreationOrder) {
  mpManager->createReactorList(PrDerivedReactor::desc());
  mpManager->createReactorList(PrOtherReactor::desc());
  baseList();
  mpManager->createReactorList(PrDerivedReactor::desc());  // found, not appended
  EXPECT_EQ((std::vector<YcRxClass*>{PrDerivedReactor::desc(), PrOtherReactor::desc(),
                                     PrBaseReactor::desc()}),
            listClassesOf(mpManager));
}

TEST_F(ProtocolReactorTest, DeletingListsAndManagersNeverDeletesReactors) {
  auto* base = new PrBaseReactor;
  auto* derived = new PrDerivedReactor;
  auto* other = new PrOtherReactor;
  const int deaths = gReactorDeaths;

  auto* manager = new YcRxProtocolReactorManagerImp;
  manager->createReactorList(PrBaseReactor::desc())->addReactor(base);
  manager->createReactorList(PrBaseReactor::desc())->addReactor(derived);
  manager->createReactorList(PrOtherReactor::desc())->addReactor(other);
  auto* lone = new YcRxProtocolReactorListImp(PrBaseReactor::desc());
  lone->addReactor(base);

  delete lone;
  manager->clearAllList();
  EXPECT_TRUE(listClassesOf(manager).empty());
  EXPECT_EQ(nullptr, manager->findReactorList(PrBaseReactor::desc()));
  manager->createReactorList(PrOtherReactor::desc())->addReactor(other);
  delete manager;

  EXPECT_EQ(deaths, gReactorDeaths);
  if (deaths == gReactorDeaths) {  // else they are gone already
    delete base;
    delete derived;
    delete other;
  }
}

}  // namespace
