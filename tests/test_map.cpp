// YcRxMap (cloned, self-ordering keys) and YcRxPEClassMap (address-ordered keys). Values are
// stack objects: a map that deleted one would crash the test.
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

// An orderable, clonable key that counts its instances; negative keys cannot be ordered.
class MapKey : public YcRxObject {
  YCRX_DECLARE_MEMBERS(MapKey);
  explicit MapKey(int v = 0) : mValue(v) { ++sAlive, ++sMade; }
  ~MapKey() override { --sAlive; }
  Ycad::ErrorStatus copyFrom(const YcRxObject* other) override {
    mValue = MapKey::cast(other)->mValue;
    return Ycad::eOk;
  }
  YcRx::Ordering comparedTo(const YcRxObject* other) const override {
    const MapKey* k = MapKey::cast(other);
    if (!k || mValue < 0 || k->mValue < 0) return YcRx::kNotOrderable;
    if (mValue == k->mValue) return YcRx::kEqual;
    return mValue < k->mValue ? YcRx::kLessThan : YcRx::kGreaterThan;
  }
  int mValue;
  static int sAlive, sMade;
};
int MapKey::sAlive = 0, MapKey::sMade = 0;
YCRX_DEFINE_MEMBERS_WITH_CONS(MapKey, L"MapTestKey", L"AcRxObject")

int keyOf(const YcRxObject* key) { return MapKey::cast(key) ? MapKey::cast(key)->mValue : -99; }
using Iterator = std::unique_ptr<YcRxGenericMapIterator>;

class MapTest : public RuntimeTest {
protected:
  // Keys 1..3 go in out of order, each with value v[key - 1].
  void SetUp() override {
    RuntimeTest::SetUp();
    MapKey::rxInit();
    ycrxBuildClassHierarchy();
    for (int k : {3, 1, 2})
      EXPECT_EQ(nullptr, map.setAt(std::make_unique<MapKey>(k).get(), &v[k - 1]));
  }
  const int mKeys = MapKey::sAlive, mMade = MapKey::sMade;
  YcRxObject v[4];
  YcRxMap map;
};

TEST_F(MapTest, StoresKeyClonesAndIteratesAscendingWithNextTrueAtTheEnd) {
  EXPECT_EQ(mKeys + 3, MapKey::sAlive);  // the callers' keys are gone, the clones remain
  EXPECT_EQ(mMade + 6, MapKey::sMade);
  std::vector<int> keys;
  std::vector<bool> answers;
  Iterator it(map.newMapIterator());
  for (; !it->done(); answers.push_back(it->next())) {
    keys.push_back(keyOf(it->key()));
    EXPECT_EQ(&v[keys.back() - 1], it->object());
  }
  EXPECT_EQ((std::vector<int>{1, 2, 3}), keys);
  EXPECT_EQ((std::vector<bool>{false, false, true}), answers);
  EXPECT_FALSE(it->next());

  MapKey two(2);  // findIterator stands on the entry and walks on from there
  it.reset(map.findIterator(&two));
  EXPECT_EQ(&v[1], it->object());
  it->next();
  EXPECT_EQ(3, keyOf(it->key()));
}

TEST_F(MapTest, LookupsFindNothingForNullOrAbsentKeysAndOneEntryForUnorderableOnes) {
  MapKey k(9);
  EXPECT_TRUE(!map.remove(&k) && !map.find(&k) && !map.findIterator(&k) && !map.find(nullptr) &&
              !map.has(nullptr) && !map.findIterator(nullptr));
  YcRxMap other;
  EXPECT_TRUE(std::unique_ptr<YcRxIterator>(other.newIterator())->done());
  MapKey first(-1), second(-2);
  EXPECT_EQ(nullptr, other.setAt(&first, &v[0]));
  EXPECT_EQ(&v[0], other.setAt(&second, &v[1]));
  EXPECT_EQ(1, other.count());
  EXPECT_EQ(&v[1], other.remove(&first));
}

