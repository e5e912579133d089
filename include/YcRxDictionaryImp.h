// The one dictionary implementation: an item array (ids are index + 1, freed
// slots reused lowest first) and, when sorted, a key index over it.
#pragma once
#include <map>
#include "KmHeap.h"
#include "YcArray.h"
#include "YcRxDictionary.h"
#include "YcRxString.h"

// One slot: a null key marks it free. Equality looks at keys only.
class KMRX_API YcRxDicItem {
public:
  YcRxDicItem() : mpKey(nullptr), mpValue(nullptr) {}
  YcRxDicItem(YcRxString* key, YcRxObject* value) : mpKey(key), mpValue(value) {}

  YcRxString*& key() { return mpKey; }
  const YcRxString* key() const { return mpKey; }
  YcRxObject*& value() { return mpValue; }
  YcRxObject* value() const { return mpValue; }

  bool operator==(const YcRxDicItem& other) const;
  bool operator!=(const YcRxDicItem& other) const { return !(*this == other); }

private:
  YcRxString* mpKey;
  YcRxObject* mpValue;
};

// Ordered index from key string to item index. It borrows the strings.
class KMRX_API YcRxStringToIdMap {
public:
  // Orders key strings as YcRxStringLessOpr does, and also compares them with
  // bare text under the key's own case rule, so look-ups need no temporary key.
  struct Less {
    using is_transparent = void;
    bool operator()(const YcRxString* a, const YcRxString* b) const { return YcRxStringLessOpr()(a, b); }
    bool operator()(const YcRxString* a, const wchar_t* b) const;
    bool operator()(const wchar_t* a, const YcRxString* b) const;
  };
  typedef std::map<const YcRxString*, int, Less,
                   KmStdAllocator<std::pair<const YcRxString* const, int>>>
      Map;
  typedef Map::iterator iterator;
  typedef Map::const_iterator const_iterator;

  int getAt(const YcRxString* key) const;
  int getAt(const wchar_t* text) const;
  iterator getIteratorAt(const YcRxString* key);
  // Position of the key equal to text (under the stored keys' case rule), or end.
  iterator find(const wchar_t* text) { return mMap.find(text); }
  int& append(const YcRxString* key);
  // False when there was no memory for the entry (nothing is entered then).
  bool append(const YcRxString* key, int index);
  const YcRxString* removeAt(const YcRxString* key);
  const YcRxString* removeAt(iterator position);
  // Moves the entry at position to newKey with index, as removeAt and append
  // would, without allocating; an entry equal to newKey that is already there
  // is kept instead.
  void rekey(iterator position, const YcRxString* newKey, int index);
  void wipeout() { mMap.clear(); }
  int count() const { return static_cast<int>(mMap.size()); }
  iterator begin() { return mMap.begin(); }
  iterator end() { return mMap.end(); }
  const_iterator begin() const { return mMap.begin(); }
  const_iterator end() const { return mMap.end(); }

private:
  Map mMap;
};

class KMRX_API YcRxDictionaryImp : public YcRxDictionary {
public:
  YCRX_DECLARE_MEMBERS(YcRxDictionaryImp);

  typedef YcArray<YcRxDicItem, YcArrayObjectCopyReallocator<YcRxDicItem>> ItemArray;

  static YcRxDictionary* createDictionary(unsigned int length, bool deletesObjects, bool sorted,
                                          bool ignoreCase, const YcRxClass* filter);

  YcRxDictionaryImp();
  YcRxDictionaryImp(unsigned int length, bool deletesObjects, bool sorted, bool ignoreCase,
                    const YcRxClass* filter);
  ~YcRxDictionaryImp() override;

  YcRxObject* at(const wchar_t* key) const override;
  YcRxObject* at(unsigned int id) const override;
  YcRxObject* atPut(const wchar_t* key, YcRxObject* value, unsigned int& id) override;
  YcRxObject* atPut(unsigned int id, YcRxObject* value) override;
  bool resetKey(const wchar_t* oldKey, const wchar_t* newKey) override;
  bool resetKey(unsigned int id, const wchar_t* newKey) override;
  bool atKeyAndIdPut(const wchar_t* key, unsigned int id, YcRxObject* value) override;
  YcRxObject* remove(const wchar_t* key) override;
  YcRxObject* remove(unsigned int id) override;
  bool has(const wchar_t* key) const override;
  bool has(unsigned int id) const override;
  unsigned int idAt(const wchar_t* key) const override;
  const wchar_t* keyAt(unsigned int id) const override;
  unsigned int numEntries() const override;
  YcRxDictionaryIterator* newIterator(YcRx::DictIterType type = YcRx::kDictKeyOrder) override;
  bool deletesObjects() const override { return mDeletesObjects; }
  bool isCaseSensitive() const override { return mCaseSensitive; }
  bool isSorted() const override { return mpKeyIndex != nullptr; }

  YcRxObject* atPut(const wchar_t* key, YcRxObject* value);
  void clear(bool deleteValues);
  YcRxDicItem* getAt(int index);
  const YcRxDicItem* getAt(int index) const;
  YcRxDicItem* getAt(const wchar_t* key, int* index);
  const YcRxDicItem* getAt(const wchar_t* key, int* index) const;
  YcRxObject* swapValue(const YcRxDicItem* item, YcRxObject* value);
  YcRxDicItem* makeEmptyItem(int& index);
  YcRxDicItem* makeItemAt(int index);
  YcRxObject* filterRxObject(YcRxObject* value) const;
  bool hasFilter() const { return mpFilter != nullptr; }
  static int idToIdx(unsigned int id) { return static_cast<int>(id) - 1; }
  static unsigned int idxToId(int index) { return static_cast<unsigned int>(index + 1); }

  // For the iterator: the item array (logical length = end) and key index.
  // A dictionary whose construction ran out of memory has no array; it reads
  // as empty.
  const ItemArray& items() const;
  // Whether construction got its item array (and key index when sorted).
  bool isComplete() const;
  const YcRxStringToIdMap* keyIndex() const { return mpKeyIndex; }

private:
  YcRxString* makeKey(const wchar_t* text) const;
  YcRxObject* removeItem(int index);
  // The hash index follows a key that changed at index.
  void rekeyed(const YcRxString* oldKey, const YcRxString* newKey, int index);

  ItemArray* mpItems;
  YcRxStringToIdMap* mpKeyIndex;
  const YcRxClass* mpFilter;
  bool mDeletesObjects;
  bool mCaseSensitive;
};
