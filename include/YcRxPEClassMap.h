// A class descriptor's protocol extensions: protocol class -> extension, in
// address order of the protocol classes. It never owns the extensions.
#pragma once
#include <map>
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
  void removeAll() override { mTree.clear(); }
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