TEST_F(MapTest, SetAtOfPresentKeyReplacesValueAndKeepsTheStoredKey) {
  MapKey again(2);
  Iterator it(map.findIterator(&again));
  const YcRxObject* stored = it->key();
  EXPECT_EQ(&v[1], map.setAt(&again, &v[3]));
  EXPECT_EQ(mMade + 7, MapKey::sMade) << "an existing key must not be cloned again";
  it.reset(map.findIterator(&again));
  EXPECT_EQ(stored, it->key());
  EXPECT_EQ(&v[3], it->object());
  // A null value is an entry that has() does not see.
  EXPECT_EQ(&v[3], map.setAt(&again, nullptr));
  EXPECT_EQ(3, map.count());
  EXPECT_FALSE(map.has(&again));
  EXPECT_TRUE(Iterator(map.findIterator(&again)) != nullptr);

  // Through an iterator only the value changes; null and finished iterators change nothing.
  it.reset(map.newMapIterator());
  EXPECT_EQ(&v[0], map.setAt(static_cast<YcRxIterator*>(it.get()), &v[3]));
  EXPECT_EQ(1, keyOf(it->key()));
  EXPECT_EQ(&v[3], it->object());
  while (!it->done()) it->next();
  EXPECT_TRUE(!map.setAt(static_cast<YcRxIterator*>(nullptr), &v[0]) &&
              !map.setAt(static_cast<YcRxIterator*>(it.get()), &v[0]));
}

TEST_F(MapTest, RemovalDeletesStoredKeysButNeverValues) {
  MapKey one(1);
  EXPECT_EQ(&v[0], map.remove(&one));
  EXPECT_EQ(mKeys + 3, MapKey::sAlive);  // 'one' added one, the stored copy went
  std::unique_ptr<YcRxIterator> it(map.newIterator());
  std::vector<YcRxObject*> removed;
  while (!it->done()) removed.push_back(map.remove(it.get()));  // no next() in this loop
  EXPECT_EQ((std::vector<YcRxObject*>{&v[1], &v[2]}), removed);
  EXPECT_EQ(nullptr, map.remove(it.get()));
  {
    YcRxMap local;
    local.setAt(&one, &v[0]);
    map.setAt(&one, &v[1]);
    map.removeAll();
    EXPECT_EQ(mKeys + 2, MapKey::sAlive);
  }
  EXPECT_EQ(mKeys + 1, MapKey::sAlive);
}

TEST_F(MapTest, ForeignIteratorIsReportedAndNeverUsedByEitherMap) {
  YcRxPEClassMap pe;
  pe.setAt(&v[0], &v[1]);
  YcRxLinkedList list, empty;
  list.addTail(&v[3]);
  std::unique_ptr<YcRxIterator> foreign(list.newIterator()), finished(empty.newIterator());
  for (YcRxGenericMap* m : std::vector<YcRxGenericMap*>{&map, &pe}) {
    EXPECT_EQ(nullptr, m->remove(foreign.get()));
    EXPECT_EQ(nullptr, m->setAt(foreign.get(), &v[2]));
  }
  EXPECT_EQ(nullptr, map.remove(finished.get()));  // the class is checked before done()
  // Right class, another instance: its position must not reach into this tree.
  YcRxPEClassMap otherPe;
  otherPe.setAt(&v[2], &v[3]);
  std::unique_ptr<YcRxIterator> stranger(otherPe.newIterator());
  EXPECT_EQ(nullptr, pe.remove(stranger.get()));
  EXPECT_EQ(nullptr, pe.setAt(stranger.get(), &v[0]));
  EXPECT_EQ(7, fatalCount(L"Rx module fatal error, code is 46"));
  EXPECT_EQ(3, map.count());
  EXPECT_EQ(&v[1], pe.find(&v[0]));
  EXPECT_EQ(&v[3], otherPe.find(&v[2]));
}

TEST_F(MapTest, EachMethodChecksForeignIteratorsInItsOwnOrder) {
  const std::wstring report = L"Rx module fatal error, code is 46";
  YcRxPEClassMap pe;
  YcRxLinkedList empty;
  std::unique_ptr<YcRxIterator> finished(empty.newIterator());
  YcRxIterator* const none = nullptr;
  // Null or finished, of another class: only YcRxMap::remove looks at the class first.
  EXPECT_TRUE(!map.setAt(finished.get(), &v[0]) && !pe.setAt(finished.get(), &v[0]) &&
              !pe.remove(finished.get()) && !pe.setAt(none, &v[0]));
  EXPECT_EQ(0, fatalCount(report));
  EXPECT_EQ(nullptr, map.remove(none));
  EXPECT_EQ(1, fatalCount(report));

  // Another YcRxMap's iterator is refused while it stands on an entry, ignored once done.
  YcRxMap other;
  MapKey one(1), five(5);
  other.setAt(&five, &v[3]);
  std::unique_ptr<YcRxIterator> stranger(other.newIterator());
  EXPECT_EQ(nullptr, map.setAt(stranger.get(), &v[0]));
  EXPECT_EQ(nullptr, map.remove(stranger.get()));
  EXPECT_EQ(3, fatalCount(report));
  stranger->next();
  EXPECT_TRUE(!map.setAt(stranger.get(), &v[0]) && !map.remove(stranger.get()));
  EXPECT_EQ(3, fatalCount(report));
  EXPECT_EQ(3, map.count());
  EXPECT_EQ(&v[0], map.find(&one));
  EXPECT_EQ(&v[3], other.find(&five));
}

