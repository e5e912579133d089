// Root object and class descriptors: identity, kind, cloning, ordering, registration
// and its duplicate rule, the class tree, the doomed queue, context menus, module stamps.
#include <algorithm>

#include "FakeHost.h"
#include "KmRxTestSupport.h"

// Test classes live outside the anonymous namespace: their macro-made members come as a set.
class ClassTestClonable : public YcRxObject {  // through its factory; copyFrom may refuse
  YCRX_DECLARE_MEMBERS(ClassTestClonable);
  Ycad::ErrorStatus copyFrom(const YcRxObject* other) override {
    const ClassTestClonable* src = ClassTestClonable::cast(other);
    if (!src || src->refuseCopy) return Ycad::eWrongObjectClass;
    value = src->value;
    return Ycad::eOk;
  }
  int value = 0;
  bool refuseCopy = false;
};
YCRX_DEFINE_MEMBERS_WITH_CONS(ClassTestClonable, L"ClassTestClonable", L"AcRxObject")

class ClassTestNoFactory : public YcRxObject {  // also gets its registration replaced
  YCRX_DECLARE_MEMBERS(ClassTestNoFactory);
};
YCRX_DEFINE_MEMBERS(ClassTestNoFactory, L"ClassTestNoFactory", L"AcRxObject")

class ClassTestNeverRegistered : public YcRxObject {
  YCRX_DECLARE_MEMBERS(ClassTestNeverRegistered);
};
YCRX_DEFINE_MEMBERS(ClassTestNeverRegistered, L"ClassTestNeverRegistered", L"AcRxObject")

namespace {

const wchar_t* const kWrongRegisterOrder = L"Regist rx class with wrong order!!!";
const wchar_t* const kWrongDeleteOrder = L"Delete rx class in wrong order!!!";

YcRxClassImp* imp(YcRxClass* cls) { return YcRxClassImp::getImpl(cls); }

// A class's sub-class list by address (entries may be stale).
std::vector<YcRxObject*> subClassesOf(YcRxClass* cls) {
  std::vector<YcRxObject*> out;
  const YcRxLinkedList* list = imp(cls)->subClasses();
  for (const YcRxLinkedNode* n = list ? list->frontNode() : nullptr; n; n = n->next())
    out.push_back(n->object());
  return out;
}

int rootLinks(YcRxClass* cls) {
  const std::vector<YcRxObject*> all = subClassesOf(YcRxObject::desc());
  return static_cast<int>(std::count(all.begin(), all.end(), cls));
}

std::vector<int> versionsAndFlags(YcRxClass* cls) {
  int dwg = -1, maint = -1;
  cls->getClassVersion(dwg, maint);
  return {dwg, maint, cls->proxyFlags(), static_cast<int>(imp(cls)->featureFlags())};
}

void appNameCallback(const YcRxClass*, wchar_t*&, int) {}

class ClassTest : public RuntimeTest {
protected:
  void TearDown() override { destroyMine(); RuntimeTest::TearDown(); }
  // Newest first: each test names a parent before its children.
  void destroyMine() {
    for (auto it = mNames.rbegin(); it != mNames.rend(); ++it)
      if (YcRxClass* cls = YcRxClass::cast(classes()->at(it->c_str()))) deleteYcRxClass(cls);
    YcRxClassImp::destroyDoomedRxClasses(true);
    mNames.clear();
  }

  static YcRxDictionary* classes() { return ycrxInternalGetClassDic(); }
  const wchar_t* fresh(const wchar_t* stem) {
    mNames.push_back(uniqueClassName(stem));
    return mNames.back().c_str();
  }
  YcRxClass* makeClass(const wchar_t* stem, const wchar_t* parent = L"AcRxObject", int flags = 0) {
    return newYcRxClass(fresh(stem), parent, flags);
  }
  static void link(YcRxClass* cls) { YcRxClassImp::initializeHierarchy(cls, classes()); }

