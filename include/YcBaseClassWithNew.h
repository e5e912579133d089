// Allocation mix-ins: objects of classes that derive from them live in the
// platform heap (_kmMalloc/_kmFree). new yields null when memory runs out.
#pragma once
#include <cstddef>
#include "KmHeap.h"
#include "KmRxExport.h"

class YcBaseClassWithNew {
public:
  static void* operator new(std::size_t size) noexcept { return _kmMalloc(size); }
  static void operator delete(void* p) noexcept {
    if (p) _kmFree(p);
  }
};

class KmHeapOp {
public:
  static void* operator new(std::size_t size) noexcept { return _kmMalloc(size); }
  static void operator delete(void* p) noexcept {
    if (p) _kmFree(p);
  }
};