class PEClassMapTest : public RuntimeTest {
protected:
  YcRxObject k[4], v[4];
  YcRxPEClassMap map;
};

TEST_F(PEClassMapTest, IteratesInAscendingAddressOrderAndNextAnswersNotDone) {
  for (int i : {2, 0, 3, 1}) map.setAt(&k[i], &v[i]);
  std::vector<const YcRxObject*> seen;
  std::vector<bool> answers;
  Iterator it(map.newMapIterator());
  for (; !it->done(); answers.push_back(it->next())) {
    seen.push_back(it->key());
    EXPECT_EQ(&v[seen.size() - 1], it->object());
  }
  EXPECT_EQ((std::vector<const YcRxObject*>{&k[0], &k[1], &k[2], &k[3]}), seen);
  EXPECT_EQ((std::vector<bool>{true, true, true, false}), answers);
}

TEST_F(PEClassMapTest, EntriesChangeInPlaceByKeyOrIterator) {
  for (int i = 0; i < 3; ++i) EXPECT_EQ(nullptr, map.setAt(&k[i], &v[i]));
  EXPECT_EQ(&v[0], map.setAt(&k[0], &v[3]));
  EXPECT_EQ(nullptr, map.setAt(static_cast<const YcRxObject*>(nullptr), &v[0]));
  EXPECT_TRUE(!map.find(nullptr) && !map.findIterator(nullptr) && !map.findIterator(&v[0]));
  Iterator it(map.findIterator(&k[1]));
  YcRxIterator* at = it.get();
  EXPECT_EQ(&v[1], map.setAt(at, &v[0]));
  EXPECT_EQ(&v[0], map.remove(at));
  EXPECT_EQ(&k[2], it->key());  // moved past the erased entry
  EXPECT_EQ(&v[2], map.remove(at));
  EXPECT_TRUE(it->done());
  EXPECT_TRUE(!map.remove(at) && !map.setAt(at, &v[0]) &&
              !map.remove(static_cast<YcRxIterator*>(nullptr)));
  EXPECT_EQ(&v[3], map.remove(&k[0]));
  EXPECT_EQ(nullptr, map.remove(&k[0]));
  map.setAt(&k[1], &v[1]);
  map.setAt(&k[3], nullptr);  // counted, but not had
  EXPECT_EQ(2, map.count());
  EXPECT_FALSE(map.has(&k[3]));
  map.removeAll();
  EXPECT_EQ(0, map.count());
}

}  // namespace

// The map's hash index against a plain map, whatever way the entries change:
// by key, by iterator, all at once, or through the tree itself.
TEST_F(PEClassMapTest, LookUpsAgreeWithAPlainMapThroughEveryKindOfChange) {
  YcRxObject keys[40], values[40];
  std::map<const YcRxObject*, YcRxObject*> plain;
  std::mt19937 random(3);
  for (int n = 0; n < 3000; ++n) {
    const int i = static_cast<int>(random() % 40), j = static_cast<int>(random() % 40);
    switch (random() % 6) {
      case 0:
      case 1:
        map.setAt(&keys[i], &values[j]);
        plain[&keys[i]] = &values[j];
        break;
      case 2:
        map.remove(&keys[i]);
        plain.erase(&keys[i]);
        break;
      case 3: {
        Iterator it(map.findIterator(&keys[i]));
        if (it && !it->done()) {
          map.remove(it.get());
          plain.erase(&keys[i]);
        }
        break;
      }
      case 4:
        map.tree().erase(&keys[i]);
        plain.erase(&keys[i]);
        break;
      default:
        if (random() % 50 == 0) {
          map.removeAll();
          plain.clear();
        }
    }
    for (const YcRxObject& key : keys) {
      const auto found = plain.find(&key);
      ASSERT_EQ(found == plain.end() ? nullptr : found->second, map.find(&key)) << "step " << n;
    }
  }
}
