// Dictionary: keys and ids, value ownership, filters, renaming, iteration and walkers.
#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

class Probe;

std::set<Probe*>& liveProbes() {
  static std::set<Probe*> live;
  return live;
}
std::vector<std::wstring>& destroyedTags() {
  static std::vector<std::wstring> tags;
  return tags;
}

// A value that logs its destruction; cls stands in for its run-time class.
class Probe : public YcRxObject {
public:
  explicit Probe(std::wstring tag, YcRxClass* cls = nullptr) : mTag(std::move(tag)), mpClass(cls) {
    liveProbes().insert(this);
  }
  ~Probe() override {
    liveProbes().erase(this);
    destroyedTags().push_back(mTag);
  }
  YcRxClass* isA() const override { return mpClass ? mpClass : YcRxObject::isA(); }
  const std::wstring& tag() const { return mTag; }

private:
  std::wstring mTag;
  YcRxClass* mpClass;
};

using DictPtr = std::unique_ptr<YcRxDictionary>;

// Filter classes: Base <- Derived, Unrelated under the root, Orphan with no parent.
struct FilterClasses {
  YcRxClass* base;
  YcRxClass* derived;
  YcRxClass* unrelated;
  YcRxClass* orphan;
  FilterClasses() {
    const std::wstring baseName = uniqueClassName(L"DictFilterBase");
    base = newYcRxClass(baseName.c_str(), L"AcRxObject");
    derived = newYcRxClass(uniqueClassName(L"DictFilterDerived").c_str(), baseName.c_str());
    unrelated = newYcRxClass(uniqueClassName(L"DictFilterUnrelated").c_str(), L"AcRxObject");
    orphan = newYcRxClass(uniqueClassName(L"DictFilterOrphan").c_str(), nullptr);
    ycrxBuildClassHierarchy();
  }
  ~FilterClasses() {
    // Children first so nothing is left hanging under its parent.
    for (YcRxClass* cls : {derived, orphan, unrelated, base}) deleteYcRxClass(cls);
    YcRxClassImp::destroyDoomedRxClasses(true);
  }
};

struct Flavour {
  bool sorted;
  const char* name;
};
const Flavour kBothFlavours[] = {{false, "unsorted"}, {true, "sorted"}};

class DictionaryTest : public RuntimeTest {
protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    destroyedTags().clear();
  }
  void TearDown() override {
    // Values the caller still owns (non-deleting dictionaries, handed-back values).
    const std::set<Probe*> left = liveProbes();
    for (Probe* p : left) delete p;
    RuntimeTest::TearDown();
  }

  static DictPtr make(bool deletes, bool sorted, bool ignoreCase = false,
                      const YcRxClass* filter = nullptr, unsigned int length = 0) {
    return DictPtr(
        YcRxDictionaryImp::createDictionary(length, deletes, sorted, ignoreCase, filter));
  }
  static YcRxDictionaryImp& imp(const DictPtr& d) {
    return *static_cast<YcRxDictionaryImp*>(d.get());
  }
  static Probe* probe(const wchar_t* tag, YcRxClass* cls = nullptr) { return new Probe(tag, cls); }
  static bool destroyed(const wchar_t* tag) {
    const auto& d = destroyedTags();
    return std::count(d.begin(), d.end(), std::wstring(tag)) == 1;
  }
  static unsigned int put(YcRxDictionary& d, const wchar_t* key, YcRxObject* value) {
    unsigned int id = 12345;
    EXPECT_EQ(nullptr, d.atPut(key, value, id)) << "new key " << key;
    return id;
  }
  // "id:key" for every entry the iterator visits, space separated.
  static std::wstring listing(YcRxDictionary& d, YcRx::DictIterType type) {
    std::unique_ptr<YcRxDictionaryIterator> it(d.newIterator(type));
    std::wstring out;
    for (; !it->done(); it->next()) {
      EXPECT_EQ(d.at(it->id()), it->object());
      if (!out.empty()) out += L' ';
      out += std::to_wstring(it->id()) + L":" + (it->key() ? it->key() : L"<null>");
    }
    return out;
  }
};

