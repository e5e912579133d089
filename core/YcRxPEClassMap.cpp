// A descriptor's protocol-extension map, keyed by protocol class address.
#include "YcRxPEClassMap.h"

#include <cstdint>

#include "containers/YcRxTreeMap.h"

YCRX_DEFINE_MEMBERS(YcRxPEClassMap, L"YcRxPEClassMap", L"YcRxGenericMap")
YCRX_DEFINE_MEMBERS(YcRxPEClassMapIterator, L"YcRxPEClassMapIterator", L"YcRxGenericMapIterator")

YcRxPEClassMap::YcRxPEClassMap() = default;

YcRxPEClassMap::~YcRxPEClassMap() = default;

YcRxIterator* YcRxPEClassMap::newIterator() const { return newMapIterator(); }

YcRxGenericMapIterator* YcRxPEClassMap::newMapIterator() const {
  auto* self = const_cast<YcRxPEClassMap*>(this);
  return new YcRxPEClassMapIterator(self, self->mTree.begin());
}

YcRxObject* YcRxPEClassMap::setAt(const YcRxObject* key, YcRxObject* value) {
  if (!key) return nullptr;
  auto pos = mTree.find(key);
  if (pos == mTree.end()) {
    kmrxTry(L"a protocol extension", [&] { mTree.emplace(key, value); });
    mIndexStale = true;
    return nullptr;
  }
  YcRxObject* old = pos->second;
  pos->second = value;
  return old;
}

YcRxObject* YcRxPEClassMap::setAt(YcRxIterator* it, YcRxObject* value) {
  return kmrxTreeSetAt<YcRxPEClassMapIterator>(this, it, value);
}

YcRxObject* YcRxPEClassMap::remove(YcRxIterator* it) {
  return kmrxTreeRemove<YcRxPEClassMapIterator>(this, it, KmrxClassCheck::kAfterDone,
                                                KmrxTreeKeys::kBorrowed);
}

YcRxObject* YcRxPEClassMap::remove(const YcRxObject* key) {
  mIndexStale = true;
  return kmrxTreeRemove(mTree, key, KmrxTreeKeys::kBorrowed);
}

bool YcRxPEClassMap::reindex() const {
  std::size_t size = 8;
  while (size < mTree.size() * 2) size *= 2;
  try {
    mIndex.assign(size, IndexSlot{nullptr, mTree.end()});
  } catch (const std::bad_alloc&) {
    mIndex.clear();
    return false;  // the tree answers until the index can be made
  }
  for (auto pos = mTree.begin(); pos != mTree.end(); ++pos) {
    std::size_t i = indexSlot(pos->first, size - 1);
    while (mIndex[i].key) i = (i + 1) & (size - 1);
    mIndex[i] = IndexSlot{pos->first, pos};
  }
  mIndexStale = false;
  return true;
}

const YcRxPEClassMap::IndexSlot* YcRxPEClassMap::indexed(const YcRxObject* key) const {
  const std::size_t mask = mIndex.size() - 1;
  for (std::size_t i = indexSlot(key, mask);; i = (i + 1) & mask) {
    if (mIndex[i].key == key) return &mIndex[i];
    if (!mIndex[i].key) return nullptr;
  }
}

YcRxObject* YcRxPEClassMap::find(const YcRxObject* key) const {
  if (!key) return nullptr;
  if (!mIndexStale || reindex()) {
    const IndexSlot* slot = indexed(key);
    return slot ? slot->position->second : nullptr;
  }
  return kmrxTreeFind(mTree, key);
}

YcRxGenericMapIterator* YcRxPEClassMap::findIterator(const YcRxObject* key) const {
  return kmrxTreeFindIterator<YcRxPEClassMapIterator>(this, key);
}

YcRxPEClassMapIterator::YcRxPEClassMapIterator(YcRxPEClassMap* map,
                                               YcRxPEClassMap::Tree::iterator position)
    : mpMap(map), mPos(position) {}

bool YcRxPEClassMapIterator::done() const { return mPos == mpMap->tree().end(); }

bool YcRxPEClassMapIterator::next() {
  if (done()) return false;
  ++mPos;
  return !done();
}

YcRxObject* YcRxPEClassMapIterator::object() const { return done() ? nullptr : mPos->second; }

const YcRxObject* YcRxPEClassMapIterator::key() const { return done() ? nullptr : mPos->first; }
