// The general object map: keys ordered by their own comparedTo, stored as
// clones the map owns; values are never owned. Keys that cannot be ordered
// against each other count as the same key.
#pragma once
#include <map>
#include "KmHeap.h"
#include "YcRxGenericMap.h"

class KMRX_API YcRxMap : public YcRxGenericMap {
public:
  YCRX_DECLARE_MEMBERS(YcRxMap);

  struct YcRxObjLess {
    bool operator()(const YcRxObject* a, const YcRxObject* b) const;
  };
  typedef std::map<const YcRxObject*, YcRxObject*, YcRxObjLess,
                   KmStdAllocator<std::pair<const YcRxObject* const, YcRxObject*>>>
      Tree;

  YcRxMap();
  ~YcRxMap() override;
  YcRxMap(const YcRxMap&) = delete;
  YcRxMap& operator=(const YcRxMap&) = delete;

  YcRxIterator* newIterator() const override;
  YcRxGenericMapIterator* newMapIterator() const override;
  YcRxObject* remove(YcRxIterator* it) override;
  YcRxObject* remove(const YcRxObject* key) override;
  void removeAll() override;
  YcRxObject* setAt(const YcRxObject* key, YcRxObject* value) override;
  YcRxObject* setAt(YcRxIterator* it, YcRxObject* value) override;
  YcRxObject* find(const YcRxObject* key) const override;
  YcRxGenericMapIterator* findIterator(const YcRxObject* key) const override;
  // False for a key stored with a null value, which count() still counts; modules rely on it.
  bool has(const YcRxObject* key) const override { return find(key) != nullptr; }
  int count() const override { return static_cast<int>(mTree.size()); }

  Tree& tree() { return mTree; }

private:
  Tree mTree;
};

class KMRX_API YcRxMapIterator : public YcRxGenericMapIterator {
public:
  YCRX_DECLARE_MEMBERS(YcRxMapIterator);

  explicit YcRxMapIterator(YcRxMap* map);
  YcRxMapIterator(YcRxMap* map, YcRxMap::Tree::iterator position);

  bool done() const override;
  // Answers true when the end has now been reached, the reverse of the
  // dictionary iterator; modules rely on it.
  bool next() override;
  // Null on a finished iterator.
  YcRxObject* object() const override { return done() ? nullptr : mPos->second; }
  const YcRxObject* key() const override { return done() ? nullptr : mPos->first; }

  YcRxMap::Tree::iterator position() const { return mPos; }
  YcRxMap* map() const { return mpMap; }

private:
  YcRxMap* mpMap;
  YcRxMap::Tree::iterator mPos;
};
