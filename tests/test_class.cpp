// The root object and class descriptors: identity and kind, cloning, ordering,
// registration and its duplicate rule, the class tree, the doomed queue,
// object context menus and the module stamp of classes made during a load.
#include <algorithm>
#include <string>
#include <vector>

#include "FakeHost.h"
#include "KmRxTestSupport.h"

// Test classes live outside the anonymous namespace so their unused members
// (desc/cast/rxInit come as a set) raise no warnings.

// Clonable through its class's factory; copyFrom can be told to refuse.
class ClassTestClonable : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(ClassTestClonable);
  ClassTestClonable() { ++sAlive; }
  ~ClassTestClonable() override { --sAlive; }
  Ycad::ErrorStatus copyFrom(const YcRxObject* other) override {
    const ClassTestClonable* src = ClassTestClonable::cast(other);
    if (!src || src->refuseCopy) return Ycad::eWrongObjectClass;
    value = src->value;
    return Ycad::eOk;
  }
  int value = 0;
  bool refuseCopy = false;
  static int sAlive;
};
int ClassTestClonable::sAlive = 0;
YCRX_DEFINE_MEMBERS_WITH_CONS(ClassTestClonable, L"ClassTestClonable", L"AcRxObject")

// Registered without a factory.
class ClassTestNoFactory : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(ClassTestNoFactory);
};
YCRX_DEFINE_MEMBERS(ClassTestNoFactory, L"ClassTestNoFactory", L"AcRxObject")

// Never registered by anyone.
class ClassTestNeverRegistered : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(ClassTestNeverRegistered);
};
YCRX_DEFINE_MEMBERS(ClassTestNeverRegistered, L"ClassTestNeverRegistered", L"AcRxObject")

// Its registration gets overwritten behind its back.
class ClassTestOverwritten : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(ClassTestOverwritten);
};
YCRX_DEFINE_MEMBERS(ClassTestOverwritten, L"ClassTestOverwritten", L"AcRxObject")

namespace {

const wchar_t* const kWrongRegisterOrder = L"Regist rx class with wrong order!!!";
const wchar_t* const kWrongDeleteOrder = L"Delete rx class in wrong order!!!";

YcRxClassImp* imp(YcRxClass* cls) { return YcRxClassImp::getImpl(cls); }

// The members of a linked list, compared by address only (entries may be stale).
std::vector<YcRxObject*> members(const YcRxLinkedList* list) {
  std::vector<YcRxObject*> out;
  for (const YcRxLinkedNode* n = list ? list->frontNode() : nullptr; n; n = n->next())
    out.push_back(n->object());
  return out;
}

int occurrences(const YcRxLinkedList* list, const YcRxObject* obj) {
  const std::vector<YcRxObject*> all = members(list);
  return static_cast<int>(std::count(all.begin(), all.end(), obj));
}

class ClassTest : public RuntimeTest {
protected:
  void TearDown() override {
    destroyRegistered();
    RuntimeTest::TearDown();
  }

  static YcRxDictionary* classes() { return ycrxInternalGetClassDic(); }

  // Registers under a fresh name; whatever is still registered under it goes at TearDown.
  YcRxClass* makeClass(const wchar_t* stem, const wchar_t* parent = L"AcRxObject",
                       int proxyFlags = 0) {
    return makeNamed(uniqueClassName(stem), parent, proxyFlags);
  }
  YcRxClass* makeNamed(const std::wstring& name, const wchar_t* parent, int proxyFlags = 0) {
    mNames.push_back(name);
    return newYcRxClass(name.c_str(), parent, proxyFlags);
  }

  // Links one class without building the rest of the tree.
  static void link(YcRxClass* cls) { YcRxClassImp::initializeHierarchy(cls, classes()); }

  // Wrong-order reports one build makes on its own (classes other tests left behind).
  int wrongOrderReportsOfABuild() {
    clearFatalMessages();
    ycrxBuildClassHierarchy();
    const int n = fatalCount(kWrongRegisterOrder);
    clearFatalMessages();
    return n;
  }

