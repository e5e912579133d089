// Visiting a dictionary's entries or a collection's objects from inside the
// runtime without allocating an iterator when the container is the runtime's
// own implementation, so that walks which must not fail (teardown, unload,
// look-ups) cannot run out of memory.
#pragma once
#include "YcRxDictionaryImp.h"
#include "YcRxDictionaryImpIterator.h"
#include "YcRxLinkedList.h"
#include "core/YcRxInternal.h"

// Calls visit(iterator) for each entry in the given order. The visitor may
// remove the entry it stands on when walking in id order.
template <class Visit>
void kmrxVisitEntries(YcRxDictionary* dict, YcRx::DictIterType type, Visit visit) {
  if (!dict) return;
  if (auto* imp = dynamic_cast<YcRxDictionaryImp*>(dict)) {
    YcRxDictionaryImpIterator it(imp, type);
    for (; !it.done(); it.next()) visit(static_cast<YcRxDictionaryIterator&>(it));
    return;
  }
  YcRxDictionaryIterator* it = dict->newIterator(type);
  if (!it) {
    kmrxOutOfMemory(L"an iterator over a dictionary");
    return;
  }
  for (; !it->done(); it->next()) visit(*it);
  delete it;
}

// Calls visit(object) for each object of the collection, front first, until
// visit returns true; answers that object, or null.
template <class Visit>
YcRxObject* kmrxFindInCollection(const YcRxGenericCollection* list, Visit visit) {
  if (!list) return nullptr;
  if (auto* linked = dynamic_cast<const YcRxLinkedList*>(list)) {
    for (YcRxLinkedNode* node = linked->frontNode(); node; node = node->next())
      if (visit(node->object())) return node->object();
    return nullptr;
  }
  YcRxIterator* it = list->newIterator();
  if (!it) {
    kmrxOutOfMemory(L"an iterator over a collection");
    return nullptr;
  }
  YcRxObject* found = nullptr;
  for (; !it->done() && !found; it->next())
    if (visit(it->object())) found = it->object();
  delete it;
  return found;
}
