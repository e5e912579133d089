// Protocol extensions: values pushed down the class tree when they change,
// lookups through objects, and protocol classes unhooking when destroyed.
#include <vector>

#include "KmRxTestSupport.h"

namespace {

const wchar_t* const kNoExtension = L"Fail to get protocol extension object";
const wchar_t* const kWrongDeleteOrder = L"Delete rx class in wrong order!!!";

// An object whose class is whatever descriptor the test says.
class ProbeObject : public YcRxObject {
public:
  explicit ProbeObject(YcRxClass* cls) : mpClass(cls) {}
  YcRxClass* isA() const override { return mpClass; }

private:
  YcRxClass* mpClass;
};

class ProtocolExtensionTest : public RuntimeTest {
protected:
  // Classes go leaves first, with the dependency checks on, so the tree and
  // the root's sub-class list stay clean for other tests.
  void TearDown() override {
    for (auto it = mClasses.rbegin(); it != mClasses.rend(); ++it) deleteYcRxClass(*it);
    YcRxClassImp::destroyDoomedRxClasses(true);
    EXPECT_EQ(0, fatalCount(kWrongDeleteOrder));
    RuntimeTest::TearDown();
  }

  // A new class under parent (the root when null), linked at once.
  YcRxClass* makeClass(const wchar_t* stem, YcRxClass* parent = nullptr) {
    const std::wstring name = uniqueClassName(stem);
    YcRxClass* cls = newYcRxClass(name.c_str(), parent ? parent->name() : L"AcRxObject");
    EXPECT_NE(nullptr, cls);
    mClasses.push_back(cls);
    ycrxBuildClassHierarchy();
    clearFatalMessages();  // classes other suites left pending may be reported here
    EXPECT_EQ(parent ? parent : YcRxObject::desc(), cls->myParent());
    return cls;
  }

  // A class that is never linked to a parent.
  YcRxClass* makeRootlessClass(const wchar_t* stem) {
    const std::wstring name = uniqueClassName(stem);
    YcRxClass* cls = newYcRxClass(name.c_str(), nullptr);
    EXPECT_NE(nullptr, cls);
    mClasses.push_back(cls);
    return cls;
  }

  void forget(YcRxClass* cls) {
    for (auto it = mClasses.begin(); it != mClasses.end(); ++it)
      if (*it == cls) {
        mClasses.erase(it);
        return;
      }
  }

  static YcRxPEClassMap* peMap(YcRxClass* cls) {
    return YcRxClassImp::getImpl(cls)->peObjectMapIfAny();
  }

  std::vector<YcRxClass*> mClasses;
  YcRxObject e1, e2, e3;
};

TEST_F(ProtocolExtensionTest, AddXReturnsThePreviousValueAndMarksTheProtocolClass) {
  YcRxClass* cls = makeClass(L"PeHost");
  YcRxClass* proto = makeClass(L"PeProto");
  EXPECT_EQ(nullptr, cls->addX(proto, &e1));
  EXPECT_EQ(&e1, cls->queryX(proto));
  EXPECT_EQ(&e1, cls->addX(proto, &e2));
  EXPECT_EQ(&e2, cls->getX(proto));
  EXPECT_TRUE(YcRxClassImp::getImpl(proto)->isProtocolClass());
  EXPECT_FALSE(YcRxClassImp::getImpl(cls)->isProtocolClass());

  EXPECT_EQ(nullptr, cls->addX(nullptr, &e3));
  EXPECT_EQ(nullptr, cls->queryX(nullptr));
  ASSERT_NE(nullptr, peMap(cls));
  EXPECT_EQ(1, peMap(cls)->count());
  EXPECT_TRUE(fatalMessages().empty());
}

TEST_F(ProtocolExtensionTest, MissingExtensionIsReportedByGetXAndXButNotByQueryX) {
  YcRxClass* cls = makeClass(L"PeBare");
  YcRxClass* proto = makeClass(L"PeProto");
  EXPECT_EQ(nullptr, cls->queryX(proto));
  EXPECT_TRUE(fatalMessages().empty());
  EXPECT_EQ(nullptr, cls->getX(proto));
  EXPECT_EQ(1, fatalCount(kNoExtension));

  ProbeObject obj(cls);
  EXPECT_EQ(nullptr, obj.queryX(proto));
  EXPECT_EQ(1, fatalCount(kNoExtension));
  EXPECT_EQ(nullptr, obj.x(proto));
  EXPECT_EQ(2, fatalCount(kNoExtension));
  EXPECT_EQ(2, static_cast<int>(fatalMessages().size()));
}

TEST_F(ProtocolExtensionTest, ObjectsSeeTheExtensionOfTheirClass) {
  YcRxClass* base = makeClass(L"PeBase");
  YcRxClass* derived = makeClass(L"PeDerived", base);
  YcRxClass* proto = makeClass(L"PeProto");
  base->addX(proto, &e1);
  ProbeObject obj(derived);
  EXPECT_EQ(&e1, obj.x(proto));
  EXPECT_EQ(&e1, obj.queryX(proto));
  EXPECT_TRUE(fatalMessages().empty());
}

TEST_F(ProtocolExtensionTest, ValuesFlowDownTheWholeSubtreeAndFollowLaterChanges) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* b = makeClass(L"PeB", a);
  YcRxClass* c = makeClass(L"PeC", b);
  YcRxClass* d = makeClass(L"PeD", c);
  YcRxClass* b2 = makeClass(L"PeB2", a);
  YcRxClass* proto = makeClass(L"PeProto");
  const std::vector<YcRxClass*> tree = {a, b, c, d, b2};

