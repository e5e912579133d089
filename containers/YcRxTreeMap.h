// The search, insert and remove code of the runtime's two maps over a std::map,
// YcRxMap and YcRxPEClassMap. A map offers tree(); its iterator class offers
// cast(), map() and position().
#pragma once
#include "YcRxGenericMapIterator.h"
#include "core/YcRxInternal.h"

// YcRxMap owns the key clones it stores; the protocol-extension map owns nothing.
enum class KmrxTreeKeys { kBorrowed, kOwned };

// kFirst reports an iterator of another class even when it is null or done;
// kAfterDone lets null and done iterators of any class pass unreported. Each
// map method keeps the order it has always had.
enum class KmrxClassCheck { kAfterDone, kFirst };

template <class Tree>
YcRxObject* kmrxTreeFind(const Tree& tree, const YcRxObject* key) {
  if (!key) return nullptr;
  auto pos = tree.find(key);
  return pos == tree.end() ? nullptr : pos->second;
}

// The interface hands out iterators, which are writable positions, from const maps.
template <class MapIterator, class Map>
YcRxGenericMapIterator* kmrxTreeFindIterator(const Map* map, const YcRxObject* key) {
  if (!key) return nullptr;
  auto* self = const_cast<Map*>(map);
  auto pos = self->tree().find(key);
  if (pos == self->tree().end()) return nullptr;
  return new MapIterator(self, pos);
}

// The map's own iterator behind it, standing on an entry; otherwise null,
// after reporting a foreign iterator (wrong class, or another map's position,
// which must never touch this tree).
template <class MapIterator, class Map>
MapIterator* kmrxTreeOwnIterator(const Map* map, YcRxIterator* it, KmrxClassCheck check) {
  MapIterator* mine = MapIterator::cast(it);
  if (!mine && check == KmrxClassCheck::kFirst) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return nullptr;
  }
  if (!it || it->done()) return nullptr;
  if (!mine || mine->map() != map) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return nullptr;
  }
  return mine;
}

// Replaces the value at the iterator's entry and answers the old one.
template <class MapIterator, class Map>
YcRxObject* kmrxTreeSetAt(Map* map, YcRxIterator* it, YcRxObject* value) {
  MapIterator* mine = kmrxTreeOwnIterator<MapIterator>(map, it, KmrxClassCheck::kAfterDone);
  if (!mine) return nullptr;
  auto pos = mine->position();
  YcRxObject* old = pos->second;
  pos->second = value;
  return old;
}

// Erases the entry and answers its value; the value is never the map's to delete.
template <class Tree>
YcRxObject* kmrxTreeErase(Tree& tree, typename Tree::iterator pos, KmrxTreeKeys keys) {
  const YcRxObject* storedKey = pos->first;
  YcRxObject* value = pos->second;
  tree.erase(pos);
  if (keys == KmrxTreeKeys::kOwned) delete storedKey;
  return value;
}

// No check for a null key: YcRxMap can hold one (a key that could not clone)
// and refuses null itself, the protocol-extension map never stores one.
template <class Tree>
YcRxObject* kmrxTreeRemove(Tree& tree, const YcRxObject* key, KmrxTreeKeys keys) {
  auto pos = tree.find(key);
  return pos == tree.end() ? nullptr : kmrxTreeErase(tree, pos, keys);
}

template <class MapIterator, class Map>
YcRxObject* kmrxTreeRemove(Map* map, YcRxIterator* it, KmrxClassCheck check, KmrxTreeKeys keys) {
  MapIterator* mine = kmrxTreeOwnIterator<MapIterator>(map, it, check);
  if (!mine) return nullptr;
  auto pos = mine->position();
  mine->next();  // step off the entry first, so the iterator stays usable
  return kmrxTreeErase(map->tree(), pos, keys);
}
