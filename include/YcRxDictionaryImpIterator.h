// The dictionary's iterator: key order over a sorted dictionary's key index,
// otherwise id order over the item array, skipping free slots.
#pragma once
#include "YcRxDictionaryImp.h"

class KMRX_API YcRxDictionaryImpIterator : public YcRxDictionaryIterator {
public:
  YCRX_DECLARE_MEMBERS(YcRxDictionaryImpIterator);

  YcRxDictionaryImpIterator();
  YcRxDictionaryImpIterator(const YcRxDictionaryImp* dict, YcRx::DictIterType type);

  bool done() const override;
  bool next() override;
  YcRxObject* object() const override;
  const wchar_t* key() const override;
  unsigned int id() const override;

  const YcRxDicItem* getCurDicItem() const;
  YcRx::DictIterType order() const { return mType; }
  // Positions the iterator on the first entry in the order it was asked for.
  void updateItrData();

private:
  int arrayEnd() const { return mpDict->items().length(); }

  const YcRxDictionaryImp* mpDict;
  YcRx::DictIterType mType;
  // Current slot by index, so growth of the item array cannot strand it.
  int mCurIndex;
  YcRxStringToIdMap::const_iterator mKeyPos;
};