TEST_F(DictionaryTest, KeysMatchUnderTheDictionaryCaseRule) {
  for (const Flavour& f : kBothFlavours) {
    SCOPED_TRACE(f.name);
    destroyedTags().clear();
    DictPtr loose = make(true, f.sorted, true);
    DictPtr strict = make(true, f.sorted, false);
    EXPECT_FALSE(loose->isCaseSensitive());
    EXPECT_TRUE(strict->isCaseSensitive());
    EXPECT_EQ(f.sorted, loose->isSorted());

    Probe* a = probe(L"a");
    EXPECT_EQ(1u, put(*loose, L"Alpha", a));
    EXPECT_EQ(a, loose->at(L"ALPHA"));
    EXPECT_EQ(1u, loose->idAt(L"alpha"));
    EXPECT_STREQ(L"Alpha", loose->keyAt(1u));
    // Same key in another case replaces the value; the stored key text stays.
    Probe* a2 = probe(L"a2");
    unsigned int id = 0;
    EXPECT_EQ(nullptr, loose->atPut(L"aLPHA", a2, id));
    EXPECT_EQ(1u, loose->numEntries());
    EXPECT_STREQ(L"Alpha", loose->keyAt(1u));
    EXPECT_TRUE(destroyed(L"a"));

    EXPECT_EQ(1u, put(*strict, L"Alpha", probe(L"s1")));
    EXPECT_EQ(nullptr, strict->at(L"ALPHA"));
    EXPECT_FALSE(strict->has(L"alpha"));
    EXPECT_EQ(0u, strict->idAt(L"alpha"));
    EXPECT_EQ(2u, put(*strict, L"ALPHA", probe(L"s2")));
    EXPECT_EQ(2u, strict->numEntries());

    // Empty and null keys neither store nor report an id.
    id = 77;
    EXPECT_EQ(nullptr, strict->atPut(L"", a2, id));
    EXPECT_EQ(nullptr, strict->atPut(nullptr, a2, id));
    EXPECT_EQ(77u, id);
    EXPECT_EQ(nullptr, strict->at(L""));
    EXPECT_EQ(2u, strict->numEntries());
  }
}

TEST_F(DictionaryTest, FreedIdsAreReusedLowestFirstAndOnlyUsedSlotsCount) {
  for (const Flavour& f : kBothFlavours) {
    SCOPED_TRACE(f.name);
    DictPtr d = make(true, f.sorted);
    for (const wchar_t* k : {L"a", L"b", L"c", L"d"}) put(*d, k, probe(k));
    EXPECT_EQ(nullptr, d->remove(L"c"));
    EXPECT_EQ(nullptr, d->remove(2u));
    EXPECT_EQ(2u, d->numEntries());
    EXPECT_EQ(4, imp(d).items().length());  // removal leaves the slots in place
    EXPECT_FALSE(d->has(2u));
    EXPECT_EQ(nullptr, d->at(L"b"));
    EXPECT_EQ(2u, put(*d, L"e", probe(L"e")));
    EXPECT_EQ(3u, put(*d, L"f", probe(L"f")));
    EXPECT_EQ(5u, put(*d, L"g", probe(L"g")));
    EXPECT_EQ(5u, d->numEntries());
    EXPECT_EQ(L"1:a 2:e 3:f 4:d 5:g", listing(*d, YcRx::kDictIdOrder));
  }
}