  a->addX(proto, &e1);
  for (YcRxClass* cls : tree) EXPECT_EQ(&e1, ProbeObject(cls).x(proto)) << cls->name();
  EXPECT_EQ(&e1, a->addX(proto, &e2));
  for (YcRxClass* cls : tree) EXPECT_EQ(&e2, cls->queryX(proto)) << cls->name();
  EXPECT_EQ(nullptr, proto->queryX(proto));  // not a sub-class of a
}

TEST_F(ProtocolExtensionTest, ClassesLinkedLaterInheritEveryExtension) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* p1 = makeClass(L"PeProto");
  YcRxClass* p2 = makeClass(L"PeProto");
  a->addX(p1, &e1);
  a->addX(p2, &e2);

  YcRxClass* b = makeClass(L"PeLateB", a);
  ASSERT_NE(nullptr, peMap(b));
  EXPECT_EQ(2, peMap(b)->count());
  EXPECT_EQ(&e1, b->queryX(p1));
  EXPECT_EQ(&e2, b->queryX(p2));
  YcRxClass* c = makeClass(L"PeLateC", b);
  EXPECT_EQ(&e2, c->queryX(p2));

  ASSERT_NE(nullptr, YcRxClassImp::getImpl(a)->subClasses());
  EXPECT_TRUE(YcRxClassImp::getImpl(a)->subClasses()->contains(b));
}

TEST_F(ProtocolExtensionTest, OwnValueIsKeptWhileItsSubClassesStillTakeTheNewValue) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* b = makeClass(L"PeB", a);
  YcRxClass* c = makeClass(L"PeC", b);
  YcRxClass* proto = makeClass(L"PeProto");
  a->addX(proto, &e1);
  EXPECT_EQ(&e1, b->addX(proto, &e3));  // b's own value
  EXPECT_EQ(&e3, c->queryX(proto));     // c followed b
  c->addX(proto, &e1);                  // c carries a's current value
  YcRxClass* d = makeClass(L"PeD", c);  // inherits it from c

  EXPECT_EQ(&e1, a->addX(proto, &e2));
  EXPECT_EQ(&e2, a->queryX(proto));
  EXPECT_EQ(&e3, b->queryX(proto));
  EXPECT_EQ(&e2, c->queryX(proto)) << "the walk goes on below a class that kept its value";
  EXPECT_EQ(&e2, d->queryX(proto));
}

TEST_F(ProtocolExtensionTest, DelXRestoresTheParentValueDownTheTree) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* b = makeClass(L"PeB", a);
  YcRxClass* c = makeClass(L"PeC", b);
  YcRxClass* proto = makeClass(L"PeProto");
  a->addX(proto, &e1);
  b->addX(proto, &e2);
  EXPECT_EQ(&e2, c->queryX(proto));

  EXPECT_EQ(&e2, b->delX(proto));
  EXPECT_EQ(&e1, b->queryX(proto));
  EXPECT_EQ(&e1, c->queryX(proto));
  EXPECT_EQ(&e1, a->queryX(proto));
}

