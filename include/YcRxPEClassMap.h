// A class descriptor's protocol extensions: protocol class -> extension, in
// address order of the protocol classes. It never owns the extensions.
#pragma once
#include <cstdint>
#include <map>
#include <vector>
#include "KmHeap.h"
#include "YcRxGenericMap.h"

class KMRX_API YcRxPEClassMap : public YcRxGenericMap {
public:
  YCRX_DECLARE_MEMBERS(YcRxPEClassMap);

  struct YcRxPEClassLess {
    bool operator()(const YcRxObject* a, const YcRxObject* b) const { return a < b; }
  };
  typedef std::map<const YcRxObject*, YcRxObject*, YcRxPEClassLess,
                   KmStdAllocator<std::pair<const YcRxObject* const, YcRxObject*>>>
      Tree;

  YcRxPEClassMap();
  ~YcRxPEClassMap() override;
  YcRxPEClassMap(const YcRxPEClassMap&) = delete;
  YcRxPEClassMap& operator=(const YcRxPEClassMap&) = delete;

  YcRxIterator* newIterator() const override;
  YcRxGenericMapIterator* newMapIterator() const override;
  YcRxObject* remove(YcRxIterator* it) override;
  YcRxObject* remove(const YcRxObject* key) override;
  void removeAll() override {
    mTree.clear();
    mIndexStale = true;
  }
  YcRxObject* setAt(const YcRxObject* key, YcRxObject* value) override;
  YcRxObject* setAt(YcRxIterator* it, YcRxObject* value) override;
  YcRxObject* find(const YcRxObject* key) const override;
  YcRxGenericMapIterator* findIterator(const YcRxObject* key) const override;
  // False for a key stored with a null value, which count() still counts; modules rely on it.
  bool has(const YcRxObject* key) const override { return find(key) != nullptr; }
  int count() const override { return static_cast<int>(mTree.size()); }

  // find() without the virtual call, for the descriptor's queryX.
  YcRxObject* findDirect(const YcRxObject* key) const {
    if (mIndexStale || !key) return find(key);
    const std::size_t mask = mIndex.size() - 1;
    for (std::size_t i = indexSlot(key, mask);; i = (i + 1) & mask) {
      if (mIndex[i].key == key) return mIndex[i].position->second;
      if (!mIndex[i].key) return nullptr;
    }
  }

  // Whoever holds the tree may change it: the index is made again after.
  Tree& tree() {
    mIndexStale = true;
    return mTree;
  }

private:
  // A pointer hash over the tree's positions, made again after the tree
  // changes shape, so that a look-up (every queryX) takes constant time.
  struct IndexSlot {
    const YcRxObject* key;
    Tree::const_iterator position;
  };
  static std::size_t indexSlot(const YcRxObject* key, std::size_t mask) {
    return static_cast<std::size_t>((reinterpret_cast<std::uintptr_t>(key) >> 4) * 0x9E3779B97F4A7C15ull >> 20) &
           mask;
  }
  const IndexSlot* indexed(const YcRxObject* key) const;
  bool reindex() const;

  Tree mTree;
  mutable std::vector<IndexSlot, KmStdAllocator<IndexSlot>> mIndex;
  mutable bool mIndexStale = true;
};

class KMRX_API YcRxPEClassMapIterator : public YcRxGenericMapIterator {
public:
  YCRX_DECLARE_MEMBERS(YcRxPEClassMapIterator);

  YcRxPEClassMapIterator(YcRxPEClassMap* map, YcRxPEClassMap::Tree::iterator position);

  bool done() const override;
  bool next() override;
  YcRxObject* object() const override;
  const YcRxObject* key() const override;

  YcRxPEClassMap::Tree::iterator position() const { return mPos; }
  YcRxPEClassMap* map() const { return mpMap; }

private:
  YcRxPEClassMap* mpMap;
  YcRxPEClassMap::Tree::iterator mPos;
};
