// Internal helpers of the demand-load registry.
#pragma once
#include "KmWideText.h"
#include "YcRxGenericCollection.h"
#include "YcRxIterator.h"
#include "core/YcRxInternal.h"

// "app/sub": the store's key of sub below application app.
void kmrxAppKey(wchar_t (&out)[kKmTextBuffer], const wchar_t* app, const wchar_t* sub);
// A new list from the kernel services ("ServiceDictionary" / "KernelServices").
YcRxGenericCollection* kmrxNewRegistryList();
// Deletes every object of list, then empties the list.
void kmrxDeleteListed(YcRxGenericCollection* list);

// The first object of list, as a T, whose nameOf(T*) equals name without regard to case.
template <class T, class NameOf>
T* kmrxFindNamed(const YcRxGenericCollection* list, const wchar_t* name, NameOf nameOf) {
  T* found = nullptr;
  YcRxIterator* it = list->newIterator();
  for (; !it->done() && !found; it->next()) {
    auto* candidate = static_cast<T*>(it->object());
    if (kmrxSameNameNoCase(nameOf(candidate), name)) found = candidate;
  }
  delete it;
  return found;
}