TEST_F(DictionaryTest, PutOfExistingKeyReportsIndexAndDeletesOldValueEvenWhenNotOwning) {
  DictPtr d = make(false, false);
  put(*d, L"a", probe(L"a"));
  put(*d, L"b", probe(L"b"));
  Probe* b2 = probe(L"b2");
  unsigned int id = 0;
  EXPECT_EQ(nullptr, d->atPut(L"b", b2, id));
  EXPECT_EQ(1u, id);  // the array index, not the id 2
  EXPECT_TRUE(destroyed(L"b"));
  EXPECT_EQ(b2, d->at(2u));
  // Putting the stored value again keeps it alive.
  EXPECT_EQ(nullptr, d->atPut(L"b", b2, id));
  EXPECT_FALSE(destroyed(L"b2"));
  // A null value replaces too, and the old one still goes.
  EXPECT_EQ(nullptr, d->atPut(L"b", nullptr, id));
  EXPECT_TRUE(destroyed(L"b2"));
  EXPECT_TRUE(d->has(L"b"));
  EXPECT_EQ(2u, d->numEntries());
}

TEST_F(DictionaryTest, PutByIdHandsBackOldValueOnlyWhenNotOwning) {
  DictPtr keeping = make(false, true);
  Probe* k1 = probe(L"k1");
  put(*keeping, L"k", k1);
  Probe* k2 = probe(L"k2");
  EXPECT_EQ(k1, keeping->atPut(1u, k2));
  EXPECT_FALSE(destroyed(L"k1"));
  EXPECT_EQ(k2, keeping->at(L"k"));
  EXPECT_EQ(nullptr, keeping->atPut(1u, k2));

  DictPtr owning = make(true, true);
  put(*owning, L"o", probe(L"o1"));
  Probe* o2 = probe(L"o2");
  EXPECT_EQ(nullptr, owning->atPut(1u, o2));
  EXPECT_TRUE(destroyed(L"o1"));
  EXPECT_EQ(o2, owning->at(L"o"));
  EXPECT_TRUE(fatalMessages().empty());
}

TEST_F(DictionaryTest, PutByInvalidIdReportsFatalErrorAndChangesNothing) {
  DictPtr d = make(true, false);
  put(*d, L"a", probe(L"a"));
  put(*d, L"b", probe(L"b"));
  d->remove(2u);
  Probe* stray = probe(L"stray");
  EXPECT_EQ(nullptr, d->atPut(0u, stray));
  EXPECT_EQ(nullptr, d->atPut(2u, stray));  // freed
  EXPECT_EQ(nullptr, d->atPut(9u, stray));  // never used
  EXPECT_EQ(3, fatalCount(L"YcRxDictionary::atPut - Invalid id"));
  EXPECT_EQ(3u, fatalMessages().size());
  EXPECT_FALSE(destroyed(L"stray"));
  EXPECT_EQ(1u, d->numEntries());
}

TEST_F(DictionaryTest, KeyAndIdPutExtendsArrayWithFreeSlots) {
  for (const Flavour& f : kBothFlavours) {
    SCOPED_TRACE(f.name);
    DictPtr d = make(true, f.sorted);
    Probe* ten = probe(L"ten");
    EXPECT_TRUE(d->atKeyAndIdPut(L"ten", 10u, ten));
    EXPECT_EQ(ten, d->at(10u));
    EXPECT_EQ(ten, d->at(L"ten"));
    EXPECT_EQ(10u, d->idAt(L"ten"));
    EXPECT_EQ(1u, d->numEntries());
    EXPECT_FALSE(d->has(9u));
    EXPECT_EQ(1u, put(*d, L"x", probe(L"x")));

    Probe* spare = probe(L"spare");
    EXPECT_FALSE(d->atKeyAndIdPut(L"other", 10u, spare));  // id taken
    EXPECT_FALSE(d->atKeyAndIdPut(L"", 4u, spare));
    EXPECT_FALSE(d->atKeyAndIdPut(L"nothing", 4u, nullptr));
    EXPECT_FALSE(d->has(4u));
    EXPECT_FALSE(destroyed(L"spare"));  // caller still owns it
    EXPECT_EQ(L"1:x 10:ten", listing(*d, YcRx::kDictIdOrder));
  }
}

