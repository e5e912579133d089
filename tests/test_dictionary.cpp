// Dictionary: keys and ids, value ownership, filters, renaming, iteration and walkers.
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

using Visits = std::vector<std::wstring>;
using DictPtr = std::unique_ptr<YcRxDictionary>;
std::set<YcRxObject*> gLive;
Visits gDestroyed;

// A value that logs its destruction; cls stands in for its run-time class.
class Probe : public YcRxObject {
public:
  Probe(const wchar_t* tag, YcRxClass* cls) : mTag(tag), mpClass(cls) { gLive.insert(this); }
  ~Probe() override {
    gLive.erase(this);
    gDestroyed.push_back(mTag);
  }
  YcRxClass* isA() const override { return mpClass ? mpClass : YcRxObject::isA(); }
  std::wstring mTag;
  YcRxClass* mpClass;
};

class DictionaryTest : public RuntimeTest {
protected:
  void TearDown() override {
    for (YcRxObject* p : std::set<YcRxObject*>(gLive)) delete p;  // values the caller still owns
    gDestroyed.clear();
    RuntimeTest::TearDown();
  }

  static DictPtr make(bool deletes, bool sorted, bool ignoreCase = false,
                      const YcRxClass* filter = nullptr) {
    return DictPtr(YcRxDictionaryImp::createDictionary(0, deletes, sorted, ignoreCase, filter));
  }
  static YcRxDictionaryImp& imp(const DictPtr& d) { return static_cast<YcRxDictionaryImp&>(*d); }
  static Probe* probe(const wchar_t* tag, YcRxClass* cls = nullptr) { return new Probe(tag, cls); }
  // The id atPut reports; nothing may be rejected.
  static unsigned int put(YcRxDictionary& d, const wchar_t* key, YcRxObject* value) {
    unsigned int id = 12345;
    EXPECT_EQ(nullptr, d.atPut(key, value, id));
    return id;
  }
  // "id:key" for every entry the iterator visits; a done iterator must answer null.
  static std::wstring listing(YcRxDictionary& d, YcRx::DictIterType type) {
    std::unique_ptr<YcRxDictionaryIterator> it(d.newIterator(type));
    std::wstring out;
    for (; !it->done(); it->next()) {
      EXPECT_EQ(d.at(it->id()), it->object());
      out += (out.empty() ? L"" : L" ") + std::to_wstring(it->id()) + L":" + it->key();
    }
    EXPECT_TRUE(!it->object() && !it->key() && it->id() == 0u && !it->next());
    return out;
  }
};

TEST_F(DictionaryTest, KeysMatchAndSortUnderTheDictionaryCaseRule) {
  for (bool sorted : {false, true}) {
    SCOPED_TRACE(sorted ? "sorted" : "unsorted");
    gDestroyed.clear();
    DictPtr loose = make(true, sorted, true), strict = make(true, sorted, false);
    for (YcRxDictionary* d : {loose.get(), strict.get()})
      for (const wchar_t* k : {L"b", L"_c", L"Alpha"}) put(*d, k, probe(k));
    Probe* a2 = probe(L"a2");
    EXPECT_EQ(2u, put(*loose, L"aLPHA", a2));  // replaces; the stored key text stays
    EXPECT_EQ(a2, loose->at(L"ALPHA"));
    EXPECT_EQ((Visits{L"Alpha"}), gDestroyed);
    EXPECT_EQ(nullptr, strict->at(L"ALPHA"));
    EXPECT_EQ(4u, put(*strict, L"ALPHA", probe(L"s")));
    // '_' sorts after 'A' exactly but before 'a' when case is ignored.
    EXPECT_EQ(sorted ? L"2:_c 3:Alpha 1:b" : L"1:b 2:_c 3:Alpha",
              listing(*loose, YcRx::kDictKeyOrder));
    EXPECT_EQ(sorted ? L"4:ALPHA 3:Alpha 2:_c 1:b" : L"1:b 2:_c 3:Alpha 4:ALPHA",
              listing(*strict, YcRx::kDictKeyOrder));
    EXPECT_EQ(L"1:b 2:_c 3:Alpha", listing(*loose, static_cast<YcRx::DictIterType>(7)));

    unsigned int id = 77;  // empty and null keys neither store nor report an id
    Probe* stray = probe(L"stray");
    EXPECT_EQ(nullptr, strict->atPut(L"", stray, id));
    EXPECT_EQ(nullptr, strict->atPut(nullptr, stray, id));
    EXPECT_EQ(77u, id);
    EXPECT_EQ(4u, strict->numEntries());
  }
}

