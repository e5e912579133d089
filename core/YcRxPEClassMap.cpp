// A descriptor's protocol-extension map, keyed by protocol class address.
#include "YcRxPEClassMap.h"

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
  return kmrxTreeRemove(mTree, key, KmrxTreeKeys::kBorrowed);
}

YcRxObject* YcRxPEClassMap::find(const YcRxObject* key) const { return kmrxTreeFind(mTree, key); }

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
