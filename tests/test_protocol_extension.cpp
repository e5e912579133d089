// Protocol extensions: values pushed down the class tree when they change, lookups through
// objects, and protocol classes unhooking when destroyed.
#include <memory>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

const wchar_t* const kNoExtension = L"Fail to get protocol extension object";

// An object whose class is whatever descriptor the test says.
class ProbeObject : public YcRxObject {
public:
  explicit ProbeObject(YcRxClass* cls) : mpClass(cls) {}
  YcRxClass* isA() const override { return mpClass; }
  YcRxClass* mpClass;
};

class ProtocolExtensionTest : public RuntimeTest {
protected:
  // Leaves first, with the dependency checks on, so the tree stays clean for other tests.
  void TearDown() override {
    for (auto it = mClasses.rbegin(); it != mClasses.rend(); ++it) deleteYcRxClass(*it);
    YcRxClassImp::destroyDoomedRxClasses(true);
    EXPECT_EQ(0, fatalCount(L"Delete rx class in wrong order!!!"));
    RuntimeTest::TearDown();
  }
  // A new class under parent (the root when null, no parent at all when rootless), linked at once.
  YcRxClass* makeClass(const wchar_t* stem, YcRxClass* parent = nullptr, bool rootless = false) {
    const wchar_t* parentName = rootless ? nullptr : parent ? parent->name() : L"AcRxObject";
    YcRxClass* cls = newYcRxClass(uniqueClassName(stem).c_str(), parentName);
    mClasses.push_back(cls);
    ycrxBuildClassHierarchy();
    clearFatalMessages();  // classes other suites left pending may be reported here
    EXPECT_EQ(rootless ? nullptr : parent ? parent : YcRxObject::desc(), cls->myParent());
    return cls;
  }
  static YcRxPEClassMap* peMap(YcRxClass* cls) {
    return YcRxClassImp::getImpl(cls)->peObjectMapIfAny();
  }

  std::vector<YcRxClass*> mClasses;
  YcRxObject e1, e2, e3;
};

TEST_F(ProtocolExtensionTest, AddXReturnsThePreviousValueAndOnlyGetXAndXReportAMissingOne) {
  YcRxClass* base = makeClass(L"PeBase");
  YcRxClass* proto = makeClass(L"PeProto");
  ProbeObject obj(makeClass(L"PeDerived", base));
  EXPECT_EQ(nullptr, obj.queryX(proto));
  EXPECT_TRUE(fatalMessages().empty());
  EXPECT_EQ(nullptr, base->getX(proto));
  EXPECT_EQ(nullptr, obj.x(proto));
  EXPECT_EQ(2, fatalCount(kNoExtension));

  EXPECT_EQ(nullptr, base->addX(proto, &e1));
  EXPECT_EQ(&e1, base->addX(proto, &e2));
  EXPECT_EQ(&e2, obj.x(proto));
  EXPECT_EQ(&e2, obj.queryX(proto));
  EXPECT_TRUE(YcRxClassImp::getImpl(proto)->isProtocolClass());
  EXPECT_FALSE(YcRxClassImp::getImpl(base)->isProtocolClass());
  EXPECT_EQ(nullptr, base->addX(nullptr, &e3));
  EXPECT_EQ(nullptr, base->queryX(nullptr));
  EXPECT_EQ(1, peMap(base)->count());
  EXPECT_EQ(2u, fatalMessages().size());
}

TEST_F(ProtocolExtensionTest, ValuesFlowDownTheSubtreePastClassesThatKeepTheirOwn) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* b = makeClass(L"PeB", a);
  YcRxClass* c = makeClass(L"PeC", b);
  YcRxClass* d = makeClass(L"PeD", c);
  YcRxClass* b2 = makeClass(L"PeB2", a);
  YcRxClass* proto = makeClass(L"PeProto");
  a->addX(proto, &e1);
  for (YcRxClass* cls : {a, b, c, d, b2}) EXPECT_EQ(&e1, ProbeObject(cls).x(proto)) << cls->name();
  EXPECT_EQ(nullptr, proto->queryX(proto));  // not below a
  EXPECT_EQ(&e1, b->addX(proto, &e3));
  EXPECT_EQ(&e3, d->queryX(proto));
  // delX restores the parent's value down to the classes that inherited the deleted one.
  EXPECT_EQ(&e3, b->delX(proto));
  for (YcRxClass* cls : {b, c, d}) EXPECT_EQ(&e1, cls->queryX(proto)) << cls->name();

  b->addX(proto, &e3);  // b's own value
  c->addX(proto, &e1);  // c carries a's current value, and d inherits it
  EXPECT_EQ(&e1, a->addX(proto, &e2));
  EXPECT_EQ(&e3, b->queryX(proto));
  for (YcRxClass* cls : {a, c, d, b2})
    EXPECT_EQ(&e2, cls->queryX(proto)) << "the walk goes on below a class that kept its value";
}