TEST_F(DictionaryTest, FreedIdsAreReusedLowestFirstAndOnlyUsedSlotsCount) {
  for (bool sorted : {false, true}) {
    SCOPED_TRACE(sorted ? "sorted" : "unsorted");
    DictPtr d = make(true, sorted);
    for (const wchar_t* k : {L"a", L"b", L"c", L"d"}) put(*d, k, probe(k));
    d->remove(L"c");
    d->remove(2u);
    EXPECT_EQ(2u, d->numEntries());
    EXPECT_EQ(4, imp(d).items().length());  // removal leaves the slots in place
    for (const wchar_t* k : {L"e", L"f", L"g"}) put(*d, k, probe(k));
    EXPECT_EQ(L"1:a 2:e 3:f 4:d 5:g", listing(*d, YcRx::kDictIdOrder));
    EXPECT_EQ(sorted ? L"1:a 4:d 2:e 3:f 5:g" : L"1:a 2:e 3:f 4:d 5:g",
              listing(*d, YcRx::kDictKeyOrder));
  }
}

TEST_F(DictionaryTest, ReplacedValueGoesByKeyAndComesBackByIdUnlessOwned) {
  DictPtr keeping = make(false, false), owning = make(true, true);
  put(*keeping, L"a", probe(L"a"));
  put(*keeping, L"b", probe(L"b"));
  Probe* b2 = probe(L"b2");
  // By key the id reported is the array index, and the old value goes although not owned.
  EXPECT_EQ(1u, put(*keeping, L"b", b2));
  EXPECT_EQ((Visits{L"b"}), gDestroyed);
  put(*keeping, L"b", b2);  // the stored value again: it must survive
  Probe* b3 = probe(L"b3");
  EXPECT_EQ(b2, keeping->atPut(2u, b3));
  EXPECT_EQ(b3, keeping->at(L"b"));
  EXPECT_EQ(nullptr, keeping->atPut(2u, b3));
  put(*owning, L"o", probe(L"o1"));
  EXPECT_EQ(nullptr, owning->atPut(1u, probe(L"o2")));
  EXPECT_EQ((Visits{L"b", L"o1"}), gDestroyed);

  // Id 0, a freed id and one never used are reported and change nothing.
  put(*owning, L"p", probe(L"p"));
  owning->remove(2u);
  Probe* stray = probe(L"stray");
  for (unsigned int id : {0u, 2u, 9u}) EXPECT_EQ(nullptr, owning->atPut(id, stray)) << id;
  EXPECT_EQ(3, fatalCount(L"YcRxDictionary::atPut - Invalid id"));
  EXPECT_EQ((Visits{L"b", L"o1", L"p"}), gDestroyed);
}

TEST_F(DictionaryTest, KeyAndIdPutExtendsArrayWithFreeSlots) {
  DictPtr d = make(true, true);
  Probe* spare = probe(L"spare");
  EXPECT_TRUE(d->atKeyAndIdPut(L"ten", 10u, probe(L"ten")));
  EXPECT_EQ(10, imp(d).items().length());
  EXPECT_EQ(1u, put(*d, L"x", probe(L"x")));
  EXPECT_FALSE(d->atKeyAndIdPut(L"other", 10u, spare));  // id taken
  EXPECT_FALSE(d->atKeyAndIdPut(L"huge", 0xFFFFFFFFu, spare));  // no index for it
  EXPECT_FALSE(d->atKeyAndIdPut(L"", 4u, spare) || d->atKeyAndIdPut(L"nothing", 4u, nullptr));
  EXPECT_EQ(L"1:x 10:ten", listing(*d, YcRx::kDictIdOrder));
  EXPECT_EQ(L"10:ten 1:x", listing(*d, YcRx::kDictKeyOrder));
  EXPECT_TRUE(gDestroyed.empty());
}

TEST_F(DictionaryTest, FilterAdmitsDerivedValuesAndParentlessOnesOnlyWhenPutByKey) {
  DictPtr d = make(true, true, false, YcRxIterator::desc());
  Probe* bad = probe(L"bad", YcRxString::desc());
  Probe* root = probe(L"root");  // of the root class, which has no parent
  EXPECT_EQ(1u, put(*d, L"good", probe(L"good", YcRxDictionaryIterator::desc())));
  EXPECT_EQ(bad, d->atPut(L"bad", bad));
  for (Probe* rejected : {bad, root}) {
    EXPECT_EQ(rejected, d->atPut(1u, rejected));
    EXPECT_FALSE(d->atKeyAndIdPut(L"other", 5u, rejected));
  }
  EXPECT_EQ(2u, put(*d, L"root", root));
  EXPECT_EQ(L"1:good 2:root", listing(*d, YcRx::kDictKeyOrder));
  EXPECT_TRUE(gDestroyed.empty());
  EXPECT_TRUE(fatalMessages().empty());
}

