// The runtime string and the raw wide-string copy routines.
#include "YcRxString.h"

#include <cwchar>
#include <cwctype>

#include "KmCharOp.h"
#include "core/YcRxInternal.h"

YCRX_DEFINE_MEMBERS(YcRxString, L"YcRxString", L"AcRxObject")

namespace {
wchar_t gEmptyText[1] = {0};

}  // namespace

wint_t kmrxFoldCaseWide(wchar_t c) { return std::towlower(static_cast<wint_t>(c)); }

int kmrxCompareNoCase(const wchar_t* a, const wchar_t* b) {
  // Equal characters need no folding; keys that share a long prefix compare
  // at the speed of a plain compare until they differ.
  for (;; ++a, ++b) {
    if (*a == *b) {
      if (*a == 0) return 0;
      continue;
    }
    const wint_t ca = kmrxFoldCase(*a), cb = kmrxFoldCase(*b);
    if (ca != cb || ca == 0) return static_cast<int>(ca) - static_cast<int>(cb);
  }
}

wchar_t* const YcRxString::spEmptyBuf = gEmptyText;

YcRxString::YcRxString() : mpBuffer(spEmptyBuf), mLength(0), mCapacity(0), mIgnoreCase(false) {}

YcRxString::YcRxString(const YcRxString& other) : YcRxString() { *this = other; }

YcRxString::YcRxString(const wchar_t* s, bool ignoreCase) : YcRxString() {
  mIgnoreCase = ignoreCase;
  if (s && *s) {
    const int n = static_cast<int>(std::wcslen(s));
    if (allocBuf(n, false)) {
      mLength = n;
      _tarmcscpy(mpBuffer, s);
    }
  }
}

YcRxString::YcRxString(const wchar_t* s, int n, bool ignoreCase) : YcRxString() {
  mIgnoreCase = ignoreCase;
  if (s && *s && n >= 1) {
    if (allocBuf(n, false)) {
      // The count given is the length, even past a shorter text: modules rely on it.
      mLength = n;
      _tarmcsncpy(mpBuffer, s, n);
      mpBuffer[n] = 0;
    }
  }
}

YcRxString::YcRxString(const wchar_t* s, wchar_t stop, bool ignoreCase) : YcRxString() {
  mIgnoreCase = ignoreCase;
  if (s && *s) {
    int n = 0;
    while (s[n] && s[n] != stop) ++n;
    if (allocBuf(n, false)) {
      mLength = n;
      std::wmemcpy(mpBuffer, s, static_cast<size_t>(n));
      mpBuffer[n] = 0;
    }
  }
}

YcRxString::~YcRxString() { setEmpty(); }

wchar_t YcRxString::getAt(int i) const { return (i >= 0 && i < mLength) ? mpBuffer[i] : 0; }

wchar_t& YcRxString::at(int i) {
  static wchar_t dummy = 0;
  if (i >= 0 && i < mLength) return mpBuffer[i];
  kmrxFatal(L"YcRxString::at - index out bound!!");
  dummy = 0;
  return dummy;
}

YcRxString& YcRxString::copyString(const wchar_t* s) {
  if (s == mpBuffer) return *this;
  if (!s || !*s) {
    setEmpty();
    return *this;
  }
  const int n = static_cast<int>(std::wcslen(s));
  allocBufIfNeeded(n, false);
  if (mCapacity >= n) {  // an allocation failure leaves the string as it was
    mLength = n;
    _tarmcscpy(mpBuffer, s);
  }
  return *this;
}

YcRxString& YcRxString::copyString(const YcRxString& other) { return copyString(other.rawString()); }

YcRxString& YcRxString::catString(const wchar_t* s) {
  if (!s || !*s) return *this;
  if (isEmpty()) return copyString(s);
  const bool self = (s == mpBuffer);
  const int oldLength = mLength;
  const int newLength = self ? 2 * oldLength : oldLength + static_cast<int>(std::wcslen(s));
  allocBufIfNeeded(newLength, true);
  if (mCapacity < newLength) return *this;
  if (self)
    _tarmcsncpy(mpBuffer + oldLength, mpBuffer, oldLength);
  else
    _tarmcscpy(mpBuffer + oldLength, s);
  mLength = newLength;
  mpBuffer[mLength] = 0;
  return *this;
}

YcRxString& YcRxString::catString(const YcRxString& other) { return catString(other.rawString()); }

wchar_t* YcRxString::getBuffer(int n) {
  if (n < 0) return nullptr;
  allocBufIfNeeded(n, false);
  // Never the old, smaller buffer: the caller would write past its end.
  if (mCapacity < n) return nullptr;
  mLength = n;
  return mpBuffer;
}

void YcRxString::releaseBuffer(int n) {
  if (isEmpty()) return;
  if (n < 0)
    mLength = SafeFindStringLength(mpBuffer, mLength);
  else if (n <= mLength)
    mLength = n;
  else
    mLength = 0;  // beyond what was handed out: nothing, deliberately; modules rely on it
  if (mLength >= 0)
    mpBuffer[mLength] = 0;
  else
    setEmpty();
}

