// YcRxMap (cloned, self-ordering keys) and YcRxPEClassMap (address-ordered
// keys), with their iterators' opposite next() answers.
#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

#include "KmRxTestSupport.h"

namespace {

const wchar_t* const kForeignIterator = L"Rx module fatal error, code is 46";

// An orderable, clonable key; counts instances to follow the map's clones.
class MapTestKey : public YcRxObject {
  YCRX_DECLARE_MEMBERS(MapTestKey);

  MapTestKey() { ++sAlive, ++sMade; }
  explicit MapTestKey(int v) : mValue(v) { ++sAlive, ++sMade; }
  MapTestKey(const MapTestKey&) = delete;
  ~MapTestKey() override { --sAlive; }

  Ycad::ErrorStatus copyFrom(const YcRxObject* other) override {
    const MapTestKey* k = MapTestKey::cast(other);
    if (!k) return Ycad::eWrongObjectClass;
    mValue = k->mValue;
    return Ycad::eOk;
  }
  YcRx::Ordering comparedTo(const YcRxObject* other) const override {
    const MapTestKey* k = MapTestKey::cast(other);
    if (!k) return YcRx::kNotOrderable;
    if (mValue == k->mValue) return YcRx::kEqual;
    return mValue < k->mValue ? YcRx::kLessThan : YcRx::kGreaterThan;
  }

  int mValue = 0;
  static int sAlive;
  static int sMade;
};
int MapTestKey::sAlive = 0;
int MapTestKey::sMade = 0;
YCRX_DEFINE_MEMBERS_WITH_CONS(MapTestKey, L"MapTestKey", L"AcRxObject")

// Clonable but without an ordering: comparedTo stays "not orderable".
class MapTestPlainKey : public YcRxObject {
  YCRX_DECLARE_MEMBERS(MapTestPlainKey);
  Ycad::ErrorStatus copyFrom(const YcRxObject*) override { return Ycad::eOk; }
};
YCRX_DEFINE_MEMBERS_WITH_CONS(MapTestPlainKey, L"MapTestPlainKey", L"AcRxObject")

class MapValue : public YcRxObject {
public:
  MapValue() { ++sAlive; }
  ~MapValue() override { --sAlive; }
  static int sAlive;
};
int MapValue::sAlive = 0;

int keyOf(const YcRxObject* key) {
  const MapTestKey* k = MapTestKey::cast(key);
  return k ? k->mValue : -1;
}

class MapTest : public RuntimeTest {
protected:
  void SetUp() override {
    RuntimeTest::SetUp();
    MapTestKey::rxInit();
    MapTestPlainKey::rxInit();
    ycrxBuildClassHierarchy();
    clearFatalMessages();
  }

  // Puts keys 1..3 in the order 3, 1, 2 with values v[k-1].
  void fill(YcRxMap& map) {
    for (int k : {3, 1, 2}) {
      MapTestKey key(k);
      EXPECT_EQ(nullptr, map.setAt(&key, &v[k - 1]));
    }
  }

