// Protocol reactors: one manager per class (kept as its extension), one list per
// reactor class found by identity, reactors kept once in first-added order, none deleted.
#include "KmRxTestSupport.h"

// Named, not anonymous: the runtime, not this file, uses some macro-made members.
namespace reactor_test {

int gReactorDeaths = 0;

class PrBaseReactor : public YcRxProtocolReactor {
  YCRX_DECLARE_MEMBERS(PrBaseReactor);
  ~PrBaseReactor() override { ++gReactorDeaths; }
};
class PrDerivedReactor : public PrBaseReactor {
  YCRX_DECLARE_MEMBERS(PrDerivedReactor);
};

YCRX_DEFINE_MEMBERS(PrBaseReactor, L"PrTestBaseReactor", L"AcRxProtocolReactor")
YCRX_DEFINE_MEMBERS(PrDerivedReactor, L"PrTestDerivedReactor", L"PrTestBaseReactor")

}  // namespace reactor_test

namespace {

using namespace reactor_test;
typedef std::vector<YcRxProtocolReactor*> Reactors;

class ProtocolReactorTest : public RuntimeTest {
protected:
  static void SetUpTestSuite() {
    PrBaseReactor::rxInit();
    PrDerivedReactor::rxInit();
    ycrxBuildClassHierarchy();
  }
  static void TearDownTestSuite() {
    deleteYcRxClass(PrDerivedReactor::desc());
    deleteYcRxClass(PrBaseReactor::desc());
    YcRxClassImp::destroyDoomedRxClasses(true);
  }

  void SetUp() override {
    RuntimeTest::SetUp();
    mpFactory = YcRxProtocolReactorManagerFactory::cast(
        ycrxGetModule()->getRxServices()->at(L"ProtocolReactorManager"));
    ASSERT_NE(nullptr, mpFactory);
    mpManager = YcRxProtocolReactorManagerImp::cast(
        mpFactory->createReactorManager(makeHostClass(L"PrHost")));
    ASSERT_NE(nullptr, mpManager);
  }

  void TearDown() override {
    for (auto it = mClasses.rbegin(); it != mClasses.rend(); ++it) deleteYcRxClass(*it);
    YcRxClassImp::destroyDoomedRxClasses(true);
    RuntimeTest::TearDown();
  }

  YcRxClass* makeHostClass(const wchar_t* stem, YcRxClass* parent = YcRxObject::desc()) {
    mClasses.push_back(newYcRxClass(uniqueClassName(stem).c_str(), parent->name()));
    YcRxClassImp::initializeHierarchy(mClasses.back(), ycrxInternalGetClassDic());
    return mClasses.back();
  }

  static Reactors reactorsOf(const YcRxProtocolReactorList* list) {
    Reactors reactors;
    YcRxProtocolReactorIterator* it = list->newIterator();
    for (; !it->done(); it->next()) reactors.push_back(it->object());
    delete it;
    return reactors;
  }

  YcRxProtocolReactorList* listFor(YcRxClass* cls) { return mpManager->createReactorList(cls); }

