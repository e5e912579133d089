// The growable array used for all internal lists. It doubles while its storage
// is under 64 KiB and then grows in 64 KiB steps, never by less than its grow
// length. Misuse and exhausted memory throw a heap-allocated KmErrorStatus.
// Its storage comes from the platform allocator.
#pragma once
#include <cstring>
#include <new>
#include "KmErrorStatus.h"
#include "KmHeap.h"

// Moves elements by copying bytes: pointers and plain values.
template <typename T>
class YcArrayMemCopyReallocator {
public:
  static void reallocate(T* dst, T* src, int count) {
    if (count > 0) std::memcpy(static_cast<void*>(dst), static_cast<const void*>(src), sizeof(T) * count);
  }
};

// Moves elements by assignment: value records with owning members.
template <typename T>
class YcArrayObjectCopyReallocator {
public:
  static void reallocate(T* dst, T* src, int count) {
    for (int i = 0; i < count; ++i) dst[i] = src[i];
  }
};

template <typename T, typename R = YcArrayMemCopyReallocator<T>>
class YcArray {
public:
  explicit YcArray(int physicalLength = 0, int growLength = 8)
      : mpArray(nullptr), mPhysicalLen(0), mLogicalLen(0), mGrowLen(growLength < 1 ? 1 : growLength) {
    if (physicalLength < 0) fail(Ycad::eNegativeValue);
    if (physicalLength > 0) {
      mpArray = allocate(physicalLength);
      mPhysicalLen = physicalLength;
    }
  }

  YcArray(const YcArray& other) : YcArray(other.mLogicalLen, other.mGrowLen) {
    R::reallocate(mpArray, other.mpArray, other.mLogicalLen);
    mLogicalLen = other.mLogicalLen;
  }

  YcArray& operator=(const YcArray& other) {
    if (this != &other) {
      if (mPhysicalLen < other.mLogicalLen) {
        T* fresh = allocate(other.mLogicalLen);
        destroy(mpArray, mPhysicalLen);
        mpArray = fresh;
        mPhysicalLen = other.mLogicalLen;
      }
      R::reallocate(mpArray, other.mpArray, other.mLogicalLen);
      mLogicalLen = other.mLogicalLen;
      mGrowLen = other.mGrowLen;
    }
    return *this;
  }

  ~YcArray() { destroy(mpArray, mPhysicalLen); }

  T& operator[](int i) { return mpArray[checked(i)]; }
  const T& operator[](int i) const { return mpArray[checked(i)]; }
  T& at(int i) { return mpArray[checked(i)]; }
  const T& at(int i) const { return mpArray[checked(i)]; }
  T& first() { return at(0); }
  const T& first() const { return at(0); }
  T& last() { return at(mLogicalLen - 1); }
  const T& last() const { return at(mLogicalLen - 1); }
  T* asArrayPtr() { return mpArray; }
  const T* asArrayPtr() const { return mpArray; }

  int length() const { return mLogicalLen; }
  int logicalLength() const { return mLogicalLen; }
  int physicalLength() const { return mPhysicalLen; }
  int growLength() const { return mGrowLen; }
  bool isEmpty() const { return mLogicalLen == 0; }

  // Appends value and returns its index.
  int append(const T& value) {
    if (mLogicalLen >= mPhysicalLen) {
      T copy(value);  // value may live in the storage about to move
      growTo(mLogicalLen + 1);
      mpArray[mLogicalLen] = copy;
    } else {
      mpArray[mLogicalLen] = value;
    }
    return mLogicalLen++;
  }

  // Inserts at index (0..length) moving the tail up.
  YcArray& insertAt(int index, const T& value) {
    if (index < 0 || index > mLogicalLen) fail(Ycad::eInvalidIndex);
    T copy(value);
    if (mLogicalLen >= mPhysicalLen) growTo(mLogicalLen + 1);
    for (int i = mLogicalLen; i > index; --i) mpArray[i] = mpArray[i - 1];
    mpArray[index] = copy;
    ++mLogicalLen;
    return *this;
  }

  // Removes the element at index moving the tail down.
  YcArray& removeAt(int index) {
    checked(index);
    for (int i = index; i < mLogicalLen - 1; ++i) mpArray[i] = mpArray[i + 1];
    --mLogicalLen;
    return *this;
  }
  YcArray& removeFirst() { return removeAt(0); }
  YcArray& removeLast() { return removeAt(mLogicalLen - 1); }
  YcArray& removeAll() {
    mLogicalLen = 0;
    return *this;
  }
  // Removes the first element equal to value; false when there is none.
  bool remove(const T& value) {
    const int i = find(value);
    if (i < 0) return false;
    removeAt(i);
    return true;
  }

  int find(const T& value) const { return findFrom(value, 0); }
  int findFrom(const T& value, int start) const {
    for (int i = start < 0 ? 0 : start; i < mLogicalLen; ++i)
      if (mpArray[i] == value) return i;
    return -1;
  }
  bool contains(const T& value) const { return find(value) >= 0; }

  // Grows as needed; slots that come into use are value-initialised.
  YcArray& setLogicalLength(int n) {
    if (n < 0) n = 0;
    if (n > mPhysicalLen) growTo(n);
    for (int i = mLogicalLen; i < n; ++i) mpArray[i] = T();
    mLogicalLen = n;
    return *this;
  }

  // Reallocates to exactly n elements; 0 frees the storage.
  YcArray& setPhysicalLength(int n) {
    if (n < 0) fail(Ycad::eNegativeValue);
    if (n == mPhysicalLen) return *this;
    T* fresh = n > 0 ? allocate(n) : nullptr;
    const int keep = mLogicalLen < n ? mLogicalLen : n;
    if (fresh) R::reallocate(fresh, mpArray, keep);
    destroy(mpArray, mPhysicalLen);
    mpArray = fresh;
    mPhysicalLen = n;
    mLogicalLen = keep;
    return *this;
  }

  YcArray& setGrowLength(int n) {
    if (n < 1) fail(Ycad::eNegativeValue);
    mGrowLen = n;
    return *this;
  }

private:
  [[noreturn]] static void fail(Ycad::ErrorStatus status) { throw new KmErrorStatus(status); }

  int checked(int i) const {
    if (i < 0 || i >= mLogicalLen) fail(Ycad::eInvalidIndex);
    return i;
  }

  // n elements, each constructed, in platform memory.
  static T* allocate(int n) {
    void* block = _kmMalloc(sizeof(T) * static_cast<std::size_t>(n));
    if (!block) fail(Ycad::eOutOfMemory);
    T* p = static_cast<T*>(block);
    for (int i = 0; i < n; ++i) ::new (p + i) T();
    return p;
  }

  static void destroy(T* p, int n) {
    if (!p) return;
    for (int i = n; i > 0; --i) p[i - 1].~T();
    _kmFree(p);
  }


  void growTo(int needed) {
    long long step = (static_cast<long long>(mPhysicalLen) * sizeof(T) < 65536)
                         ? mPhysicalLen
                         : static_cast<long long>(65536 / sizeof(T));
    if (step < mGrowLen) step = mGrowLen;
    long long target = mPhysicalLen + step;
    if (target < needed) target = needed;
    if (target > 0x7fffffff) fail(Ycad::eOutOfMemory);
    T* fresh = allocate(static_cast<int>(target));
    R::reallocate(fresh, mpArray, mLogicalLen);
    destroy(mpArray, mPhysicalLen);
    mpArray = fresh;
    mPhysicalLen = static_cast<int>(target);
  }

  T* mpArray;
  int mPhysicalLen;
  int mLogicalLen;
  int mGrowLen;
};
