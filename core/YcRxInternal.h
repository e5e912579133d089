// Internal helpers shared by the runtime's own sources.
#pragma once
#include <cstdarg>
#include <cwchar>
#include <cwctype>

class YcRxClass;

// Reports through the module global's fatal-error routine (or straight to
// ycrx_abort_v before start-up) and returns.
void kmrxFatal(const wchar_t* format, ...);
void kmrxFatalCode(int code);

// The root descriptor slot: set by InitRxRootObject, never cleared.
YcRxClass*& kmrxRootDescSlot();

// Registers the runtime's own classes, in start-up order.
void kmrxRegisterRuntimeClasses();

// wcscasecmp with the same answers, without a locale call for ASCII letters:
// case-blind look-ups (class, service and module names) sit on hot paths.
int kmrxCompareNoCase(const wchar_t* a, const wchar_t* b);
// One character as kmrxCompareNoCase compares it: two texts compare equal
// exactly when their folded characters are equal, so indexes can key on it.
wint_t kmrxFoldCase(wchar_t c);
// Equal without regard to case; a null name equals nothing.
inline bool kmrxSameNameNoCase(const wchar_t* a, const wchar_t* b) {
  return a && b && kmrxCompareNoCase(a, b) == 0;
}
// Compares a and b exactly, or without regard to case.
inline int kmrxCompareText(const wchar_t* a, const wchar_t* b, bool ignoreCase) {
  return ignoreCase ? kmrxCompareNoCase(a, b) : std::wcscmp(a, b);
}
