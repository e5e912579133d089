// A hash index over the key strings of a dictionary, beside its array or key
// tree: the same answers as comparing texts under the keys' case rule, in
// constant time. Open addressing with linear probing, removal by backward
// shift, storage from the platform allocator. When memory runs out it stops
// answering (valid() turns false) and the owner falls back to its walk.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "KmHeap.h"
#include "YcRxString.h"
#include "core/YcRxInternal.h"

template <class Value>
class KmRxKeyHash {
public:
  // The text's hash under the case rule the compare uses.
  // A rotate and xor a character (no multiply on the chain), one mix at the end.
  static std::size_t hashOf(const wchar_t* text, bool ignoreCase) {
    std::uint64_t h = 0;
    for (; *text; ++text) {
      const auto c = static_cast<std::uint64_t>(ignoreCase ? kmrxFoldCase(*text) : static_cast<wint_t>(*text));
      h = ((h << 7) | (h >> 57)) ^ c;
    }
    h *= 0x9E3779B97F4A7C15ull;
    return static_cast<std::size_t>(h ^ (h >> 32));
  }

  bool valid() const { return mValid; }

  // The value stored for a key equal to text, or null (also when not valid).
  Value* find(const wchar_t* text) {
    const std::size_t at = slotOf(text);
    return at == kNone ? nullptr : &mSlots[at].value;
  }

  // Enters key, which has no equal here yet. A key of another case rule than
  // the first, or no memory, ends the index's answers.
  void insert(const YcRxString* key, const Value& value) {
    if (!mValid || !key) return;
    if (mCount == 0 && mSlots.empty()) mIgnoreCase = key->ignoresCase();
    if (key->ignoresCase() != mIgnoreCase || !reserveFor(mCount + 1)) return invalidate();
    place(Slot{hashOf(key->rawString(), mIgnoreCase), key, key->rawString(), value});
    ++mCount;
  }

  // The entry of text now compares against key (the same text, another string).
  void retarget(const wchar_t* text, const YcRxString* key) {
    const std::size_t at = slotOf(text);
    if (at != kNone) {
      mSlots[at].key = key;
      mSlots[at].text = key->rawString();
    }
  }

  // Removes the entry of a key equal to text, if any.
  void erase(const wchar_t* text) {
    std::size_t hole = slotOf(text);
    if (hole == kNone) return;
    // Backward shift: later members of the run move up into the hole.
    for (std::size_t i = (hole + 1) & mMask; mSlots[i].key; i = (i + 1) & mMask) {
      const std::size_t home = mSlots[i].hash & mMask;
      if (((i - home) & mMask) >= ((i - hole) & mMask)) {
        mSlots[hole] = mSlots[i];
        hole = i;
      }
    }
    mSlots[hole] = Slot();
    --mCount;
  }

  // Stops answering for good, as after running out of memory.
  void disable() { invalidate(); mDisabled = true; }

  // Empties the index and lets it answer again (unless disabled).
  void clear() {
    mSlots.clear();
    mSlots.shrink_to_fit();
    mCount = 0;
    mMask = 0;
    mValid = !mDisabled;
  }

private:
  struct Slot {
    std::size_t hash = 0;
    const YcRxString* key = nullptr;
    // The key's text, read without going through the string object: a key's
    // text does not move while it is a key.
    const wchar_t* text = nullptr;
    Value value = Value();
  };

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::size_t slotOf(const wchar_t* text) const {
    if (!mValid || mCount == 0 || !text) return kNone;
    const std::size_t h = hashOf(text, mIgnoreCase);
    for (std::size_t i = h & mMask;; i = (i + 1) & mMask) {
      const Slot& slot = mSlots[i];
      if (!slot.key) return kNone;
      if (slot.hash == h && kmrxCompareText(slot.text, text, mIgnoreCase) == 0) return i;
    }
  }

  void invalidate() {
    mSlots.clear();
    mSlots.shrink_to_fit();
    mCount = 0;
    mMask = 0;
    mValid = false;
  }

  void place(const Slot& slot) {
    std::size_t i = slot.hash & mMask;
    while (mSlots[i].key) i = (i + 1) & mMask;
    mSlots[i] = slot;
  }

  // Keeps the table at most half full.
  bool reserveFor(std::size_t count) {
    if (count * 2 <= mSlots.size()) return true;
    std::size_t size = mSlots.empty() ? 16 : mSlots.size() * 2;
    while (count * 2 > size) size *= 2;
    std::vector<Slot, KmStdAllocator<Slot>> old;
    try {
      std::vector<Slot, KmStdAllocator<Slot>> grown(size);
      old.swap(mSlots);
      mSlots.swap(grown);
    } catch (const std::bad_alloc&) {
      return false;
    }
    mMask = size - 1;
    for (const Slot& slot : old)
      if (slot.key) place(slot);
    return true;
  }

  std::vector<Slot, KmStdAllocator<Slot>> mSlots;
  std::size_t mMask = 0;
  std::size_t mCount = 0;
  bool mIgnoreCase = false;
  bool mValid = true;
  bool mDisabled = false;
};