TEST_F(ProtocolExtensionTest, ClassesLinkedLaterInheritEveryExtension) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* p1 = makeClass(L"PeProto");
  YcRxClass* p2 = makeClass(L"PeProto");
  a->addX(p1, &e1);
  a->addX(p2, &e2);
  YcRxClass* b = makeClass(L"PeLateB", a);
  YcRxClass* c = makeClass(L"PeLateC", b);
  EXPECT_EQ(&e1, b->queryX(p1));
  EXPECT_EQ(&e2, c->queryX(p2));
  EXPECT_EQ(2, peMap(b)->count());
}

TEST_F(ProtocolExtensionTest, DelXWithoutParentLeavesNullEntries) {
  YcRxClass* top = makeClass(L"PeRootless", nullptr, true);
  YcRxClass* sub = makeClass(L"PeRootlessSub", top);
  YcRxClass* proto = makeClass(L"PeProto");
  top->addX(proto, &e1);
  EXPECT_EQ(&e1, sub->queryX(proto));
  EXPECT_EQ(&e1, top->delX(proto));
  for (YcRxClass* cls : {top, sub}) {
    EXPECT_EQ(nullptr, cls->queryX(proto));
    EXPECT_EQ(1, peMap(cls)->count()) << cls->name();
  }
}

TEST_F(ProtocolExtensionTest, HelperActsOnClassesOnlyAndTheWalkReachesEverySubClass) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* b1 = makeClass(L"PeB", a);
  YcRxClass* b2 = makeClass(L"PeB", a);
  YcRxClass* proto = makeClass(L"PeProto");
  YcRxString notAClass(L"plain", false);
  _SubAddXHelper helper(proto, &e1, nullptr);
  helper(&notAClass);  // ignored
  helper(b1);
  EXPECT_EQ(&e1, b1->queryX(proto));
  EXPECT_EQ(nullptr, b2->queryX(proto));
  // Empty entries and those holding the old value take the new one.
  _SubAddXHelper update(proto, &e2, &e1);
  WalkRxIterable(YcRxClassImp::getImpl(a)->subClasses(), update);
  EXPECT_EQ(&e2, b1->queryX(proto));
  EXPECT_EQ(&e2, b2->queryX(proto));
  EXPECT_EQ(nullptr, a->queryX(proto));
}

TEST_F(ProtocolExtensionTest, DestroyedProtocolClassLeavesNoEntryInAnyClass) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* b = makeClass(L"PeB", a);
  YcRxClass* other = makeClass(L"PeOther");
  YcRxClass* keep = makeClass(L"PeKeep");
  YcRxClass* doomed = makeClass(L"PeDoomed");
  a->addX(doomed, &e1);
  a->addX(keep, &e2);
  other->addX(doomed, &e3);
  other->delX(doomed);  // a null entry must go as well
  mClasses.pop_back();
  deleteYcRxClass(doomed);
  YcRxClassImp::destroyDoomedRxClasses(true);

  YcRxDictionary* classes = ycrxInternalGetClassDic();
  for (std::unique_ptr<YcRxDictionaryIterator> it(classes->newIterator(YcRx::kDictIdOrder));
       !it->done(); it->next()) {
    YcRxClass* cls = YcRxClass::cast(it->object());
    if (YcRxPEClassMap* map = cls ? peMap(cls) : nullptr) {
      for (const auto& entry : map->tree()) EXPECT_NE(doomed, entry.first) << cls->name();
    }
  }
  EXPECT_EQ(1, peMap(a)->count());
  EXPECT_EQ(1, peMap(b)->count());
  EXPECT_EQ(&e2, b->queryX(keep));
  EXPECT_EQ(0, peMap(other)->count());
}

}  // namespace
