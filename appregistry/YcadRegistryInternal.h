// Internal helpers of the demand-load registry.
#pragma once

class YcRxGenericCollection;

// A new list from the kernel services ("ServiceDictionary" / "KernelServices").
YcRxGenericCollection* kmrxNewRegistryList();
// Equal without regard to case; a null name equals nothing.
bool kmrxSameNameNoCase(const wchar_t* a, const wchar_t* b);