void YcRxString::setEmpty() {
  if (!isEmpty()) _kmFree(mpBuffer);
  mpBuffer = spEmptyBuf;
  mLength = 0;
  mCapacity = 0;
}

wchar_t* YcRxString::allocBuf(int n, bool keepText) {
  if (n < 0) return nullptr;
  auto* block = static_cast<wchar_t*>(_kmMalloc((static_cast<size_t>(n) + 1) * sizeof(wchar_t)));
  if (!block) return nullptr;
  int kept = 0;
  if (keepText && !isEmpty()) {
    kept = mLength < n ? mLength : n;
    std::wmemcpy(block, mpBuffer, static_cast<size_t>(kept));
  }
  block[kept] = 0;
  setEmpty();
  mLength = kept;
  mCapacity = n;
  mpBuffer = block;
  return mpBuffer;
}

wchar_t* YcRxString::allocBufIfNeeded(int n, bool keepText) {
  if (n > 0 && n > mCapacity) return allocBuf(n, keepText);
  return mpBuffer;
}

YcRxString& YcRxString::operator=(const YcRxString& other) {
  copyString(other);
  mIgnoreCase = other.mIgnoreCase;
  return *this;
}

YcRxString& YcRxString::operator=(const wchar_t* s) { return copyString(s); }

bool YcRxString::operator==(const wchar_t* s) const {
  if (s == mpBuffer) return true;
  if (!s) return false;
  if (isEmpty()) return *s == 0;
  if (static_cast<int>(std::wcslen(s)) != mLength) return false;
  return kmrxCompareText(mpBuffer, s, mIgnoreCase) == 0;
}

bool YcRxString::operator<(const YcRxString& other) const {
  if (mpBuffer == other.mpBuffer) return false;
  return kmrxCompareText(mpBuffer, other.mpBuffer, mIgnoreCase) < 0;
}

Ycad::ErrorStatus YcRxString::copyFrom(const YcRxObject* other) {
  const YcRxString* source = YcRxString::cast(other);
  if (!source) return Ycad::eWrongObjectClass;
  *this = *source;
  return Ycad::eOk;
}

bool YcRxString::isEqualTo(const YcRxObject* other) const {
  const YcRxString* theirs = YcRxString::cast(other);
  return theirs && *this == *theirs;
}

YcRx::Ordering YcRxString::comparedTo(const YcRxObject* other) const {
  if (!other) return YcRx::kGreaterThan;
  // Taken to be a string, as every caller passes one.
  const auto* theirs = static_cast<const YcRxString*>(other);
  if (mpBuffer == theirs->mpBuffer) return YcRx::kEqual;
  if (!isEmpty()) {
    // Storage of length 0 still orders after no storage; modules rely on it.
    if (theirs->isEmpty()) return YcRx::kGreaterThan;
    const int c = kmrxCompareText(mpBuffer, theirs->mpBuffer, mIgnoreCase);
    return c < 0 ? YcRx::kLessThan : (c > 0 ? YcRx::kGreaterThan : YcRx::kEqual);
  }
  return theirs->isEmpty() ? YcRx::kEqual : YcRx::kLessThan;
}

bool YcRxStringLessOpr::operator()(const YcRxString* a, const YcRxString* b) const {
  if (a == b) return false;
  if (!a) return true;
  if (!b) return false;
  return *a < *b;
}

// A terminator exactly at max gives -1, so releaseBuffer(-1) on a buffer
// filled to the brim empties the string: modules rely on this rule.
int SafeFindStringLength(const wchar_t* s, int max) {
  if (!s || max < 1) return 0;
  int remaining = max;
  int counted = 0;
  while (*s) {
    if (remaining-- == 0) break;
    ++s;
    ++counted;
  }
  return remaining == 0 ? -1 : counted;
}

wchar_t* _tarmcscpy(wchar_t* dst, const wchar_t* src) {
  if (!dst || !src) return nullptr;
  const size_t n = std::wcslen(src);
  std::wmemmove(dst, src, n);
  dst[n] = 0;
  return dst;
}

wchar_t* _tarmcsncpy(wchar_t* dst, const wchar_t* src, int n) {
  if (!dst || !src) return nullptr;
  size_t count = std::wcslen(src);
  if (n < 0) n = 0;
  if (count > static_cast<size_t>(n)) count = static_cast<size_t>(n);
  std::wmemmove(dst, src, count);
  dst[count] = 0;
  return dst;
}

int KmCharOp::compareNoCase(const wchar_t* a, const wchar_t* b) { return kmrxCompareNoCase(a, b); }

int KmCharOp::format(wchar_t* buf, const wchar_t* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const int n = vswprintf(buf, fmt, args);
  va_end(args);
  return n;
}
