// What a dictionary keeps beside its item array, allocated with it: a hash
// index over the keys and the lowest slot that may be free. The dictionary's
// item-array pointer points at this object's array base, so the public class
// gets no field. Internal to the containers.
#pragma once
#include "YcRxDictionaryImp.h"
#include "containers/KmRxKeyHash.h"

struct YcRxDictionaryStore : YcRxDictionaryImp::ItemArray {
  explicit YcRxDictionaryStore(int length) : YcRxDictionaryImp::ItemArray(length, 8) {}

  // Sorted: the item index the key index holds for the text. Unsorted: the
  // first (lowest) index holding the text, and how many hold it, since
  // equal keys may stand side by side and look-ups find the first.
  struct Entry {
    int index;
    int count;
  };
  KmRxKeyHash<Entry> keys;
  // Every slot below it is in use.
  int freeHint = 0;
  // For tests: answer by the plain walks (key index or first match, free
  // slots from 0), as the reference the indexes must agree with.
  bool walksOnly = false;

  static YcRxDictionaryStore* of(YcRxDictionaryImp::ItemArray* items) {
    return static_cast<YcRxDictionaryStore*>(items);
  }

  // Unsorted: key, at index, now stands in the array.
  void keyAdded(const YcRxString* key, int index) {
    Entry* entry = keys.find(key->rawString());
    if (!entry) return keys.insert(key, Entry{index, 1});
    ++entry->count;
    if (index < entry->index) {
      entry->index = index;
      keys.retarget(key->rawString(), key);
    }
  }

  // Unsorted: the key at index is about to go (still in place).
  void keyRemoved(const wchar_t* text, int index) {
    Entry* entry = keys.find(text);
    if (!entry) return;
    if (--entry->count == 0) return keys.erase(text);
    if (entry->index != index) return;
    // The first of equal keys goes: the next one becomes the first.
    YcRxDicItem* all = asArrayPtr();
    for (int i = index + 1, n = length(); i < n; ++i)
      if (all[i].key() && kmrxCompareText(all[i].key()->rawString(), text, all[i].key()->ignoresCase()) == 0) {
        entry->index = i;
        keys.retarget(text, all[i].key());
        return;
      }
    keys.erase(text);  // counted wrong: forget it rather than answer wrong
  }

  void useWalksOnly() {
    walksOnly = true;
    keys.disable();
  }

  // Unsorted: a slot below the hint became free.
  void slotFreed(int index) {
    if (index < freeHint) freeHint = index;
  }

  // Sorted: the hash takes what the key index holds for text now.
  void follow(YcRxStringToIdMap& index, const wchar_t* text) {
    keys.erase(text);
    auto position = index.find(text);
    if (position != index.end()) keys.insert(position->first, Entry{position->second, 1});
  }
};