TEST_F(ProtocolExtensionTest, DelXWithoutParentLeavesNullEntries) {
  YcRxClass* top = makeRootlessClass(L"PeRootless");
  YcRxClass* proto = makeClass(L"PeProto");
  YcRxClass* sub = newYcRxClass(uniqueClassName(L"PeRootlessSub").c_str(), top->name());
  mClasses.push_back(sub);
  ycrxBuildClassHierarchy();
  ASSERT_EQ(top, sub->myParent());
  EXPECT_EQ(nullptr, top->myParent());

  top->addX(proto, &e1);
  EXPECT_EQ(&e1, sub->queryX(proto));
  EXPECT_EQ(&e1, top->delX(proto));
  for (YcRxClass* cls : {top, sub}) {
    EXPECT_EQ(nullptr, cls->queryX(proto));
    ASSERT_NE(nullptr, peMap(cls));
    EXPECT_EQ(1, peMap(cls)->count()) << cls->name();
    EXPECT_FALSE(peMap(cls)->has(proto));
  }
}

TEST_F(ProtocolExtensionTest, SubAddXReplacesOnlyEmptyOrOldValuesButVisitsEverySubClass) {
  YcRxClass* a = makeClass(L"PeA");
  YcRxClass* b = makeClass(L"PeB", a);
  YcRxClass* c = makeClass(L"PeC", b);
  YcRxClass* proto = makeClass(L"PeProto");
  b->addX(proto, &e3);  // b and c: e3

  // a is empty, so it takes the value; b and c hold neither null nor e1.
  YcRxClassImp::subAddX(a, proto, &e2, &e1);
  EXPECT_EQ(&e2, a->queryX(proto));
  EXPECT_EQ(&e3, b->queryX(proto));
  EXPECT_EQ(&e3, c->queryX(proto));

  c->addX(proto, &e1);
  YcRxClassImp::subAddX(a, proto, &e2, &e1);
  EXPECT_EQ(&e3, b->queryX(proto));
  EXPECT_EQ(&e2, c->queryX(proto));
}

TEST_F(ProtocolExtensionTest, HelperActsOnClassesOnlyAndWalksEveryElementInOrder) {
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

  _SubAddXHelper update(proto, &e2, &e1);
  WalkRxIterable(YcRxClassImp::getImpl(a)->subClasses(), update);
  EXPECT_EQ(&e2, b1->queryX(proto));
  EXPECT_EQ(&e2, b2->queryX(proto));
  EXPECT_EQ(nullptr, a->queryX(proto));

  struct Recorder {
    void operator()(YcRxObject* obj) { seen.push_back(obj); }
    std::vector<YcRxObject*> seen;
  } recorder;
  WalkRxIterable(YcRxClassImp::getImpl(a)->subClasses(), recorder);
  EXPECT_EQ((std::vector<YcRxObject*>{b1, b2}), recorder.seen);
  WalkRxIterable(static_cast<const YcRxIterable*>(nullptr), recorder);
  EXPECT_EQ(2u, recorder.seen.size());
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

  const YcRxObject* deadKey = doomed;
  forget(doomed);
  deleteYcRxClass(doomed);
  YcRxClassImp::destroyDoomedRxClasses(true);

  int maps = 0;
  YcRxDictionaryIterator* it = ycrxInternalGetClassDic()->newIterator(YcRx::kDictIdOrder);
  for (; !it->done(); it->next()) {
    YcRxClass* cls = YcRxClass::cast(it->object());
    YcRxPEClassMap* map = cls ? peMap(cls) : nullptr;
    if (!map) continue;
    ++maps;
    for (const auto& entry : map->tree()) EXPECT_NE(deadKey, entry.first) << cls->name();
  }
  delete it;
  EXPECT_GE(maps, 3);
  EXPECT_EQ(1, peMap(a)->count());
  EXPECT_EQ(1, peMap(b)->count());
  EXPECT_EQ(&e2, b->queryX(keep));
  EXPECT_EQ(0, peMap(other)->count());
}

}  // namespace