TEST_F(DictionaryTest, FilterAcceptsDerivedValuesAndHandsBackUnrelatedOnes) {
  FilterClasses cls;
  clearFatalMessages();  // the tree build may complain about other suites' classes
  DictPtr d = make(true, true, false, cls.base);
  Probe* good = probe(L"good", cls.derived);
  Probe* bad = probe(L"bad", cls.unrelated);
  EXPECT_EQ(nullptr, d->atPut(L"good", good));
  EXPECT_EQ(bad, d->atPut(L"bad", bad));
  EXPECT_FALSE(d->has(L"bad"));
  EXPECT_EQ(bad, d->atPut(1u, bad));
  EXPECT_EQ(good, d->at(1u));
  EXPECT_FALSE(d->atKeyAndIdPut(L"bad", 5u, bad));
  EXPECT_EQ(1u, d->numEntries());
  EXPECT_FALSE(destroyed(L"bad"));
  EXPECT_TRUE(fatalMessages().empty());
}

TEST_F(DictionaryTest, ParentlessValueSlipsPastFilterOnlyWhenPutByKey) {
  FilterClasses cls;
  ASSERT_EQ(nullptr, cls.orphan->myParent());
  DictPtr d = make(false, false, false, cls.base);
  Probe* first = probe(L"first", cls.derived);
  put(*d, L"k", first);
  Probe* orphan = probe(L"orphan", cls.orphan);
  EXPECT_EQ(orphan, d->atPut(1u, orphan));
  EXPECT_EQ(first, d->at(1u));
  EXPECT_FALSE(d->atKeyAndIdPut(L"o", 3u, orphan));
  EXPECT_EQ(2u, put(*d, L"o", orphan));
  EXPECT_EQ(orphan, d->at(L"o"));
}

TEST_F(DictionaryTest, ResetKeyRenamesEntryKeepingItsIdAndValue) {
  for (const Flavour& f : kBothFlavours) {
    SCOPED_TRACE(f.name);
    destroyedTags().clear();
    DictPtr d = make(true, f.sorted, true);
    Probe* a = probe(L"a");
    put(*d, L"a", a);
    put(*d, L"b", probe(L"b"));
    EXPECT_TRUE(d->resetKey(L"A", L"zed"));
    EXPECT_FALSE(d->has(L"a"));
    EXPECT_EQ(a, d->at(L"ZED"));
    EXPECT_EQ(1u, d->idAt(L"zed"));
    EXPECT_TRUE(d->resetKey(2u, L"Middle"));
    EXPECT_STREQ(L"Middle", d->keyAt(2u));
    EXPECT_EQ(2u, d->idAt(L"middle"));
    EXPECT_FALSE(d->has(L"b"));
    if (f.sorted) {
      EXPECT_EQ(L"2:Middle 1:zed", listing(*d, YcRx::kDictKeyOrder));
    }

    EXPECT_FALSE(d->resetKey(L"missing", L"x"));
    EXPECT_FALSE(d->resetKey(L"zed", L""));
    EXPECT_FALSE(d->resetKey(nullptr, L"x"));
    EXPECT_FALSE(d->resetKey(7u, L"x"));
    EXPECT_EQ(2u, d->numEntries());
    EXPECT_EQ(0u, destroyedTags().size());

    // By id the new text is not checked: null becomes an empty key.
    EXPECT_TRUE(d->resetKey(1u, nullptr));
    ASSERT_NE(nullptr, d->keyAt(1u));
    EXPECT_STREQ(L"", d->keyAt(1u));
    EXPECT_EQ(a, d->at(1u));
  }
}