  // Children before parents, so the checked batch neither reports nor leaves stale links.
  void destroyRegistered() {
    std::vector<std::pair<int, YcRxClass*>> live;
    for (const std::wstring& name : mNames) {
      YcRxClass* cls = YcRxClass::cast(classes()->at(name.c_str()));
      if (!cls) continue;
      int depth = 0;
      for (YcRxClass* p = cls->myParent(); p; p = p->myParent()) ++depth;
      live.emplace_back(-depth, cls);
    }
    std::stable_sort(live.begin(), live.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& entry : live) deleteYcRxClass(entry.second);
    YcRxClassImp::destroyDoomedRxClasses(true);
    mNames.clear();
  }

  std::vector<std::wstring> mNames;
  YcRxObject mExtension;
};

// ---------------------------------------------------------------------------
// Root object and descriptor identity

TEST_F(ClassTest, RootDescriptorIsAcRxObjectWithoutParent) {
  YcRxClass* root = YcRxObject::desc();
  ASSERT_NE(nullptr, root);
  EXPECT_STREQ(L"AcRxObject", root->name());
  EXPECT_EQ(nullptr, root->myParent());
  EXPECT_EQ(root, classes()->at(L"AcRxObject"));
  YcRxObject plain;
  EXPECT_EQ(root, plain.isA());
  // A descriptor is described by the implementation class.
  EXPECT_EQ(YcRxClassImp::desc(), root->isA());
  EXPECT_STREQ(L"YcRxClassImp", root->isA()->name());
}

TEST_F(ClassTest, PlainObjectCopiesNothingComparesByIdentityAndIsNotOrderable) {
  YcRxObject a, b;
  EXPECT_EQ(1, static_cast<int>(a.copyFrom(&b)));
  EXPECT_TRUE(a.isEqualTo(&a));
  EXPECT_FALSE(a.isEqualTo(&b));
  EXPECT_FALSE(a.isEqualTo(nullptr));
  EXPECT_EQ(YcRx::kNotOrderable, a.comparedTo(&a));
  EXPECT_EQ(YcRx::kNotOrderable, a.comparedTo(&b));
  EXPECT_EQ(YcRx::kNotOrderable, a.comparedTo(nullptr));
}

TEST_F(ClassTest, CastChecksKindExceptOnTheRoot) {
  YcRxObject plain;
  YcRxString text(L"t", false);
  YcRxClass* root = YcRxObject::desc();
  EXPECT_EQ(nullptr, YcRxObject::cast(nullptr));
  EXPECT_EQ(&plain, YcRxObject::cast(&plain));
  EXPECT_EQ(nullptr, YcRxClass::cast(nullptr));
  EXPECT_EQ(nullptr, YcRxClass::cast(&plain));
  EXPECT_EQ(nullptr, YcRxClass::cast(&text));
  EXPECT_EQ(root, YcRxClass::cast(root));
  EXPECT_EQ(root, YcRxClassImp::cast(root));
  EXPECT_EQ(&text, YcRxString::cast(&text));
  EXPECT_EQ(nullptr, YcRxDictionary::cast(&text));

  EXPECT_TRUE(text.isKindOf(YcRxString::desc()));
  EXPECT_TRUE(text.isKindOf(root));
  EXPECT_FALSE(text.isKindOf(YcRxClass::desc()));
  EXPECT_FALSE(text.isKindOf(nullptr));
  EXPECT_TRUE(root->isKindOf(YcRxClass::desc()));
  EXPECT_FALSE(plain.isKindOf(YcRxString::desc()));
}

TEST_F(ClassTest, UnregisteredClassHasNoDescriptorSoNothingIsOfItsKind) {
  ClassTestNeverRegistered obj;
  YcRxObject plain;
  EXPECT_EQ(nullptr, ClassTestNeverRegistered::desc());
  EXPECT_EQ(nullptr, obj.isA());
  EXPECT_EQ(nullptr, ClassTestNeverRegistered::cast(&obj));
  EXPECT_FALSE(plain.isKindOf(ClassTestNeverRegistered::desc()));
  // Without a descriptor even the root kind is denied.
  EXPECT_FALSE(obj.isKindOf(YcRxObject::desc()));
  EXPECT_EQ(nullptr, obj.clone());
}

TEST_F(ClassTest, DerivationFollowsParentLinksAndIncludesItself) {
  YcRxClass* root = YcRxObject::desc();
  YcRxClass* a = makeClass(L"DerA");
  const std::wstring aName = a->name();
  YcRxClass* b = makeClass(L"DerB", aName.c_str());
  YcRxClass* c = makeClass(L"DerC", b->name());
  EXPECT_FALSE(c->isDerivedFrom(a)) << "not linked yet";
  EXPECT_TRUE(c->isDerivedFrom(c));
  link(a);
  link(b);
  link(c);
  EXPECT_TRUE(c->isDerivedFrom(a));
  EXPECT_TRUE(c->isDerivedFrom(root));
  EXPECT_FALSE(a->isDerivedFrom(c));
  EXPECT_FALSE(c->isDerivedFrom(nullptr));
  EXPECT_TRUE(root->isDerivedFrom(root));
  EXPECT_FALSE(root->isDerivedFrom(a));
  EXPECT_FALSE(root->isDerivedFrom(YcRxClass::desc()));
  EXPECT_TRUE(YcRxClassImp::desc()->isDerivedFrom(YcRxClass::desc()));
}

TEST_F(ClassTest, DescriptorsOrderByNameAndNotAgainstOtherObjects) {
  YcRxClass* first = makeClass(L"CmpA");
  YcRxClass* second = makeClass(L"CmpB");
  YcRxString text(first->name(), false);
  YcRxObject plain;
  EXPECT_EQ(YcRx::kEqual, first->comparedTo(first));
  EXPECT_EQ(YcRx::kLessThan, first->comparedTo(second));
  EXPECT_EQ(YcRx::kGreaterThan, second->comparedTo(first));
  EXPECT_EQ(YcRx::kLessThan, YcRxObject::desc()->comparedTo(first));
  EXPECT_EQ(YcRx::kNotOrderable, first->comparedTo(nullptr));
  EXPECT_EQ(YcRx::kNotOrderable, first->comparedTo(&plain));
  EXPECT_EQ(YcRx::kNotOrderable, first->comparedTo(&text)) << "same text, but not a descriptor";
}

// ---------------------------------------------------------------------------
// Creation and cloning through descriptors

TEST_F(ClassTest, CloneGoesThroughTheFactoryAndCopyFrom) {
  ClassTestClonable::rxInit();
  ASSERT_NE(nullptr, ClassTestClonable::desc());
  const int alive = ClassTestClonable::sAlive;
  ClassTestClonable original;
  original.value = 42;
  YcRxObject* copy = original.clone();
  ASSERT_NE(nullptr, copy);
  EXPECT_NE(&original, copy);
  EXPECT_EQ(ClassTestClonable::desc(), copy->isA());
  ASSERT_NE(nullptr, ClassTestClonable::cast(copy));
  EXPECT_EQ(42, ClassTestClonable::cast(copy)->value);
  delete copy;

  // A refused copy gives null and the half-made object is destroyed.
  original.refuseCopy = true;
  EXPECT_EQ(nullptr, original.clone());
  EXPECT_EQ(alive + 1, ClassTestClonable::sAlive);
}

TEST_F(ClassTest, NothingToCloneWithoutAFactoryOrOnThePlainRoot) {
  ClassTestNoFactory::rxInit();
  ASSERT_NE(nullptr, ClassTestNoFactory::desc());
  EXPECT_EQ(nullptr, ClassTestNoFactory::desc()->create());
  ClassTestNoFactory obj;
  EXPECT_EQ(nullptr, obj.clone());
  YcRxObject plain;
  EXPECT_EQ(nullptr, plain.clone());
}

TEST_F(ClassTest, RxInitTwiceKeepsOneDescriptorQuietly) {
  ClassTestClonable::rxInit();
  YcRxClass* first = ClassTestClonable::desc();
  const unsigned int entries = classes()->numEntries();
  ClassTestClonable::rxInit();
  EXPECT_EQ(first, ClassTestClonable::desc());
  EXPECT_EQ(first, classes()->at(L"ClassTestClonable"));
  EXPECT_EQ(entries, classes()->numEntries());
  EXPECT_TRUE(fatalMessages().empty());
}

TEST_F(ClassTest, RxInitOverAnotherDescriptorReportsEmptyMessageAndRegistersAgain) {
  ClassTestOverwritten::rxInit();
  ASSERT_NE(nullptr, ClassTestOverwritten::desc());
  const unsigned int entries = classes()->numEntries();
  // Someone else registers under the same name; the cached descriptor is gone now.
  YcRxClass* intruder = newYcRxClass(L"ClassTestOverwritten", L"AcRxObject");
  ASSERT_EQ(intruder, classes()->at(L"ClassTestOverwritten"));
  EXPECT_TRUE(fatalMessages().empty());

  ClassTestOverwritten::rxInit();
  EXPECT_EQ(1u, fatalMessages().size());
  EXPECT_EQ(1, fatalCount(L""));
  ASSERT_EQ(classes()->at(L"ClassTestOverwritten"), ClassTestOverwritten::desc());
  EXPECT_STREQ(L"ClassTestOverwritten", ClassTestOverwritten::desc()->name());
  EXPECT_EQ(entries, classes()->numEntries());

  // Retire it so no later tree build links a class this test keeps replacing.
  deleteYcRxClass(ClassTestOverwritten::desc());
  YcRxClassImp::destroyDoomedRxClasses(true);
}

// ---------------------------------------------------------------------------
// Registration

TEST_F(ClassTest, NullOrEmptyNameRegistersNothing) {
  const unsigned int entries = classes()->numEntries();
  EXPECT_EQ(nullptr, newYcRxClass(nullptr, L"AcRxObject"));
  EXPECT_EQ(nullptr, newYcRxClass(L"", L"AcRxObject"));
  EXPECT_EQ(nullptr, newYcRxClass(L"", L"AcRxObject", 1, 2, 3, nullptr, L"D", L"A"));
  EXPECT_EQ(nullptr, newYcRxClassWithFeature(nullptr, L"AcRxObject", 4u));
  EXPECT_EQ(nullptr, newYcRxClassWithFeature(L"", L"AcRxObject", 1, 2, 4u, 3, nullptr, nullptr,
                                             nullptr, nullptr));
  EXPECT_EQ(nullptr, newYcRxClassWithFeature(L"", L"AcRxObject", 1, 2, 3, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr, 4u));
  EXPECT_EQ(entries, classes()->numEntries());
  EXPECT_FALSE(classes()->has(L""));
  EXPECT_TRUE(fatalMessages().empty());
}

void appNameCallback(const YcRxClass*, wchar_t*&, int) {}

TEST_F(ClassTest, CreatingFunctionsStoreWhatTheyAreGiven) {
  std::wstring name = uniqueClassName(L"Full");
  wchar_t dxf[] = L"FULLDXF";
  mNames.push_back(name);
  YcRxClass* full = newYcRxClass(name.c_str(), L"AcRxObject", 3, 7, 5, nullptr, dxf, L"FullApp",
                                 &appNameCallback);
  ASSERT_NE(nullptr, full);
  dxf[0] = L'X';  // the descriptor keeps its own copy
  int dwg = -1, maint = -1;
  full->getClassVersion(dwg, maint);
  EXPECT_EQ(3, dwg);
  EXPECT_EQ(7, maint);
  EXPECT_EQ(5, full->proxyFlags());
  EXPECT_STREQ(L"FULLDXF", full->dxfName());
  EXPECT_STREQ(L"FullApp", full->appName());
  EXPECT_STREQ(name.c_str(), full->name());
  EXPECT_EQ(&appNameCallback, full->appNameCallbackPtr());
  EXPECT_STREQ(L"AcRxObject", imp(full)->pendingParentName());
  EXPECT_EQ(nullptr, full->myParent());
  EXPECT_EQ(nullptr, imp(full)->moduleProxy());
  EXPECT_EQ(full, classes()->at(name.c_str()));

  // The short form's integer is the proxy flags; versions stay 0.
  YcRxClass* shortForm = makeClass(L"Short", L"AcRxObject", 9);
  shortForm->getClassVersion(dwg, maint);
  EXPECT_EQ(0, dwg);
  EXPECT_EQ(0, maint);
  EXPECT_EQ(9, shortForm->proxyFlags());
  EXPECT_EQ(nullptr, shortForm->dxfName());
  EXPECT_EQ(nullptr, shortForm->appNameCallbackPtr());

  name = uniqueClassName(L"Feat");
  mNames.push_back(name);
  YcRxClass* feat = newYcRxClassWithFeature(name.c_str(), L"AcRxObject", 0x30u, 2);
  ASSERT_NE(nullptr, feat);
  EXPECT_EQ(0x30u, imp(feat)->featureFlags());
  EXPECT_EQ(2, feat->proxyFlags());

  name = uniqueClassName(L"FeatFull");
  mNames.push_back(name);
  int userData = 0;
  YcRxClass* featFull = newYcRxClassWithFeature(name.c_str(), L"AcRxObject", 4, 1, 6, nullptr,
                                                nullptr, nullptr, nullptr, nullptr, &userData, 0x81u);
  ASSERT_NE(nullptr, featFull);
  EXPECT_EQ(0x81u, imp(featFull)->featureFlags());
  EXPECT_EQ(6, featFull->proxyFlags());
  featFull->getClassVersion(dwg, maint);
  EXPECT_EQ(4, dwg);
  EXPECT_EQ(1, maint);
}

TEST_F(ClassTest, SecondRegistrationUnderANameReplacesTheFirstSilently) {
  YcRxClass* first = makeClass(L"Dup");
  ASSERT_NE(nullptr, first);
  const std::wstring name = first->name();
  const unsigned int entries = classes()->numEntries();
  YcRxClass* second = newYcRxClass(name.c_str(), L"AcRxObject", 11);
  ASSERT_NE(nullptr, second);
  EXPECT_EQ(second, classes()->at(name.c_str()));
  EXPECT_EQ(11, second->proxyFlags());
  EXPECT_EQ(entries, classes()->numEntries());
  EXPECT_TRUE(fatalMessages().empty());
}

// ---------------------------------------------------------------------------
// The class tree

TEST_F(ClassTest, ChildBeforeParentIsReportedAndALaterBuildLinksIt) {
  const int baseline = wrongOrderReportsOfABuild();
  const std::wstring parentName = uniqueClassName(L"LateParent");
  YcRxClass* child = makeClass(L"EarlyChild", parentName.c_str());
  ASSERT_NE(nullptr, child);
  EXPECT_TRUE(fatalMessages().empty()) << "registering alone does not check the parent";

  ycrxBuildClassHierarchy();
  EXPECT_EQ(baseline + 1, fatalCount(kWrongRegisterOrder));
  EXPECT_EQ(nullptr, child->myParent());
  EXPECT_STREQ(parentName.c_str(), imp(child)->pendingParentName());

  clearFatalMessages();
  YcRxClass* parent = makeNamed(parentName, L"AcRxObject");
  ycrxBuildClassHierarchy();
  EXPECT_EQ(baseline, fatalCount(kWrongRegisterOrder));
  EXPECT_EQ(parent, child->myParent());
  EXPECT_EQ(YcRxObject::desc(), parent->myParent());
  EXPECT_EQ(nullptr, imp(child)->pendingParentName());
  EXPECT_EQ(std::vector<YcRxObject*>{child}, members(imp(parent)->subClasses()));
  EXPECT_TRUE(child->isDerivedFrom(YcRxObject::desc()));
}

TEST_F(ClassTest, LinkingHappensOncePerClass) {
  YcRxClass* parent = makeClass(L"OnceParent");
  YcRxClass* child = makeClass(L"OnceChild", parent->name());
  EXPECT_EQ(nullptr, imp(parent)->subClasses()) << "no list before the first sub-class";
  ycrxBuildClassHierarchy();
  ycrxBuildClassHierarchy();
  link(child);
  EXPECT_EQ(1, occurrences(imp(parent)->subClasses(), child));
  EXPECT_EQ(1, occurrences(imp(YcRxObject::desc())->subClasses(), parent));
  EXPECT_EQ(1, imp(parent)->subClasses()->count());
}

TEST_F(ClassTest, LinkedSubClassInheritsTheParentsExtensions) {
  YcRxClass* protocol = makeClass(L"Protocol");
  YcRxClass* parent = makeClass(L"ExtParent");
  YcRxClass* child = makeClass(L"ExtChild", parent->name());
  EXPECT_EQ(nullptr, parent->addX(protocol, &mExtension));
  EXPECT_EQ(nullptr, child->queryX(protocol));
  link(child);
  EXPECT_EQ(&mExtension, child->queryX(protocol));
  EXPECT_TRUE(imp(protocol)->isProtocolClass());
}

// ---------------------------------------------------------------------------
// The doomed queue

TEST_F(ClassTest, DeleteOnlyQueuesUntilTheBatchIsDestroyed) {
  YcRxClass* first = makeClass(L"DoomA");
  YcRxClass* second = makeClass(L"DoomB");
  const std::wstring firstName = first->name();
  const int queued = YcRxClassImp::getDoomedRxClassCount();
  deleteYcRxClass(first);
  deleteYcRxClass(nullptr);
  deleteYcRxClass(second);
  ASSERT_EQ(queued + 2, YcRxClassImp::getDoomedRxClassCount());
  EXPECT_EQ(first, YcRxClassImp::getDoomedRxClass(queued));
  EXPECT_EQ(second, YcRxClassImp::getDoomedRxClass(queued + 1));
  EXPECT_EQ(first, classes()->at(firstName.c_str()));
  EXPECT_STREQ(firstName.c_str(), first->name()) << "a condemned class is still usable";

  YcRxClassImp::destroyDoomedRxClasses(false);
  EXPECT_EQ(0, YcRxClassImp::getDoomedRxClassCount());
  EXPECT_FALSE(classes()->has(firstName.c_str()));
  EXPECT_TRUE(fatalMessages().empty());
}

TEST_F(ClassTest, ClearingTheQueueForgetsWithoutDestroying) {
  YcRxClass* cls = makeClass(L"Spared");
  const std::wstring name = cls->name();
  deleteYcRxClass(cls);
  YcRxClassImp::clearDoomedRxClasses();
  EXPECT_EQ(0, YcRxClassImp::getDoomedRxClassCount());
  YcRxClassImp::destroyDoomedRxClasses(true);
  EXPECT_EQ(cls, classes()->at(name.c_str()));
  EXPECT_STREQ(name.c_str(), cls->name());
}

TEST_F(ClassTest, ChildThenParentWithChecksIsQuietAndUnhooksFromTheParent) {
  YcRxClass* parent = makeClass(L"OrdParent");
  YcRxClass* child = makeClass(L"OrdChild", parent->name());
  link(parent);
  link(child);
  const std::wstring parentName = parent->name();
  deleteYcRxClass(child);
  YcRxClassImp::destroyDoomedRxClasses(true);
  EXPECT_EQ(0, imp(parent)->subClasses()->count()) << "the child leaves its parent's list";
  deleteYcRxClass(parent);
  YcRxClassImp::destroyDoomedRxClasses(true);
  EXPECT_EQ(0, fatalCount(kWrongDeleteOrder));
  EXPECT_FALSE(classes()->has(parentName.c_str()));
  EXPECT_EQ(0, occurrences(imp(YcRxObject::desc())->subClasses(), parent));
}

TEST_F(ClassTest, ParentBeforeChildWithChecksReportsWrongOrder) {
  // The parent stays unlinked so the root never sees it.
  YcRxClass* parent = makeClass(L"EagerParent");
  YcRxClass* child = makeClass(L"LeftChild", parent->name());
  link(child);
  const std::wstring parentName = parent->name();
  deleteYcRxClass(parent);
  YcRxClassImp::destroyDoomedRxClasses(true);
  EXPECT_EQ(1, fatalCount(kWrongDeleteOrder));
  EXPECT_FALSE(classes()->has(parentName.c_str()));
  // The child's parent link is stale now: only an unchecked batch may take it.
  deleteYcRxClass(child);
  YcRxClassImp::destroyDoomedRxClasses(false);
  EXPECT_EQ(1, fatalCount(kWrongDeleteOrder));
}

TEST_F(ClassTest, ParentBeforeChildWithoutChecksIsQuiet) {
  YcRxClass* parent = makeClass(L"FreeParent");
  YcRxClass* child = makeClass(L"FreeChild", parent->name());
  link(child);
  const std::wstring parentName = parent->name();
  const std::wstring childName = child->name();
  deleteYcRxClass(parent);
  deleteYcRxClass(child);
  YcRxClassImp::destroyDoomedRxClasses(false);
  EXPECT_TRUE(fatalMessages().empty());
  EXPECT_FALSE(classes()->has(parentName.c_str()));
  EXPECT_FALSE(classes()->has(childName.c_str()));
}

TEST_F(ClassTest, CheckedBatchDoesNotLeaveChecksOnForLaterDestruction) {
  YcRxClassImp::destroyDoomedRxClasses(true);
  YcRxClass* parent = makeClass(L"Replaced");
  const std::wstring parentName = parent->name();
  YcRxClass* child = makeClass(L"Orphan", parentName.c_str());
  link(child);
  // Replacing a registered parent destroys it outside any batch: unchecked.
  newYcRxClass(parentName.c_str(), L"AcRxObject");
  EXPECT_EQ(0, fatalCount(kWrongDeleteOrder));
  deleteYcRxClass(child);
  YcRxClassImp::destroyDoomedRxClasses(false);
}

// ---------------------------------------------------------------------------
// Object context menus

TEST_F(ClassTest, ContextMenusKeepInsertionOrderAndRefuseDuplicates) {
  YcRxClassImp* cls = imp(makeClass(L"Menus"));
  YcRxObject first, second;
  int moduleA = 0, moduleB = 0;
  YcRxObject* menu = &first;
  void* module = &moduleA;

  EXPECT_EQ(0, cls->numOfObjectContextMenu());
  cls->getObjectContextMenuAt(0, menu, &module);
  EXPECT_EQ(nullptr, menu);
  EXPECT_EQ(nullptr, module);
  EXPECT_FALSE(cls->removeObjectContextMenu(&first));

  EXPECT_FALSE(cls->addObjectContextMenu(nullptr, &moduleA));
  EXPECT_TRUE(cls->addObjectContextMenu(&first, &moduleA));
  EXPECT_FALSE(cls->addObjectContextMenu(&first, &moduleB));
  EXPECT_TRUE(cls->addObjectContextMenu(&second, nullptr));
  EXPECT_EQ(2, cls->numOfObjectContextMenu());

  cls->getObjectContextMenuAt(0, menu, &module);
  EXPECT_EQ(&first, menu);
  EXPECT_EQ(&moduleA, module);
  cls->getObjectContextMenuAt(1, menu, nullptr);
  EXPECT_EQ(&second, menu);
  for (int outOfRange : {-1, 2}) {
    menu = &first;
    module = &moduleB;
    cls->getObjectContextMenuAt(outOfRange, menu, &module);
    EXPECT_EQ(nullptr, menu) << outOfRange;
    EXPECT_EQ(nullptr, module) << outOfRange;
  }

  EXPECT_TRUE(cls->removeObjectContextMenu(&first));
  EXPECT_FALSE(cls->removeObjectContextMenu(&first));
  EXPECT_FALSE(cls->removeObjectContextMenu(nullptr));
  EXPECT_EQ(1, cls->numOfObjectContextMenu());
  cls->getObjectContextMenuAt(0, menu, &module);
  EXPECT_EQ(&second, menu);
  EXPECT_EQ(nullptr, module);
}

// ---------------------------------------------------------------------------
// Classes made while a module is being loaded

class ClassModuleStampTest : public ClassTest {
protected:
  void SetUp() override {
    ClassTest::SetUp();
    mHost.install();
    mpModule = YcRxDynLoadModuleProxy::createRxModuleProxy(nullptr);
  }
  void TearDown() override {
    mHost.setModuleBeingLoaded(nullptr);
    ClassTest::TearDown();
    delete mpModule;
    mHost.uninstall();
  }

  FakeHost mHost;
  YcRxDynLoadModuleProxy* mpModule = nullptr;
};

TEST_F(ClassModuleStampTest, ClassMadeDuringALoadCarriesTheModule) {
  ASSERT_NE(nullptr, mpModule);
  mpModule->setAppInLoaded(true);
  mHost.setModuleBeingLoaded(mpModule);
  EXPECT_EQ(mpModule, imp(makeClass(L"Stamped"))->moduleProxy());
}

TEST_F(ClassModuleStampTest, NoStampUnlessTheModuleIsInItsLoad) {
  ASSERT_NE(nullptr, mpModule);
  mpModule->setAppInLoaded(false);
  mHost.setModuleBeingLoaded(mpModule);
  EXPECT_EQ(nullptr, imp(makeClass(L"NotInLoad"))->moduleProxy());

  mpModule->setAppInLoaded(true);
  mHost.setModuleBeingLoaded(nullptr);
  EXPECT_EQ(nullptr, imp(makeClass(L"NoneLoading"))->moduleProxy());

  mHost.setModuleBeingLoaded(mpModule);
  mHost.withApplication = false;
  EXPECT_EQ(nullptr, imp(makeClass(L"NoApplication"))->moduleProxy());
}

}  // namespace
