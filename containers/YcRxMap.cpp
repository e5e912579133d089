// The general object map: owned key clones ordered by comparedTo, borrowed values.
#include "YcRxMap.h"

#include "YcArray.h"
#include "containers/YcRxTreeMap.h"

YCRX_DEFINE_MEMBERS(YcRxGenericMap, L"YcRxGenericMap", L"YcRxIterable")
YCRX_DEFINE_MEMBERS(YcRxGenericMapIterator, L"YcRxGenericMapIterator", L"AcRxIterator")
YCRX_DEFINE_MEMBERS(YcRxMap, L"YcRxMap", L"YcRxGenericMap")
YCRX_DEFINE_MEMBERS(YcRxMapIterator, L"YcRxMapIterator", L"YcRxGenericMapIterator")

// Anything but "less" (equal, greater, not orderable) counts as not less.
bool YcRxMap::YcRxObjLess::operator()(const YcRxObject* a, const YcRxObject* b) const {
  if (a == b) return false;
  if (!a) return true;
  if (!b) return false;
  return a->comparedTo(b) == YcRx::kLessThan;
}

YcRxMap::YcRxMap() = default;

YcRxMap::~YcRxMap() { removeAll(); }

YcRxIterator* YcRxMap::newIterator() const { return newMapIterator(); }

YcRxGenericMapIterator* YcRxMap::newMapIterator() const {
  return new YcRxMapIterator(const_cast<YcRxMap*>(this));
}

YcRxObject* YcRxMap::find(const YcRxObject* key) const { return kmrxTreeFind(mTree, key); }

YcRxGenericMapIterator* YcRxMap::findIterator(const YcRxObject* key) const {
  return kmrxTreeFindIterator<YcRxMapIterator>(this, key);
}

YcRxObject* YcRxMap::setAt(const YcRxObject* key, YcRxObject* value) {
  if (!key) return nullptr;
  YcRxObject* result = nullptr;
  YcRxGenericMapIterator* it = findIterator(key);
  if (it && !it->done()) {
    result = setAt(it, value);
  } else if (!it && mTree.count(key) != 0) {
    // No memory for the iterator: the entry is replaced in place all the same.
    auto pos = mTree.find(key);
    result = pos->second;
    pos->second = value;
  } else {
    // A key whose class cannot clone is stored as a null key, which orders first.
    const YcRxObject* copy = key->clone();
    if (!kmrxTry(L"a map entry", [&] { mTree.emplace(copy, value); })) delete copy;
  }
  delete it;
  return result;
}

YcRxObject* YcRxMap::setAt(YcRxIterator* it, YcRxObject* value) {
  return kmrxTreeSetAt<YcRxMapIterator>(this, it, value);
}

YcRxObject* YcRxMap::remove(const YcRxObject* key) {
  return key ? kmrxTreeRemove(mTree, key, KmrxTreeKeys::kOwned) : nullptr;
}

YcRxObject* YcRxMap::remove(YcRxIterator* it) {
  return kmrxTreeRemove<YcRxMapIterator>(this, it, KmrxClassCheck::kFirst, KmrxTreeKeys::kOwned);
}

void YcRxMap::removeAll() {
  // The keys are collected, the tree cleared, then the keys deleted; without
  // memory to collect them they go one entry at a time instead.
  try {
    YcArray<const YcRxObject*> keys(static_cast<int>(mTree.size()), 8);
    for (auto& entry : mTree)
      if (entry.first) keys.append(entry.first);
    mTree.clear();
    for (int i = 0; i < keys.length(); ++i) delete keys[i];
  } catch (KmErrorStatus* error) {
    delete error;
    while (!mTree.empty()) kmrxTreeErase(mTree, mTree.begin(), KmrxTreeKeys::kOwned);
  }
}

YcRxMapIterator::YcRxMapIterator(YcRxMap* map) : mpMap(map), mPos(map->tree().begin()) {}

YcRxMapIterator::YcRxMapIterator(YcRxMap* map, YcRxMap::Tree::iterator position)
    : mpMap(map), mPos(position) {}

bool YcRxMapIterator::done() const { return mPos == mpMap->tree().end(); }

bool YcRxMapIterator::next() {
  if (done()) return false;
  ++mPos;
  return done();
}
