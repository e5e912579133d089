// The runtime's static toolkit for raw wide strings in the platform heap.
#pragma once
#include <cstdarg>
#include <cwchar>
#include "KmHeap.h"
#include "KmRxExport.h"
#include "KmWideText.h"

class KMRX_API KmCharOp {
public:
  typedef void* (*Allocator)(unsigned long bytes);
  typedef void (*Releaser)(void* p);

  static void* zalloc(unsigned long bytes) { return _kmMalloc(bytes); }
  static void zfree(void* p) {
    if (p) _kmFree(p);
  }

  static const wchar_t* next(const wchar_t* p) { return p + 1; }
  static const wchar_t* next(const wchar_t* p, unsigned long n) { return p + n; }
  static unsigned long length(const wchar_t* s) { return s ? std::wcslen(s) : 0; }
  static unsigned long numOfChars(const wchar_t* s) { return s ? std::wcslen(s) : 0; }
  static int copy(wchar_t* dst, unsigned long dstCount, const wchar_t* src, unsigned long count) {
    return wmemcpy_s(dst, dstCount, src, count);
  }
  static int format(wchar_t* buf, const wchar_t* fmt, ...);
  static int format(wchar_t* buf, const wchar_t* fmt, va_list args) { return vswprintf(buf, fmt, args); }
  // wcscasecmp's answers, from the runtime's own compare (no locale call for ASCII).
  static int compareNoCase(const wchar_t* a, const wchar_t* b);

  template <typename C>
  static unsigned long sizeOfNum(unsigned long n) { return (n + 1) * sizeof(C); }

  template <typename C>
  static C* create(unsigned long bytes, Allocator allocator = zalloc) {
    return static_cast<C*>(allocator(bytes));
  }

  template <typename C>
  static C* clone(const C* s, Allocator allocator = zalloc) {
    return clone<C>(s, numOfChars(s), allocator);
  }
  template <typename C>
  static C* clone(const C* s, unsigned long n, Allocator allocator = zalloc) {
    return clone<C>(s, n, n, allocator);
  }
  template <typename C>
  static C* clone(const C* s, unsigned long n, unsigned long capacity, Allocator allocator) {
    const unsigned long room = n > capacity ? n : capacity;
    C* p = create<C>(sizeOfNum<C>(room), allocator);
    if (!p) return nullptr;
    copy(p, room, s, n);
    p[n] = 0;
    return p;
  }

  template <typename C>
  static void release(C* p, Releaser freeFunction = zfree) { freeFunction(p); }

  // First ch at or after start; *pos gets its index, or -1.
  template <typename C>
  static const C* find(const C* s, C ch, unsigned long start = 0, int* pos = nullptr) {
    if (s && ch != 0 && start <= numOfChars(s)) {
      for (const C* p = s + start; *p; ++p) {
        if (*p == ch) {
          if (pos) *pos = static_cast<int>(p - s);
          return p;
        }
      }
    }
    if (pos) *pos = -1;
    return nullptr;
  }

  // First character at or after start that occurs in set; *pos as for find.
  template <typename C>
  static const C* findOneOf(const C* s, const C* set, unsigned long start = 0, int* pos = nullptr) {
    if (s && set && start <= numOfChars(s)) {
      for (const C* p = s + start; *p; ++p) {
        for (const C* q = set; *q; ++q) {
          if (*p == *q) {
            if (pos) *pos = static_cast<int>(p - s);
            return p;
          }
        }
      }
    }
    if (pos) *pos = -1;
    return nullptr;
  }
};
