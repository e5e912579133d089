// Internal helpers of the demand-load registry.
#pragma once
#include "KmWideText.h"
#include "YcRxGenericCollection.h"
#include "YcRxIterator.h"
#include "containers/KmRxVisit.h"
#include "core/YcRxInternal.h"

// "app/sub": the store's key of sub below application app.
void kmrxAppKey(wchar_t (&out)[kKmTextBuffer], const wchar_t* app, const wchar_t* sub);
// A new list from the kernel services ("ServiceDictionary" / "KernelServices").
YcRxGenericCollection* kmrxNewRegistryList();
// Deletes every object of list, then empties the list.
void kmrxDeleteListed(YcRxGenericCollection* list);
// Puts an object the registry owns at the front of list; when there is no
// list or no memory for the node, the object is deleted, it is reported,
// and the answer is false.
bool kmrxAddOwnedFront(YcRxGenericCollection* list, YcRxObject* object);

// Any change of the registry's records, groups or commands: the command
// index is made again on the next look-up.
void kmrxDemandLoadChanged();

// The first object of list, as a T, whose nameOf(T*) equals name without regard to case.
template <class T, class NameOf>
T* kmrxFindNamed(const YcRxGenericCollection* list, const wchar_t* name, NameOf nameOf) {
  return static_cast<T*>(kmrxFindInCollection(list, [&](YcRxObject* object) {
    return object && kmrxSameNameNoCase(nameOf(static_cast<T*>(object)), name);
  }));
}