  YcRxObject v[4];
};

TEST_F(MapTest, EmptyMapFindsNothingAndItsIteratorIsDone) {
  YcRxMap map;
  MapTestKey k(1);
  EXPECT_EQ(0, map.count());
  EXPECT_EQ(nullptr, map.find(&k));
  EXPECT_EQ(nullptr, map.find(nullptr));
  EXPECT_FALSE(map.has(&k));
  EXPECT_FALSE(map.has(nullptr));
  EXPECT_EQ(nullptr, map.findIterator(&k));
  EXPECT_EQ(nullptr, map.findIterator(nullptr));
  EXPECT_EQ(nullptr, map.remove(&k));
  YcRxIterator* it = map.newIterator();
  EXPECT_TRUE(it->done());
  EXPECT_FALSE(it->next());
  EXPECT_EQ(nullptr, map.remove(it));
  delete it;
}

TEST_F(MapTest, StoresKeyClonesAndIteratesAscendingWithNextTrueAtTheEnd) {
  YcRxMap map;
  const int made = MapTestKey::sMade, alive = MapTestKey::sAlive;
  fill(map);
  EXPECT_EQ(3, map.count());
  EXPECT_EQ(alive + 3, MapTestKey::sAlive);  // the callers' keys are gone, the clones remain
  EXPECT_EQ(made + 6, MapTestKey::sMade);

  std::vector<int> keys;
  std::vector<bool> answers;
  YcRxGenericMapIterator* it = map.newMapIterator();
  ASSERT_NE(nullptr, YcRxMapIterator::cast(it));
  while (!it->done()) {
    keys.push_back(keyOf(it->key()));
    EXPECT_EQ(&v[keyOf(it->key()) - 1], it->object());
    answers.push_back(it->next());
  }
  EXPECT_EQ((std::vector<int>{1, 2, 3}), keys);
  EXPECT_EQ((std::vector<bool>{false, false, true}), answers);
  EXPECT_FALSE(it->next());
  delete it;

  MapTestKey probe(2);
  EXPECT_EQ(&v[1], map.find(&probe));
  EXPECT_TRUE(map.has(&probe));
}

TEST_F(MapTest, SetAtOfPresentKeyReplacesValueAndKeepsStoredKey) {
  YcRxMap map;
  MapTestKey first(7), second(7);
  EXPECT_EQ(nullptr, map.setAt(&first, &v[0]));
  YcRxGenericMapIterator* it = map.findIterator(&first);
  ASSERT_NE(nullptr, it);
  const YcRxObject* storedKey = it->key();
  EXPECT_NE(&first, storedKey);
  delete it;

  const int made = MapTestKey::sMade;
  EXPECT_EQ(&v[0], map.setAt(&second, &v[1]));
  EXPECT_EQ(made, MapTestKey::sMade) << "an existing key must not be cloned again";
  EXPECT_EQ(1, map.count());
  it = map.findIterator(&second);
  ASSERT_NE(nullptr, it);
  EXPECT_EQ(storedKey, it->key());
  EXPECT_EQ(&v[1], it->object());
  delete it;
}

TEST_F(MapTest, NullValueIsCountedButNotHad) {
  YcRxMap map;
  MapTestKey k(1);
  map.setAt(&k, nullptr);
  EXPECT_EQ(1, map.count());
  EXPECT_FALSE(map.has(&k));
  EXPECT_EQ(nullptr, map.find(&k));
  YcRxGenericMapIterator* it = map.findIterator(&k);
  ASSERT_NE(nullptr, it);  // the entry is there
  EXPECT_EQ(nullptr, it->object());
  delete it;
}

TEST_F(MapTest, KeysThatCannotBeOrderedCountAsOneKey) {
  YcRxMap map;
  MapTestPlainKey first, second;
  EXPECT_EQ(nullptr, map.setAt(&first, &v[0]));
  EXPECT_EQ(&v[0], map.setAt(&second, &v[1]));
  EXPECT_EQ(1, map.count());
  EXPECT_EQ(&v[1], map.find(&first));
  YcRxIterator* it = map.newIterator();
  EXPECT_NE(nullptr, MapTestPlainKey::cast(static_cast<YcRxMapIterator*>(it)->key()));
  delete it;
  EXPECT_EQ(&v[1], map.remove(&second));
  EXPECT_EQ(0, map.count());
}

TEST_F(MapTest, KeyWhoseClassCannotCloneIsStoredAsNullKey) {
  // The string class has no factory, so its clone is null; the entry still goes in.
  YcRxMap map;
  YcRxString key(L"k", false);
  EXPECT_EQ(nullptr, map.setAt(&key, &v[0]));
  EXPECT_EQ(1, map.count());
  std::unique_ptr<YcRxGenericMapIterator> it(map.newMapIterator());
  ASSERT_FALSE(it->done());
  EXPECT_EQ(nullptr, it->key());
  EXPECT_EQ(&v[0], it->object());
  it.reset();
  map.removeAll();
  EXPECT_EQ(0, map.count());
}

TEST_F(MapTest, FindIteratorStandsOnTheEntryAndWalksOnFromThere) {
  YcRxMap map;
  fill(map);
  MapTestKey k(2);
  YcRxGenericMapIterator* it = map.findIterator(&k);
  ASSERT_NE(nullptr, YcRxMapIterator::cast(it));
  EXPECT_EQ(2, keyOf(it->key()));
  EXPECT_EQ(&v[1], it->object());
  EXPECT_FALSE(it->next());
  EXPECT_EQ(3, keyOf(it->key()));
  EXPECT_TRUE(it->next());
  EXPECT_TRUE(it->done());
  delete it;
}

TEST_F(MapTest, RemoveByKeyDeletesTheStoredKeyAndHandsBackTheValue) {
  YcRxMap map;
  fill(map);
  const int alive = MapTestKey::sAlive;
  MapTestKey k(1);
  EXPECT_EQ(&v[0], map.remove(&k));
  EXPECT_EQ(alive, MapTestKey::sAlive);  // k added one, the stored copy went
  EXPECT_EQ(2, map.count());
  EXPECT_EQ(nullptr, map.remove(&k));
}

TEST_F(MapTest, RemoveThroughIteratorAdvancesBeforeErasing) {
  YcRxMap map;
  fill(map);
  YcRxIterator* it = map.newIterator();
  EXPECT_EQ(&v[0], map.remove(it));
  ASSERT_FALSE(it->done());
  EXPECT_EQ(&v[1], it->object());  // already on the following entry

  std::vector<YcRxObject*> removed;
  while (!it->done()) removed.push_back(map.remove(it));  // no next() in this loop
  EXPECT_EQ((std::vector<YcRxObject*>{&v[1], &v[2]}), removed);
  EXPECT_TRUE(it->done());
  EXPECT_EQ(0, map.count());
  EXPECT_EQ(nullptr, map.remove(it));
  delete it;
}

TEST_F(MapTest, SetAtThroughIteratorReplacesOnlyTheValue) {
  YcRxMap map;
  fill(map);
  YcRxGenericMapIterator* it = map.newMapIterator();
  const YcRxObject* key = it->key();
  EXPECT_EQ(&v[0], map.setAt(static_cast<YcRxIterator*>(it), &v[3]));
  EXPECT_EQ(key, it->key());
  MapTestKey k(1);
  EXPECT_EQ(&v[3], map.find(&k));
  EXPECT_EQ(nullptr, map.setAt(static_cast<YcRxIterator*>(nullptr), &v[0]));
  while (!it->done()) it->next();
  EXPECT_EQ(nullptr, map.setAt(static_cast<YcRxIterator*>(it), &v[0]));
  EXPECT_EQ(3, map.count());
  delete it;
}

TEST_F(MapTest, RemoveAllAndDestructionDeleteKeyClonesButNeverValues) {
  const int keys = MapTestKey::sAlive, values = MapValue::sAlive;
  MapValue* held[3] = {new MapValue, new MapValue, new MapValue};
  {
    YcRxMap map;
    for (int i = 0; i < 3; ++i) {
      MapTestKey k(i);
      map.setAt(&k, held[i]);
    }
    map.removeAll();
    EXPECT_EQ(0, map.count());
    EXPECT_EQ(keys, MapTestKey::sAlive);
    for (int i = 0; i < 3; ++i) {
      MapTestKey k(i);
      map.setAt(&k, held[i]);
    }
  }
  EXPECT_EQ(keys, MapTestKey::sAlive);
  EXPECT_EQ(values + 3, MapValue::sAlive);
  for (MapValue* p : held) delete p;
}

TEST_F(MapTest, ForeignIteratorIsReportedAndNeverUsed) {
  YcRxMap map;
  fill(map);
  YcRxLinkedList list;
  list.addTail(&v[3]);
  YcRxIterator* foreign = list.newIterator();

  EXPECT_EQ(nullptr, map.remove(foreign));
  EXPECT_EQ(nullptr, map.setAt(foreign, &v[0]));
  EXPECT_EQ(2, fatalCount(kForeignIterator));
  EXPECT_EQ(2, static_cast<int>(fatalMessages().size()));
  EXPECT_EQ(3, map.count());
  EXPECT_EQ(&v[3], list.front());
  EXPECT_EQ(&v[3], foreign->object());
  delete foreign;

  // remove() checks the class before it looks at done().
  YcRxLinkedList empty;
  foreign = empty.newIterator();
  EXPECT_EQ(nullptr, map.remove(foreign));
  EXPECT_EQ(3, fatalCount(kForeignIterator));
  delete foreign;
}

TEST_F(MapTest, ContainersAreIterableButDictionariesAndStringsAreNot) {
  YcRxMap map;
  YcRxPEClassMap peMap;
  YcRxLinkedList list;
  YcRxString text(L"t", false);
  YcRxDictionary* dict = YcRxDictionaryImp::createDictionary(0, false, false, false, nullptr);
  EXPECT_EQ(&map, GetIterableInterface(&map));
  EXPECT_TRUE(IsObjectIterable(&peMap));
  EXPECT_TRUE(IsObjectIterable(&list));
  EXPECT_FALSE(IsObjectIterable(dict));
  EXPECT_FALSE(IsObjectIterable(&text));
  EXPECT_EQ(nullptr, GetIterableInterface(nullptr));
  EXPECT_FALSE(IsObjectIterable(nullptr));
  EXPECT_STREQ(L"YcRxMap", map.isA()->name());
  EXPECT_STREQ(L"YcRxGenericMap", map.isA()->myParent()->name());
  EXPECT_STREQ(L"YcRxPEClassMap", peMap.isA()->name());
  EXPECT_STREQ(L"YcRxGenericMap", peMap.isA()->myParent()->name());
  delete dict;
}

class PEClassMapTest : public RuntimeTest {
protected:
  YcRxObject k[4], v[4];
};

TEST_F(PEClassMapTest, SetAtReplacesInPlaceAndIgnoresNullKeys) {
  YcRxPEClassMap map;
  EXPECT_EQ(nullptr, map.setAt(static_cast<const YcRxObject*>(nullptr), &v[0]));
  EXPECT_EQ(0, map.count());
  EXPECT_EQ(nullptr, map.setAt(&k[0], &v[0]));
  EXPECT_EQ(&v[0], map.setAt(&k[0], &v[1]));
  EXPECT_EQ(1, map.count());
  EXPECT_EQ(&v[1], map.find(&k[0]));
  EXPECT_EQ(nullptr, map.find(nullptr));
  EXPECT_EQ(nullptr, map.find(&k[1]));
  EXPECT_EQ(nullptr, map.findIterator(nullptr));
  EXPECT_EQ(nullptr, map.findIterator(&k[1]));

  map.setAt(&k[1], nullptr);
  EXPECT_EQ(2, map.count());
  EXPECT_FALSE(map.has(&k[1]));
  EXPECT_TRUE(map.has(&k[0]));
}

TEST_F(PEClassMapTest, IteratesInAscendingAddressOrderAndNextAnswersNotDone) {
  std::vector<YcRxObject*> keys;
  for (int i = 0; i < 4; ++i) keys.push_back(new YcRxObject);
  YcRxPEClassMap map;
  for (int i : {2, 0, 3, 1}) map.setAt(keys[i], &v[i]);
  std::sort(keys.begin(), keys.end(), std::less<YcRxObject*>());

  std::vector<const YcRxObject*> seen;
  std::vector<bool> answers;
  YcRxGenericMapIterator* it = map.newMapIterator();
  ASSERT_NE(nullptr, YcRxPEClassMapIterator::cast(it));
  for (; !it->done();) {
    seen.push_back(it->key());
    answers.push_back(it->next());
  }
  EXPECT_EQ(std::vector<const YcRxObject*>(keys.begin(), keys.end()), seen);
  EXPECT_EQ((std::vector<bool>{true, true, true, false}), answers);
  EXPECT_FALSE(it->next());
  delete it;
  for (YcRxObject* key : keys) delete key;
}

TEST_F(PEClassMapTest, IteratorRemovalAndReplacementWorkInPlace) {
  YcRxPEClassMap map;
  for (int i = 0; i < 3; ++i) map.setAt(&k[i], &v[i]);  // array order is address order
  YcRxGenericMapIterator* it = map.findIterator(&k[1]);
  ASSERT_NE(nullptr, it);
  EXPECT_EQ(&v[1], map.setAt(static_cast<YcRxIterator*>(it), &v[3]));
  EXPECT_EQ(&v[3], map.find(&k[1]));
  EXPECT_EQ(&v[3], map.remove(static_cast<YcRxIterator*>(it)));
  EXPECT_EQ(&k[2], it->key());  // moved past the erased entry
  EXPECT_EQ(&v[2], map.remove(static_cast<YcRxIterator*>(it)));
  EXPECT_TRUE(it->done());
  EXPECT_EQ(nullptr, map.remove(static_cast<YcRxIterator*>(it)));
  EXPECT_EQ(nullptr, map.setAt(static_cast<YcRxIterator*>(it), &v[0]));
  EXPECT_EQ(nullptr, map.remove(static_cast<YcRxIterator*>(nullptr)));
  delete it;

  EXPECT_EQ(1, map.count());
  EXPECT_EQ(&v[0], map.remove(&k[0]));
  EXPECT_EQ(nullptr, map.remove(&k[0]));
  EXPECT_EQ(0, map.count());
}

TEST_F(PEClassMapTest, RemoveAllKeepsValuesAlive) {
  const int values = MapValue::sAlive;
  MapValue* held[2] = {new MapValue, new MapValue};
  {
    YcRxPEClassMap map;
    map.setAt(&k[0], held[0]);
    map.setAt(&k[1], held[1]);
    map.removeAll();
    EXPECT_EQ(0, map.count());
    map.setAt(&k[0], held[0]);
  }
  EXPECT_EQ(values + 2, MapValue::sAlive);
  for (MapValue* p : held) delete p;
}

TEST_F(PEClassMapTest, ForeignIteratorIsReportedAndNeverUsed) {
  YcRxPEClassMap map;
  map.setAt(&k[0], &v[0]);
  YcRxLinkedList list;
  list.addTail(&v[1]);
  YcRxIterator* foreign = list.newIterator();
  EXPECT_EQ(nullptr, map.setAt(foreign, &v[2]));
  EXPECT_EQ(nullptr, map.remove(foreign));
  EXPECT_EQ(2, fatalCount(kForeignIterator));
  EXPECT_EQ(&v[0], map.find(&k[0]));
  EXPECT_EQ(1, map.count());
  EXPECT_EQ(&v[1], list.front());
  delete foreign;
}

}  // namespace
