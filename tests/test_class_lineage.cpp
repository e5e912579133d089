// Type checks answered through each descriptor's line of ancestors against
// the plain walk up the parent links they stand in for: random class trees
// registered in random order (children before parents, parents that never
// come), linked, and cut apart by retiring classes; after every step the
// whole isDerivedFrom matrix, isKindOf and cast must agree with the walk.
// Parents named at random also form loops (A names B, B names A): both
// answers must stay bounded there too.
#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "KmRxTestSupport.h"
#include "core/KmRxClassLineage.h"
#include "core/KmRxContext.h"

namespace {

// Whether the parents of cls run out (they do unless they loop).
bool endsAtTheTop(const YcRxClass* cls) {
  for (int guard = 0; cls; cls = cls->myParent())
    if (++guard > 10000) return false;
  return true;
}

bool walkDerives(const YcRxClass* cls, const YcRxClass* base) {
  if (!base) return false;
  for (int guard = 0; cls && guard < 10000; cls = cls->myParent(), ++guard)
    if (cls == base) return true;
  return false;
}

class ClassLineage : public RuntimeTest {
protected:
  void TearDown() override {
    for (auto it = mNames.rbegin(); it != mNames.rend(); ++it)
      if (YcRxClass* cls = find(*it)) deleteYcRxClass(cls);
    YcRxClassImp::destroyDoomedRxClasses(true);
    RuntimeTest::TearDown();
  }

  static YcRxClass* find(const std::wstring& name) {
    return YcRxClass::cast(ycrxInternalGetClassDic()->at(name.c_str()));
  }

  // Every pair among the live classes of this test and a few runtime classes.
  void expectMatrixAgrees(const char* when) {
    std::vector<YcRxClass*> all = {YcRxObject::desc(), YcRxDictionary::desc(), YcRxClassImp::desc()};
    for (const std::wstring& name : mNames)
      if (YcRxClass* cls = find(name)) all.push_back(cls);
    for (YcRxClass* a : all)
      for (YcRxClass* b : all) {
        ASSERT_EQ(walkDerives(a, b), a->isDerivedFrom(b)) << when << ": " << a->name() << " from " << b->name();
        // The line itself answers, not the walk it falls back on, wherever the parents end.
        if (endsAtTheTop(a) && endsAtTheTop(b)) {
          ASSERT_EQ(walkDerives(a, b) ? 1 : 0, kmrxDerivesByLineage(a, b)) << when << ": " << a->name();
        }
        // A descriptor is an object too, of the descriptor class.
        ASSERT_EQ(walkDerives(a->isA(), b), a->isKindOf(b)) << when << ": " << a->name() << " of kind " << b->name();
        ASSERT_EQ(walkDerives(a->isA(), b), ycrxIsKindOf(a, b));
      }
    for (YcRxClass* a : all) ASSERT_FALSE(a->isDerivedFrom(nullptr));
  }

  std::vector<std::wstring> mNames;
};

}  // namespace

TEST_F(ClassLineage, AgreesWithTheParentWalkOverRandomTreesAsTheyAreBuiltAndCut) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::size_t first = mNames.size();
    const int count = 40;
    for (int i = 0; i < count; ++i) mNames.push_back(uniqueClassName(L"Lineage"));
    // Parents: the root, an earlier or a later class of the round, or a name nobody registers.
    std::vector<std::wstring> parents;
    for (int i = 0; i < count; ++i) {
      const unsigned int pick = random() % 10;
      if (pick == 0) parents.push_back(L"AcRxObject");
      else if (pick == 1) parents.push_back(L"LineageNeverRegistered");
      else parents.push_back(mNames[first + random() % count]);
    }
    std::vector<int> order(count);
    for (int i = 0; i < count; ++i) order[i] = i;
    std::shuffle(order.begin(), order.end(), random);
    for (int n = 0; n < count; ++n) {
      const int i = order[n];
      if (parents[i] == mNames[first + i]) parents[i] = L"AcRxObject";  // not its own parent
      newYcRxClass(mNames[first + i].c_str(), parents[i].c_str());
      if (random() % 8 == 0) ycrxBuildClassHierarchy();
      if (n % 5 == 4) expectMatrixAgrees("registering");
    }
    ycrxBuildClassHierarchy();
    expectMatrixAgrees("linked");
    // Retire a few, children and parents alike; with the checks a session
    // runs, their sub-classes lose their parent.
    for (int n = 0; n < 8; ++n)
      if (YcRxClass* cls = find(mNames[first + random() % count])) deleteYcRxClass(cls);
    YcRxClassImp::destroyDoomedRxClasses(true);
    expectMatrixAgrees("after retiring");
    ycrxBuildClassHierarchy();
    expectMatrixAgrees("linked again");
    clearFatalMessages();
  }
}

