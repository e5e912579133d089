// A descriptor's protocol-extension map, keyed by protocol class address.
#include "YcRxPEClassMap.h"

#include "core/YcRxInternal.h"

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
  auto result = mTree.emplace(key, value);
  if (result.second) return nullptr;
  YcRxObject* old = result.first->second;
  result.first->second = value;
  return old;
}

YcRxObject* YcRxPEClassMap::setAt(YcRxIterator* it, YcRxObject* value) {
  if (!it || it->done()) return nullptr;
  YcRxPEClassMapIterator* mine = YcRxPEClassMapIterator::cast(it);
  // Another map's position must never touch this tree either.
  if (!mine || mine->map() != this) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return nullptr;
  }
  auto pos = mine->position();
  YcRxObject* old = pos->second;
  pos->second = value;
  return old;
}

YcRxObject* YcRxPEClassMap::remove(YcRxIterator* it) {
  if (!it || it->done()) return nullptr;
  YcRxPEClassMapIterator* mine = YcRxPEClassMapIterator::cast(it);
  // Another map's position must never touch this tree either.
  if (!mine || mine->map() != this) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return nullptr;
  }
  auto pos = mine->position();
  YcRxObject* value = pos->second;
  mine->next();  // step off the entry before it goes
  mTree.erase(pos);
  return value;
}

YcRxObject* YcRxPEClassMap::remove(const YcRxObject* key) {
  auto pos = mTree.find(key);
  if (pos == mTree.end()) return nullptr;
  YcRxObject* value = pos->second;
  mTree.erase(pos);
  return value;
}

YcRxObject* YcRxPEClassMap::find(const YcRxObject* key) const {
  if (!key) return nullptr;
  auto pos = mTree.find(key);
  return pos == mTree.end() ? nullptr : pos->second;
}

YcRxGenericMapIterator* YcRxPEClassMap::findIterator(const YcRxObject* key) const {
  if (!key) return nullptr;
  auto* self = const_cast<YcRxPEClassMap*>(this);
  auto pos = self->mTree.find(key);
  if (pos == self->mTree.end()) return nullptr;
  return new YcRxPEClassMapIterator(self, pos);
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
