// A table from names (texts that stay put while they are keys, such as a
// registered command's own name) to values, compared without regard to case:
// open addressing over a power-of-two array, so a look-up is one hash, one
// probe run and one compare. Grows by doubling; throws std::bad_alloc like
// the standard containers, for the owner to catch; memory from the platform allocator.
#pragma once
#include <cstddef>
#include <vector>

#include "containers/KmRxKeyHash.h"
#include "core/YcRxInternal.h"

template <class Value>
class KmRxNameTable {
public:
  // The value of a name equal to text, or null.
  Value* find(const wchar_t* text) {
    if (mCount == 0 || !text) return nullptr;
    const std::size_t h = KmRxKeyHash<int>::hashOf(text, true);
    for (std::size_t i = h & mMask;; i = (i + 1) & mMask) {
      Slot& slot = mSlots[i];
      if (!slot.text) return nullptr;
      if (slot.hash == h && kmrxCompareNoCase(slot.text, text) == 0) return &slot.value;
    }
  }

  // The value of text, made from value when the name is new; second is true then.
  std::pair<Value*, bool> emplace(const wchar_t* text, const Value& value) {
    if (Value* held = find(text)) return {held, false};
    if ((mCount + 1) * 2 > mSlots.size()) grow();
    const std::size_t h = KmRxKeyHash<int>::hashOf(text, true);
    std::size_t i = h & mMask;
    while (mSlots[i].text) i = (i + 1) & mMask;
    mSlots[i] = Slot{h, text, value};
    ++mCount;
    return {&mSlots[i].value, true};
  }

  void clear() {
    std::vector<Slot, KmStdAllocator<Slot>>().swap(mSlots);
    mCount = 0;
    mMask = 0;
  }

private:
  struct Slot {
    std::size_t hash = 0;
    const wchar_t* text = nullptr;
    Value value{};
  };

  void grow() {
    std::vector<Slot, KmStdAllocator<Slot>> grown(mSlots.empty() ? 64 : mSlots.size() * 2);
    const std::size_t mask = grown.size() - 1;
    for (Slot& slot : mSlots) {
      if (!slot.text) continue;
      std::size_t i = slot.hash & mask;
      while (grown[i].text) i = (i + 1) & mask;
      grown[i] = std::move(slot);
    }
    mSlots.swap(grown);
    mMask = mask;
  }

  std::vector<Slot, KmStdAllocator<Slot>> mSlots;
  std::size_t mCount = 0;
  std::size_t mMask = 0;
};