TEST_F(DictionaryTest, RenamingOntoUsedKeyInSortedDictionaryStrandsTheEntry) {
  DictPtr d = make(false, true);
  Probe* a = probe(L"a");
  Probe* b = probe(L"b");
  put(*d, L"a", a);
  put(*d, L"b", b);
  EXPECT_TRUE(d->resetKey(L"b", L"a"));
  EXPECT_EQ(a, d->at(L"a"));  // the key index keeps the earlier entry
  EXPECT_EQ(1u, d->idAt(L"a"));
  EXPECT_FALSE(d->has(L"b"));
  EXPECT_EQ(b, d->at(2u));
  EXPECT_STREQ(L"a", d->keyAt(2u));
  EXPECT_EQ(L"1:a", listing(*d, YcRx::kDictKeyOrder));
  EXPECT_EQ(L"1:a 2:a", listing(*d, YcRx::kDictIdOrder));
}

TEST_F(DictionaryTest, RemoveHandsValueBackUnlessDictionaryOwnsIt) {
  for (const Flavour& f : kBothFlavours) {
    SCOPED_TRACE(f.name);
    destroyedTags().clear();
    DictPtr keeping = make(false, f.sorted);
    Probe* a = probe(L"a");
    Probe* b = probe(L"b");
    put(*keeping, L"a", a);
    put(*keeping, L"b", b);
    EXPECT_EQ(a, keeping->remove(L"a"));
    EXPECT_EQ(b, keeping->remove(2u));
    EXPECT_EQ(nullptr, keeping->remove(L"a"));
    EXPECT_EQ(nullptr, keeping->remove(2u));
    EXPECT_EQ(nullptr, keeping->remove(0u));
    EXPECT_EQ(nullptr, keeping->at(L"b"));
    EXPECT_EQ(0u, keeping->numEntries());
    EXPECT_TRUE(destroyedTags().empty());

    DictPtr owning = make(true, f.sorted);
    put(*owning, L"c", probe(L"c"));
    put(*owning, L"d", probe(L"d"));
    EXPECT_EQ(nullptr, owning->remove(L"c"));
    EXPECT_EQ(nullptr, owning->remove(2u));
    EXPECT_TRUE(destroyed(L"c"));
    EXPECT_TRUE(destroyed(L"d"));
    EXPECT_EQ(L"", listing(*owning, YcRx::kDictKeyOrder));
  }
}

TEST_F(DictionaryTest, ClearDeletesValuesWhenAskedOrWhenOwningAndRestartsIds) {
  for (const Flavour& f : kBothFlavours) {
    SCOPED_TRACE(f.name);
    destroyedTags().clear();
    DictPtr keeping = make(false, f.sorted);
    put(*keeping, L"a", probe(L"a"));
    put(*keeping, L"b", probe(L"b"));
    imp(keeping).clear(false);
    EXPECT_TRUE(destroyedTags().empty());
    EXPECT_EQ(0, imp(keeping).items().length());
    EXPECT_EQ(0u, keeping->numEntries());
    EXPECT_EQ(nullptr, keeping->at(L"b"));
    EXPECT_EQ(L"", listing(*keeping, YcRx::kDictKeyOrder));
    EXPECT_EQ(1u, put(*keeping, L"b", probe(L"b2")));
    imp(keeping).clear(true);
    EXPECT_TRUE(destroyed(L"b2"));

    DictPtr owning = make(true, f.sorted);
    put(*owning, L"c", probe(L"c"));
    owning->remove(1u);
    put(*owning, L"d", probe(L"d"));
    put(*owning, L"e", nullptr);
    imp(owning).clear(false);
    EXPECT_TRUE(destroyed(L"d"));
    EXPECT_EQ(1u, put(*owning, L"f", probe(L"f")));
  }
}

TEST_F(DictionaryTest, DestroyingDictionaryDeletesOnlyOwnedValues) {
  Probe* kept = probe(L"kept");
  {
    DictPtr keeping = make(false, true);
    put(*keeping, L"k", kept);
    DictPtr owning = make(true, false);
    put(*owning, L"o", probe(L"o"));
  }
  EXPECT_TRUE(destroyed(L"o"));
  EXPECT_FALSE(destroyed(L"kept"));
}

using DictionaryIteratorTest = DictionaryTest;

