#include "KmHeap.h"
#include "KmOsCalls.h"

#include <cwchar>

void* _kmMalloc(std::size_t bytes) { return kmOsAlloc(bytes == 0 ? 1 : bytes); }

void _kmFree(void* block) {
  if (block) kmOsRelease(block);
}

wchar_t* _kmStrdup(const wchar_t* text) {
  if (!text) return nullptr;
  const std::size_t n = std::wcslen(text) + 1;
  auto* copy = static_cast<wchar_t*>(_kmMalloc(n * sizeof(wchar_t)));
  if (copy) std::wmemcpy(copy, text, n);
  return copy;
}

void _kmStrdupFree(wchar_t* text) { _kmFree(text); }
