// Internal helpers shared by the runtime's own sources.
#pragma once
#include <cstdarg>
#include <cwchar>
#include <cwctype>
#include <new>
#include <utility>

#include "KmErrorStatus.h"
#include "KmHeap.h"

class YcRxClass;

// Reports through the module global's fatal-error routine (or straight to
// ycrx_abort_v before start-up) and returns.
void kmrxFatal(const wchar_t* format, ...);
void kmrxFatalCode(int code);

// The root descriptor slot: set by InitRxRootObject, never cleared.
YcRxClass*& kmrxRootDescSlot();

// Registers the runtime's own classes, in start-up order.
void kmrxRegisterRuntimeClasses();
// The name of the first runtime class that is not registered, or null.
const wchar_t* kmrxMissingRuntimeClass();
// The name of a runtime class not linked to its parent, or null.
const wchar_t* kmrxUnlinkedRuntimeClass();

// wcscasecmp with the same answers, without a locale call for ASCII letters:
// case-blind look-ups (class, service and module names) sit on hot paths.
int kmrxCompareNoCase(const wchar_t* a, const wchar_t* b);
// One character as kmrxCompareNoCase compares it: two texts compare equal
// exactly when their folded characters are equal, so indexes can key on it.
// Inline for ASCII: hashing a key folds every character.
wint_t kmrxFoldCaseWide(wchar_t c);
inline wint_t kmrxFoldCase(wchar_t c) {
  if (c < 0x80) return (c >= L'A' && c <= L'Z') ? static_cast<wint_t>(c + 32) : static_cast<wint_t>(c);
  return kmrxFoldCaseWide(c);
}
// Equal without regard to case; a null name equals nothing.
inline bool kmrxSameNameNoCase(const wchar_t* a, const wchar_t* b) {
  return a && b && kmrxCompareNoCase(a, b) == 0;
}
// Compares a and b exactly, or without regard to case.
inline int kmrxCompareText(const wchar_t* a, const wchar_t* b, bool ignoreCase) {
  return ignoreCase ? kmrxCompareNoCase(a, b) : std::wcscmp(a, b);
}

// Exhausted memory: reported through the fatal-error service ("Out of memory:
// <what>"), so that no fallback passes without a trace.
void kmrxOutOfMemory(const wchar_t* what);

// A plain (non-runtime) object in the platform heap: null when memory runs
// out, also when its constructor throws for want of memory.
template <class T, class... Args>
T* kmrxNew(Args&&... args) noexcept {
  void* block = _kmMalloc(sizeof(T));
  if (!block) return nullptr;
  try {
    return ::new (block) T(std::forward<Args>(args)...);
  } catch (KmErrorStatus* error) {  // what the array template throws
    delete error;
  } catch (const std::bad_alloc&) {
  }
  _kmFree(block);
  return nullptr;
}

template <class T>
void kmrxDelete(T* object) noexcept {
  if (!object) return;
  object->~T();
  _kmFree(object);
}

// Runs an operation of the array template or a container; false when it
// threw for want of memory (or any misuse the array reports), which is then
// reported as running out of memory for what.
template <class Operation>
bool kmrxTry(const wchar_t* what, Operation operation) noexcept {
  try {
    operation();
    return true;
  } catch (KmErrorStatus* error) {
    delete error;
  } catch (const std::bad_alloc&) {
  }
  kmrxOutOfMemory(what);
  return false;
}