TEST_F(DictionaryIteratorTest, EmptyDictionaryIteratorIsDoneAtOnce) {
  for (const Flavour& f : kBothFlavours) {
    for (YcRx::DictIterType type : {YcRx::kDictKeyOrder, YcRx::kDictIdOrder}) {
      DictPtr d = make(false, f.sorted);
      std::unique_ptr<YcRxDictionaryIterator> it(d->newIterator(type));
      EXPECT_TRUE(it->done()) << f.name << " " << type;
      EXPECT_EQ(nullptr, it->object());
      EXPECT_EQ(nullptr, it->key());
      EXPECT_EQ(0u, it->id());
      EXPECT_FALSE(it->next());
    }
  }
}

TEST_F(DictionaryIteratorTest, IdOrderSkipsFreeSlotsAndEndsWithNulls) {
  DictPtr d = make(true, true);
  for (const wchar_t* k : {L"d", L"c", L"b", L"a"}) put(*d, k, probe(k));
  d->remove(L"c");
  EXPECT_TRUE(d->atKeyAndIdPut(L"0", 9u, probe(L"0")));
  EXPECT_EQ(L"1:d 3:b 4:a 9:0", listing(*d, YcRx::kDictIdOrder));

  std::unique_ptr<YcRxDictionaryIterator> it(d->newIterator(YcRx::kDictIdOrder));
  int steps = 0;
  while (it->next()) ++steps;
  EXPECT_EQ(3, steps);
  EXPECT_TRUE(it->done());
  EXPECT_EQ(nullptr, it->object());
  EXPECT_EQ(nullptr, it->key());
  EXPECT_EQ(0u, it->id());
}

TEST_F(DictionaryIteratorTest, KeyOrderFollowsTheDictionaryCaseRule) {
  // '_' sorts after 'A' exactly but before 'a' when case is ignored.
  DictPtr loose = make(true, true, true);
  DictPtr strict = make(true, true, false);
  for (YcRxDictionary* d : {loose.get(), strict.get()}) {
    for (const wchar_t* k : {L"b", L"_c", L"A"}) put(*d, k, probe(k));
  }
  EXPECT_EQ(L"2:_c 3:A 1:b", listing(*loose, YcRx::kDictKeyOrder));
  EXPECT_EQ(L"3:A 2:_c 1:b", listing(*strict, YcRx::kDictKeyOrder));
  EXPECT_EQ(L"1:b 2:_c 3:A", listing(*loose, YcRx::kDictIdOrder));
}

TEST_F(DictionaryIteratorTest, KeyOrderOnUnsortedDictionaryFallsBackToIdOrder) {
  DictPtr unsorted = make(true, false, true);
  DictPtr sorted = make(true, true, true);
  for (YcRxDictionary* d : {unsorted.get(), sorted.get()}) {
    for (const wchar_t* k : {L"c", L"a", L"b"}) put(*d, k, probe(k));
  }
  EXPECT_EQ(L"1:c 2:a 3:b", listing(*unsorted, YcRx::kDictKeyOrder));
  std::unique_ptr<YcRxDictionaryIterator> it(unsorted->newIterator(YcRx::kDictKeyOrder));
  YcRxDictionaryImpIterator* impIt = YcRxDictionaryImpIterator::cast(it.get());
  ASSERT_NE(nullptr, impIt);
  EXPECT_EQ(YcRx::kDictIdOrder, impIt->order());
  // Any order other than key order means id order.
  EXPECT_EQ(L"1:c 2:a 3:b", listing(*sorted, static_cast<YcRx::DictIterType>(7)));
}