TEST_F(DictionaryTest, ResetKeyRenamesEntryKeepingItsIdAndValue) {
  for (bool sorted : {false, true}) {
    SCOPED_TRACE(sorted ? "sorted" : "unsorted");
    DictPtr d = make(false, sorted, true);
    Probe* a = probe(L"a");
    Probe* b = probe(L"b");
    put(*d, L"a", a);
    put(*d, L"b", b);
    EXPECT_TRUE(d->resetKey(L"A", L"zed"));
    EXPECT_EQ(a, d->at(L"ZED"));
    EXPECT_TRUE(d->resetKey(2u, L"Middle"));
    EXPECT_EQ(2u, d->idAt(L"middle"));
    // Key order on an unsorted dictionary silently means id order.
    EXPECT_EQ(sorted ? L"2:Middle 1:zed" : L"1:zed 2:Middle", listing(*d, YcRx::kDictKeyOrder));
    EXPECT_FALSE(d->resetKey(L"missing", L"x") || d->resetKey(nullptr, L"x") ||
                 d->resetKey(L"zed", L"") || d->resetKey(7u, L"x"));

    // A new key already in use is not refused; lookups by key find the first entry,
    // and a sorted dictionary loses the renamed one from its key order.
    EXPECT_TRUE(d->resetKey(L"middle", L"ZED"));
    EXPECT_EQ(a, d->at(L"zed"));
    EXPECT_EQ(b, d->at(2u));
    EXPECT_EQ(sorted ? L"1:zed" : L"1:zed 2:ZED", listing(*d, YcRx::kDictKeyOrder));
    // By id the new text is not checked: null becomes an empty key.
    EXPECT_TRUE(d->resetKey(1u, nullptr));
    EXPECT_STREQ(L"", d->keyAt(1u));
    EXPECT_TRUE(gDestroyed.empty());
  }
}

TEST_F(DictionaryTest, RemoveClearAndDestructionDeleteOnlyOwnedValues) {
  DictPtr keeping = make(false, true), owning = make(true, true);
  Probe* a = probe(L"a");
  put(*keeping, L"a", a);
  put(*keeping, L"b", a);
  EXPECT_EQ(a, keeping->remove(L"a"));
  EXPECT_EQ(a, keeping->remove(2u));
  EXPECT_EQ(nullptr, keeping->remove(L"a"));
  put(*keeping, L"c", probe(L"c"));
  imp(keeping).clear(false);
  EXPECT_EQ(nullptr, keeping->at(L"c"));
  EXPECT_EQ(1u, put(*keeping, L"d", probe(L"d")));  // ids start again
  imp(keeping).clear(true);
  EXPECT_EQ((Visits{L"d"}), gDestroyed);

  put(*owning, L"e", probe(L"e"));
  put(*owning, L"f", probe(L"f"));
  EXPECT_EQ(nullptr, owning->remove(L"e"));
  imp(owning).clear(false);
  EXPECT_EQ(L"", listing(*owning, YcRx::kDictKeyOrder));
  put(*owning, L"i", probe(L"i"));
  put(*keeping, L"k", probe(L"kept"));
  owning.reset();
  keeping.reset();
  EXPECT_EQ((Visits{L"d", L"e", L"f", L"i"}), gDestroyed);
}

TEST_F(DictionaryTest, RemovingCurrentEntryInIdOrderLeavesIteratorOnFreeSlot) {
  DictPtr d = make(false, false);
  for (const wchar_t* k : {L"a", L"b", L"c"}) put(*d, k, probe(k));
  std::unique_ptr<YcRxDictionaryIterator> it(d->newIterator(YcRx::kDictIdOrder));
  ASSERT_TRUE(it->next());
  ASSERT_NE(nullptr, d->remove(L"b"));
  EXPECT_FALSE(it->done());
  EXPECT_EQ(nullptr, it->object());
  EXPECT_EQ(nullptr, it->key());
  EXPECT_EQ(2u, it->id());
  ASSERT_TRUE(it->next());
  EXPECT_EQ(d->at(L"c"), it->object());
  EXPECT_EQ(3u, it->id());
  EXPECT_FALSE(it->next());
}

// Stops on values whose tag starts with the prefix, each value once only.
struct FirstUnseenMatch {
  Visits visited;
  std::set<const YcRxObject*> hits;
  bool operator()(YcRxObject* value, const wchar_t* prefix) {
    visited.push_back(static_cast<Probe*>(value)->mTag);
    return visited.back().rfind(prefix, 0) == 0 && hits.insert(value).second;
  }
};

TEST_F(DictionaryTest, WalkerGoesByKeyStopsOnHitAndResumesOnTheSameValue) {
  DictPtr d = make(true, true);
  put(*d, L"e", probe(L"x2"));
  put(*d, L"c", nullptr);
  put(*d, L"a", probe(L"x1"));
  put(*d, L"d", probe(L"hit2"));
  put(*d, L"b", probe(L"hit1"));
  YcRxDictionaryWalker<YcRxDictionary, FirstUnseenMatch, const wchar_t*> walker(d.get());
  EXPECT_EQ(d->at(L"b"), walker.go(L"hit"));
  // Resumes on hit1 (already taken, so no stop) and skips the null value.
  EXPECT_EQ(d->at(L"d"), walker.go(L"hit"));
  EXPECT_EQ(nullptr, walker.go(L"hit"));
  EXPECT_EQ(nullptr, walker.go(L"hit"));
  EXPECT_EQ((Visits{L"x1", L"hit1", L"hit1", L"hit2", L"hit2", L"x2"}), walker.functor().visited);
}

}  // namespace
