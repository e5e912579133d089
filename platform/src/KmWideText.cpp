// Bounded wide-character copies.
#include "KmWideText.h"

namespace {
constexpr int kInvalid = 22;  // a null pointer where text is required
constexpr int kRange = 34;    // destination too small
}  // namespace

int wmemcpy_s(wchar_t* dst, std::size_t dstCount, const wchar_t* src, std::size_t count) {
  if (count == 0) return 0;
  if (!dst) return kInvalid;
  if (!src) {
    std::wmemset(dst, 0, dstCount);
    return kInvalid;
  }
  if (dstCount < count) {
    std::wmemset(dst, 0, dstCount);
    return kRange;
  }
  std::wmemmove(dst, src, count);
  return 0;
}

int _tarmcscpy_s(wchar_t* dst, std::size_t dstCount, const wchar_t* src) {
  if (!dst || dstCount == 0) return kInvalid;
  if (!src) {
    dst[0] = 0;
    return kInvalid;
  }
  const std::size_t n = std::wcslen(src);
  if (n >= dstCount) {
    dst[0] = 0;
    return kRange;
  }
  std::wmemmove(dst, src, n + 1);
  return 0;
}
