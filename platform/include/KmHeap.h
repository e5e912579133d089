// The platform allocator used for runtime objects and strings.
#pragma once
#include <cstddef>
#include "KmRxExport.h"

KMRX_API void* _kmMalloc(std::size_t bytes);
KMRX_API void _kmFree(void* block);
// Copy of a wide string from _kmMalloc; null for null or when memory runs out.
KMRX_API wchar_t* _kmStrdup(const wchar_t* text);
KMRX_API void _kmStrdupFree(wchar_t* text);

#include <new>

// A standard-library allocator over the platform heap, so that the runtime's
// own containers fail where a test makes an allocation fail. It throws
// std::bad_alloc then, as the containers expect; the runtime catches it.
template <class T>
struct KmStdAllocator {
  using value_type = T;
  KmStdAllocator() noexcept = default;
  template <class U>
  KmStdAllocator(const KmStdAllocator<U>&) noexcept {}
  T* allocate(std::size_t n) {
    if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
    void* block = _kmMalloc(n * sizeof(T));
    if (!block) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* p, std::size_t) noexcept { _kmFree(p); }
  template <class U>
  bool operator==(const KmStdAllocator<U>&) const noexcept { return true; }
  template <class U>
  bool operator!=(const KmStdAllocator<U>&) const noexcept { return false; }
};