  std::vector<YcRxClass*> mClasses;
  YcRxProtocolReactorManagerFactory* mpFactory = nullptr;
  YcRxProtocolReactorManagerImp* mpManager = nullptr;
};

TEST_F(ProtocolReactorTest, OneManagerPerClassKeptAsItsExtensionAndSharedBySubClasses) {
  EXPECT_EQ(nullptr, mpFactory->createReactorManager(nullptr));
  YcRxClass* parent = makeHostClass(L"PrParent");
  YcRxClass* early = makeHostClass(L"PrEarlySub", parent);
  YcRxProtocolReactorManager* manager = mpFactory->createReactorManager(parent);
  ASSERT_NE(nullptr, manager);
  EXPECT_NE(static_cast<YcRxProtocolReactorManager*>(mpManager), manager);
  EXPECT_EQ(manager, mpFactory->createReactorManager(parent));
  EXPECT_EQ(manager, parent->queryX(YcRxProtocolReactorManager::desc()));
  EXPECT_EQ(manager, mpFactory->createReactorManager(early));
  EXPECT_EQ(manager, mpFactory->createReactorManager(makeHostClass(L"PrLateSub", parent)));
}

TEST_F(ProtocolReactorTest, ListsAreFoundByIdentityOfTheReactorClassInCreationOrder) {
  YcRxProtocolReactorListIterator* it = mpManager->newIterator();
  EXPECT_TRUE(it->done() && !it->object() && !it->next()) << "empty at once";
  EXPECT_EQ(nullptr, listFor(nullptr));
  YcRxProtocolReactorList* derived = listFor(PrDerivedReactor::desc());
  YcRxProtocolReactorList* other = listFor(YcRxProtocolReactor::desc());
  YcRxProtocolReactorList* base = listFor(PrBaseReactor::desc());
  ASSERT_TRUE(derived && other && base);
  EXPECT_EQ(derived, listFor(PrDerivedReactor::desc()));
  EXPECT_EQ(base, mpManager->findReactorList(PrBaseReactor::desc()));
  EXPECT_EQ(nullptr, mpManager->findReactorList(nullptr));

  std::vector<YcRxProtocolReactorList*> lists;
  for (it->start(); !it->done(); it->next()) lists.push_back(it->object());
  delete it;
  EXPECT_EQ((std::vector<YcRxProtocolReactorList*>{derived, other, base}), lists);
}

TEST_F(ProtocolReactorTest, ReactorsOfTheListsClassOrBelowStandOnceInFirstAddedOrder) {
  YcRxProtocolReactorList* list = listFor(PrBaseReactor::desc());
  YcRxProtocolReactorIterator* it = list->newIterator();
  EXPECT_TRUE(it->done() && !it->object() && !it->next()) << "empty at once";
  PrBaseReactor a, absent;
  auto* b = new PrBaseReactor;  // nothing here may delete it
  PrDerivedReactor derived;
  YcRxProtocolReactor plain;  // the base of every reactor class, above the list's
  const int deaths = gReactorDeaths;
  for (YcRxProtocolReactor* r : Reactors{b, &a, b, nullptr, &derived})
    EXPECT_EQ(Ycad::eOk, list->addReactor(r));
  EXPECT_EQ(46, static_cast<int>(list->addReactor(&plain)));
  EXPECT_EQ(46, static_cast<int>(listFor(PrDerivedReactor::desc())->addReactor(&a)));
  EXPECT_EQ((Reactors{b, &a, &derived}), reactorsOf(list));
  it->start();
  EXPECT_EQ(b, it->object()) << "start rewinds";
  delete it;

  list->removeReactor(&absent);
  list->removeReactor(b);
  ASSERT_EQ(deaths, gReactorDeaths);
  EXPECT_EQ((Reactors{&a, &derived}), reactorsOf(list));
  list->addReactor(b);
  EXPECT_EQ((Reactors{&a, &derived, b}), reactorsOf(list)) << "back in at the tail";
  auto* manager = new YcRxProtocolReactorManagerImp;  // its lists go with it, no reactor
  manager->createReactorList(PrBaseReactor::desc())->addReactor(b);
  delete manager;
  EXPECT_EQ(deaths, gReactorDeaths);
  if (deaths == gReactorDeaths) delete b;
}

TEST_F(ProtocolReactorTest, AManagerItsClassGaveBackAndItsCallerDeletedIsNotDeletedAgain) {
  YcRxClass* cls = makeHostClass(L"PrGivenBack");
  KMRX_EXPECT_IN_CHILD({
    YcRxObject* manager = mpFactory->createReactorManager(cls);
    EXPECT_EQ(manager, cls->delX(YcRxProtocolReactorManager::desc()));
    delete manager;
    UninitializeYcRxSystem();  // the factory goes here and must not delete it again
  });
}

}  // namespace
