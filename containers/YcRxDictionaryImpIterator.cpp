// Dictionary iteration in key order (sorted dictionaries) or id order.
#include "YcRxDictionaryImpIterator.h"

YCRX_DEFINE_MEMBERS(YcRxIterator, L"AcRxIterator", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxDictionaryIterator, L"AcRxDictionaryIterator", L"AcRxIterator")
YCRX_DEFINE_MEMBERS(YcRxDictionaryImpIterator, L"YcRxDictionaryImpIterator", L"AcRxDictionaryIterator")

YcRxDictionaryImpIterator::YcRxDictionaryImpIterator()
    : mpDict(nullptr), mType(YcRx::kDictIdOrder), mCurIndex(0), mKeyPos() {}

YcRxDictionaryImpIterator::YcRxDictionaryImpIterator(const YcRxDictionaryImp* dict,
                                                     YcRx::DictIterType type)
    : mpDict(dict), mType(type), mCurIndex(0), mKeyPos() {
  updateItrData();
}

void YcRxDictionaryImpIterator::updateItrData() {
  if (!mpDict) return;
  if (mpDict->isSorted() && mType == YcRx::kDictKeyOrder) {
    mKeyPos = mpDict->keyIndex()->begin();
    return;
  }
  // Key order asked of an unsorted dictionary quietly walks in id order; modules rely on it.
  mType = YcRx::kDictIdOrder;
  const YcRxDicItem* items = mpDict->items().asArrayPtr();
  const int end = arrayEnd();
  int i = 0;
  while (i < end && !items[i].key()) ++i;
  mCurIndex = i;
}

bool YcRxDictionaryImpIterator::done() const {
  if (!mpDict) return true;
  if (mType == YcRx::kDictKeyOrder) return mKeyPos == mpDict->keyIndex()->end();
  return mCurIndex >= arrayEnd();
}

bool YcRxDictionaryImpIterator::next() {
  if (done()) return false;
  if (mType == YcRx::kDictKeyOrder) {
    ++mKeyPos;
    return mKeyPos != mpDict->keyIndex()->end();
  }
  const YcRxDicItem* items = mpDict->items().asArrayPtr();
  const int end = arrayEnd();
  do {
    ++mCurIndex;
  } while (mCurIndex < end && !items[mCurIndex].key());
  return mCurIndex < end;
}

const YcRxDicItem* YcRxDictionaryImpIterator::getCurDicItem() const {
  if (done()) return nullptr;
  if (mType == YcRx::kDictKeyOrder) return mpDict->getAt(mKeyPos->second);
  return mpDict->items().asArrayPtr() + mCurIndex;
}

YcRxObject* YcRxDictionaryImpIterator::object() const {
  const YcRxDicItem* item = getCurDicItem();
  return item ? item->value() : nullptr;
}

const wchar_t* YcRxDictionaryImpIterator::key() const {
  const YcRxDicItem* item = getCurDicItem();
  return item && item->key() ? item->key()->rawString() : nullptr;
}

unsigned int YcRxDictionaryImpIterator::id() const {
  if (done()) return 0;
  if (mType == YcRx::kDictKeyOrder) return YcRxDictionaryImp::idxToId(mKeyPos->second);
  return YcRxDictionaryImp::idxToId(mCurIndex);
}