namespace {

// One random scenario of registrations and builds under its own names; what
// each build did, as text: every class's parent and every parent's
// sub-classes in order, and the reports of each build.
std::wstring runScenario(std::vector<std::wstring>& names, unsigned int seed, bool walkWhole,
                         const std::function<std::size_t()>& reports) {
  std::mt19937 random(seed);
  const std::wstring stem = uniqueClassName(L"Tree");
  const int count = 30;
  std::vector<std::wstring> mine;
  for (int i = 0; i < count; ++i) mine.push_back(stem + L"_" + std::to_wstring(i));
  names.insert(names.end(), mine.begin(), mine.end());
  std::wstring out;
  auto describe = [&] {
    for (const std::wstring& name : mine) {
      YcRxClass* cls = YcRxClass::cast(ycrxInternalGetClassDic()->at(name.c_str()));
      if (!cls) continue;
      const YcRxClass* parent = cls->myParent();
      out += name.substr(stem.size()) + L"<" + (parent ? std::wstring(parent->name()).substr(0, 4) : L"-");
      if (YcRxLinkedList* subs = YcRxClassImp::getImpl(cls)->subClasses())
        for (YcRxLinkedNode* node = subs->frontNode(); node; node = node->next())
          out += L"," + std::wstring(static_cast<YcRxClass*>(node->object())->name()).substr(stem.size());
      out += L";";
    }
  };
  for (int i = 0; i < count; ++i) {
    const unsigned int pick = random() % 6;
    const std::wstring parent = pick == 0 ? L"AcRxObject" : pick == 1 ? L"TreeNeverRegistered" : mine[random() % count];
    newYcRxClass(mine[i].c_str(), parent == mine[i] ? L"AcRxObject" : parent.c_str());
    if (random() % 4 == 0) {
      const std::size_t before = reports();
      if (walkWhole) kmrxContext()->pendingComplete = false;
      ycrxBuildClassHierarchy();
      out += L"build:" + std::to_wstring(reports() - before) + L";";
      describe();
    }
  }
  // Gone again, so the next run meets the same classes waiting.
  for (auto it = mine.rbegin(); it != mine.rend(); ++it)
    if (YcRxClass* cls = YcRxClass::cast(ycrxInternalGetClassDic()->at(it->c_str()))) deleteYcRxClass(cls);
  YcRxClassImp::destroyDoomedRxClasses(true);
  return out;
}

}  // namespace

TEST_F(ClassLineage, TheTreeBuildThatVisitsOnlyWaitingClassesDoesWhatTheWholeWalkDoes) {
  for (unsigned int seed = 1; seed <= 8; ++seed) {
    SCOPED_TRACE(seed);
    const auto reports = [this] { return fatalMessages().size(); };
    const std::wstring indexed = runScenario(mNames, seed, false, reports);
    const std::wstring whole = runScenario(mNames, seed, true, reports);
    EXPECT_EQ(whole, indexed);
  }
  clearFatalMessages();
}

TEST_F(ClassLineage, RetiredClassesLeaveTheirParentsListWhateverItsReadersDidToIt) {
  const std::wstring parentName = uniqueClassName(L"Parent");
  mNames.push_back(parentName);
  YcRxClass* parent = newYcRxClass(parentName.c_str(), L"AcRxObject");
  std::vector<YcRxClass*> children;
  for (int i = 0; i < 6; ++i) {
    mNames.push_back(uniqueClassName(L"Child"));
    children.push_back(newYcRxClass(mNames.back().c_str(), parentName.c_str()));
  }
  ycrxBuildClassHierarchy();
  YcRxLinkedList* list = YcRxClassImp::getImpl(parent)->subClasses();
  ASSERT_EQ(6, list->count());
  // A reader takes one out, puts another in another's place, and empties a node's slot.
  EXPECT_EQ(children[1], list->removeAt(children[1]));
  YcRxObject stranger;
  std::unique_ptr<YcRxIterator> at(list->find(children[2]));
  EXPECT_EQ(children[2], list->setAt(at.get(), &stranger));
  list->addTail(children[1]);  // back, at the end
  // Retired in an order that is neither front nor back first.
  for (int i : {3, 1, 5, 0, 2, 4}) deleteYcRxClass(children[i]);
  YcRxClassImp::destroyDoomedRxClasses(true);
  ASSERT_EQ(1, list->count()) << "only the stranger is left";
  EXPECT_EQ(&stranger, list->front());
  list->removeAll();
  clearFatalMessages();
}