  std::vector<std::wstring> mNames;
};

TEST_F(ClassTest, PlainObjectsCompareByIdentityAndNothingIsOfAnUnregisteredKind) {
  YcRxClass* root = YcRxObject::desc();
  ASSERT_NE(nullptr, root);
  EXPECT_STREQ(L"AcRxObject", root->name());
  EXPECT_EQ(nullptr, root->myParent());
  YcRxObject a, b;
  EXPECT_EQ(root, a.isA());
  EXPECT_EQ(1, static_cast<int>(a.copyFrom(&b)));
  EXPECT_TRUE(a.isEqualTo(&a));
  EXPECT_FALSE(a.isEqualTo(&b) || a.isEqualTo(nullptr));
  for (const YcRxObject* other : std::vector<const YcRxObject*>{&a, &b, nullptr})
    EXPECT_EQ(YcRx::kNotOrderable, a.comparedTo(other));
  EXPECT_EQ(nullptr, a.clone());

  YcRxString text(L"t", false);
  EXPECT_EQ(nullptr, YcRxClass::cast(&text));
  EXPECT_TRUE(text.isKindOf(root) && root->isKindOf(YcRxClass::desc()));
  EXPECT_FALSE(text.isKindOf(YcRxClass::desc()) || text.isKindOf(nullptr));
  ClassTestNeverRegistered obj;
  EXPECT_EQ(nullptr, ClassTestNeverRegistered::desc());
  EXPECT_FALSE(obj.isKindOf(root)) << "without a descriptor even the root kind is denied";
  EXPECT_EQ(nullptr, obj.clone());
}

TEST_F(ClassTest, DerivationFollowsParentLinksAndDescriptorsOrderByName) {
  YcRxClass* a = makeClass(L"DerA");
  YcRxClass* b = makeClass(L"DerB", a->name());
  YcRxClass* c = makeClass(L"DerC", b->name());
  EXPECT_FALSE(c->isDerivedFrom(a)) << "not linked yet";
  for (YcRxClass* cls : {a, b, c}) link(cls);
  EXPECT_TRUE(c->isDerivedFrom(c) && c->isDerivedFrom(a) && c->isDerivedFrom(YcRxObject::desc()));
  EXPECT_FALSE(a->isDerivedFrom(c) || c->isDerivedFrom(nullptr) ||
               YcRxObject::desc()->isDerivedFrom(a));

  const YcRxString sameText(a->name(), false);
  EXPECT_EQ(YcRx::kEqual, a->comparedTo(a));
  EXPECT_EQ(YcRx::kLessThan, a->comparedTo(b));
  EXPECT_EQ(YcRx::kGreaterThan, b->comparedTo(a));
  EXPECT_EQ(YcRx::kNotOrderable, a->comparedTo(nullptr));
  EXPECT_EQ(YcRx::kNotOrderable, a->comparedTo(&sameText)) << "same text, but not a descriptor";
}

TEST_F(ClassTest, CloneGoesThroughTheFactoryAndCopyFrom) {
  ClassTestClonable::rxInit();
  ClassTestClonable original;
  original.value = 42;
  YcRxObject* copy = original.clone();
  ASSERT_NE(nullptr, ClassTestClonable::cast(copy));
  EXPECT_EQ(42, ClassTestClonable::cast(copy)->value);
  delete copy;
  original.refuseCopy = true;
  EXPECT_EQ(nullptr, original.clone()) << "and the half-made copy is destroyed";

  ClassTestNoFactory::rxInit();
  EXPECT_EQ(nullptr, ClassTestNoFactory::desc()->create());
  EXPECT_EQ(nullptr, ClassTestNoFactory().clone());
}

TEST_F(ClassTest, RegistrationNeedsANameAndPassesTheArgumentsInOrder) {
  const unsigned int entries = classes()->numEntries();
  EXPECT_EQ(nullptr, newYcRxClass(nullptr, L"AcRxObject"));
  EXPECT_EQ(nullptr, newYcRxClass(L"", L"AcRxObject"));
  EXPECT_EQ(entries, classes()->numEntries());

  wchar_t dxf[] = L"FULLDXF";
  YcRxClass* full = newYcRxClass(fresh(L"Full"), L"AcRxObject", 3, 7, 5, nullptr, dxf,
                                 L"FullApp", &appNameCallback);
  ASSERT_NE(nullptr, full);
  dxf[0] = L'X';  // the descriptor keeps its own copy
  EXPECT_EQ((std::vector<int>{3, 7, 5, 0}), versionsAndFlags(full));
  EXPECT_STREQ(L"FULLDXF", full->dxfName());
  EXPECT_STREQ(L"FullApp", full->appName());
  EXPECT_EQ(&appNameCallback, full->appNameCallbackPtr());

  YcRxClass* shortForm = makeClass(L"Short", L"AcRxObject", 9);
  EXPECT_EQ((std::vector<int>{0, 0, 9, 0}), versionsAndFlags(shortForm)) << "its int: proxy flags";
  int userData = 0;
  YcRxClass* feat = newYcRxClassWithFeature(fresh(L"Feat"), L"AcRxObject", 0x30u, 2);
  YcRxClass* featFull = newYcRxClassWithFeature(fresh(L"FeatFull"), L"AcRxObject", 4, 1, 6,
                                                nullptr, nullptr, nullptr, nullptr, nullptr,
                                                &userData, 0x81u);
  EXPECT_EQ((std::vector<int>{0, 0, 2, 0x30}), versionsAndFlags(feat));
  EXPECT_EQ((std::vector<int>{4, 1, 6, 0x81}), versionsAndFlags(featFull));
}

TEST_F(ClassTest, SecondRegistrationReplacesSilentlyButRxInitOverItReportsAnEmptyMessage) {
  ClassTestNoFactory::rxInit();
  YcRxClass* first = ClassTestNoFactory::desc();
  const unsigned int entries = classes()->numEntries();
  ClassTestNoFactory::rxInit();
  EXPECT_EQ(first, ClassTestNoFactory::desc()) << "rxInit twice keeps one descriptor";

  mNames.push_back(L"ClassTestNoFactory");  // no later tree build may link what stands here
  YcRxClass* intruder = newYcRxClass(L"ClassTestNoFactory", L"AcRxObject");
  EXPECT_EQ(intruder, classes()->at(L"ClassTestNoFactory"));
  EXPECT_TRUE(fatalMessages().empty());
  ClassTestNoFactory::rxInit();  // its cached descriptor was displaced
  EXPECT_EQ((std::vector<std::wstring>{L""}), fatalMessages());
  EXPECT_EQ(classes()->at(L"ClassTestNoFactory"), ClassTestNoFactory::desc());
  EXPECT_EQ(entries, classes()->numEntries());
}

TEST_F(ClassTest, ChildBeforeParentIsReportedAndALaterBuildLinksItOnce) {
  ycrxBuildClassHierarchy();  // classes other tests left pending report on every build
  const int baseline = fatalCount(kWrongRegisterOrder);
  clearFatalMessages();
  const std::wstring parentName = fresh(L"LateParent");
  YcRxClass* child = makeClass(L"EarlyChild", parentName.c_str());
  ycrxBuildClassHierarchy();
  EXPECT_EQ(baseline + 1, fatalCount(kWrongRegisterOrder));
  EXPECT_STREQ(parentName.c_str(), imp(child)->pendingParentName());

  clearFatalMessages();
  YcRxClass* parent = newYcRxClass(parentName.c_str(), L"AcRxObject");
  ycrxBuildClassHierarchy();
  ycrxBuildClassHierarchy();
  link(child);
  EXPECT_EQ(baseline, fatalCount(kWrongRegisterOrder));
  EXPECT_EQ(parent, child->myParent());
  EXPECT_EQ(std::vector<YcRxObject*>{child}, subClassesOf(parent));
  EXPECT_EQ(1, rootLinks(parent));
}

TEST_F(ClassTest, DeleteOnlyQueuesForABatchAndOnlyACheckedBatchReportsWrongOrder) {
  YcRxClass* first = makeClass(L"DoomA");
  YcRxClass* second = makeClass(L"DoomB");
  const std::wstring firstName = first->name();
  const int queued = YcRxClassImp::getDoomedRxClassCount();
  for (YcRxClass* cls : {first, static_cast<YcRxClass*>(nullptr), second}) deleteYcRxClass(cls);
  ASSERT_EQ(queued + 2, YcRxClassImp::getDoomedRxClassCount());
  EXPECT_EQ(second, YcRxClassImp::getDoomedRxClass(queued + 1));
  EXPECT_STREQ(firstName.c_str(), first->name()) << "a condemned class is still usable";
  YcRxClassImp::clearDoomedRxClasses();
  YcRxClassImp::destroyDoomedRxClasses(true);
  EXPECT_EQ(first, classes()->at(firstName.c_str()));

  // Child before parent is quiet, the eager parent reported; only OrdParent meets the root.
  YcRxClass* parent = makeClass(L"OrdParent");
  YcRxClass* child = makeClass(L"OrdChild", parent->name());
  YcRxClass* eager = makeClass(L"EagerParent");
  YcRxClass* left = makeClass(L"LeftChild", eager->name());
  YcRxClass* freeParent = makeClass(L"FreeParent");
  YcRxClass* freeChild = makeClass(L"FreeChild", freeParent->name());
  const std::wstring replacedName = makeClass(L"Replaced")->name();
  YcRxClass* orphan = makeClass(L"Orphan", replacedName.c_str());
  for (YcRxClass* cls : {parent, child, left, freeChild, orphan}) link(cls);
  for (YcRxClass* cls : {child, parent, eager}) deleteYcRxClass(cls);
  YcRxClassImp::destroyDoomedRxClasses(true);
  EXPECT_EQ((std::vector<std::wstring>{kWrongDeleteOrder}), fatalMessages());
  EXPECT_EQ(0, rootLinks(parent));
  // A replaced parent is kept aside, so the orphan's link stays valid.
  newYcRxClass(replacedName.c_str(), L"AcRxObject");
  // Stale parent links may only go in an unchecked batch, which reports nothing.
  for (YcRxClass* cls : {first, freeParent, freeChild, left, orphan}) deleteYcRxClass(cls);
  YcRxClassImp::destroyDoomedRxClasses(false);
  EXPECT_EQ(1u, fatalMessages().size());
  EXPECT_EQ(0, YcRxClassImp::getDoomedRxClassCount());
  EXPECT_FALSE(classes()->has(firstName.c_str()));
}

TEST_F(ClassTest, ContextMenusKeepInsertionOrderAndRefuseDuplicates) {
  YcRxClassImp* cls = imp(makeClass(L"Menus"));
  YcRxObject first, second;
  int moduleA = 0;
  EXPECT_FALSE(cls->removeObjectContextMenu(&first) || cls->addObjectContextMenu(nullptr, nullptr));
  EXPECT_TRUE(cls->addObjectContextMenu(&first, &moduleA));
  EXPECT_FALSE(cls->addObjectContextMenu(&first, nullptr));
  EXPECT_TRUE(cls->addObjectContextMenu(&second, nullptr));
  for (int i : {-1, 0, 1, 2}) {
    YcRxObject* menu = &first;
    void* module = &moduleA;
    cls->getObjectContextMenuAt(i, menu, &module);
    EXPECT_EQ(i == 0 ? &first : i == 1 ? &second : nullptr, menu) << i;
    EXPECT_EQ(i == 0 ? &moduleA : nullptr, module) << i;
  }
  EXPECT_TRUE(cls->removeObjectContextMenu(&first));
  EXPECT_FALSE(cls->removeObjectContextMenu(&first) || cls->removeObjectContextMenu(nullptr));
  YcRxObject* menu = nullptr;
  cls->getObjectContextMenuAt(0, menu, nullptr);
  EXPECT_EQ(&second, menu) << "the rest moves up";
}

TEST_F(ClassTest, OnlyAClassMadeWhileAModuleIsInItsLoadCarriesTheModule) {
  FakeHost host;
  host.install();
  YcRxDynLoadModuleProxy* module = YcRxDynLoadModuleProxy::createRxModuleProxy(nullptr);
  host.setModuleBeingLoaded(module);
  module->setAppInLoaded(false);
  EXPECT_EQ(nullptr, imp(makeClass(L"NotInLoad"))->moduleProxy());
  module->setAppInLoaded(true);
  EXPECT_EQ(module, imp(makeClass(L"Stamped"))->moduleProxy());
  host.withApplication = false;
  EXPECT_EQ(nullptr, imp(makeClass(L"NoApplication"))->moduleProxy());
  destroyMine();  // the classes go while their module still stands
  delete module;
}

}  // namespace