TEST_F(DictionaryIteratorTest, RemovingCurrentEntryInIdOrderLeavesIteratorOnFreeSlot) {
  DictPtr d = make(false, false);
  Probe* b = probe(L"b");
  Probe* c = probe(L"c");
  put(*d, L"a", probe(L"a"));
  put(*d, L"b", b);
  put(*d, L"c", c);
  std::unique_ptr<YcRxDictionaryIterator> it(d->newIterator(YcRx::kDictIdOrder));
  ASSERT_TRUE(it->next());
  ASSERT_EQ(b, it->object());
  EXPECT_EQ(b, d->remove(L"b"));
  EXPECT_FALSE(it->done());
  EXPECT_EQ(nullptr, it->object());
  EXPECT_EQ(nullptr, it->key());
  EXPECT_EQ(2u, it->id());
  ASSERT_TRUE(it->next());
  EXPECT_EQ(c, it->object());
  EXPECT_STREQ(L"c", it->key());
  EXPECT_EQ(3u, it->id());
  EXPECT_FALSE(it->next());
}

// Stops on values whose tag starts with the prefix, each value once only.
struct FirstUnseenMatch {
  std::vector<std::wstring> visited;
  std::set<const YcRxObject*> hits;
  bool operator()(YcRxObject* value, const wchar_t* prefix) {
    const std::wstring& tag = static_cast<Probe*>(value)->tag();
    visited.push_back(tag);
    return tag.rfind(prefix, 0) == 0 && hits.insert(value).second;
  }
};

struct NeverMatch {
  std::vector<std::wstring> visited;
  bool operator()(YcRxObject* value, int) {
    visited.push_back(static_cast<Probe*>(value)->tag());
    return false;
  }
};

using Visits = std::vector<std::wstring>;

TEST_F(DictionaryIteratorTest, WalkerStopsOnHitAndResumesOnTheSameValue) {
  DictPtr d = make(true, true);
  // Inserted out of key order: the walker must go by key on a sorted dictionary.
  put(*d, L"e", probe(L"x2"));
  put(*d, L"c", nullptr);
  put(*d, L"a", probe(L"x1"));
  put(*d, L"d", probe(L"hit2"));
  put(*d, L"b", probe(L"hit1"));
  YcRxDictionaryWalker<YcRxDictionary, FirstUnseenMatch, const wchar_t*> walker(d.get());

  YcRxObject* first = walker.go(L"hit");
  EXPECT_EQ(d->at(L"b"), first);
  EXPECT_EQ((Visits{L"x1", L"hit1"}), walker.functor().visited);

  // Resumes on hit1 (already taken, so no stop), skips the null value.
  EXPECT_EQ(d->at(L"d"), walker.go(L"hit"));
  EXPECT_EQ((Visits{L"x1", L"hit1", L"hit1", L"hit2"}), walker.functor().visited);

  EXPECT_EQ(nullptr, walker.go(L"hit"));
  EXPECT_EQ((Visits{L"x1", L"hit1", L"hit1", L"hit2", L"hit2", L"x2"}),
            walker.functor().visited);
  EXPECT_EQ(nullptr, walker.go(L"hit"));
  EXPECT_EQ(6u, walker.functor().visited.size());
}

TEST_F(DictionaryIteratorTest, WalkerVisitsEveryNonNullValueOnceInIdOrderWhenUnsorted) {
  DictPtr d = make(true, false);
  for (const wchar_t* k : {L"z", L"y", L"x", L"w"}) put(*d, k, probe(k));
  d->remove(L"y");
  put(*d, L"n", nullptr);  // takes the freed id 2
  EXPECT_TRUE(d->atKeyAndIdPut(L"v", 6u, probe(L"v")));
  YcRxDictionaryWalker<YcRxDictionary, NeverMatch, int> walker(d.get());
  EXPECT_EQ(nullptr, walker.go(0));
  EXPECT_EQ((Visits{L"z", L"x", L"w", L"v"}), walker.functor().visited);

  DictPtr empty = make(true, true);
  YcRxDictionaryWalker<YcRxDictionary, NeverMatch, int> idle(empty.get());
  EXPECT_EQ(nullptr, idle.go(0));
  EXPECT_TRUE(idle.functor().visited.empty());
}

}  // namespace
