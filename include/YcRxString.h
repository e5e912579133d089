// The runtime's wide string, a runtime object and the key type of every
// dictionary. Its own ignore-case flag decides how *it* compares with others.
#pragma once
#include "YcBaseClassWithNew.h"
#include "YcRxMacros.h"
#include "YcRxObject.h"

class KMRX_API YcRxString : public YcRxObject, public YcBaseClassWithNew {
public:
  YCRX_DECLARE_MEMBERS(YcRxString);
  // Both bases allocate from the platform heap; this one is named as theirs.
  using YcBaseClassWithNew::operator new;
  using YcBaseClassWithNew::operator delete;

  YcRxString();
  YcRxString(const YcRxString& other);
  YcRxString(const wchar_t* s, bool ignoreCase);
  // Takes n as the length even when s is shorter.
  YcRxString(const wchar_t* s, int n, bool ignoreCase);
  // Takes the characters before the first stop character (or the end).
  YcRxString(const wchar_t* s, wchar_t stop, bool ignoreCase);
  ~YcRxString() override;

  Ycad::ErrorStatus copyFrom(const YcRxObject* other) override;
  bool isEqualTo(const YcRxObject* other) const override;
  YcRx::Ordering comparedTo(const YcRxObject* other) const override;

  int length() const { return mLength; }
  // True when the string owns no storage (not merely when its length is 0).
  bool isEmpty() const { return mpBuffer == spEmptyBuf || mpBuffer == nullptr; }
  const wchar_t* rawString() const { return mpBuffer; }
  bool ignoresCase() const { return mIgnoreCase; }
  wchar_t getAt(int i) const;
  // Out of range: fatal error, then a reference to a scratch character.
  wchar_t& at(int i);
  wchar_t operator[](int i) const { return getAt(i); }
  wchar_t& operator[](int i) { return at(i); }

  YcRxString& copyString(const wchar_t* s);
  YcRxString& copyString(const YcRxString& other);
  YcRxString& catString(const wchar_t* s);
  YcRxString& catString(const YcRxString& other);
  // Lends the buffer for n characters; give it back with releaseBuffer.
  wchar_t* getBuffer(int n);
  // n < 0 measures the text; n beyond the length lent truncates to nothing.
  void releaseBuffer(int n = -1);
  void setEmpty();
  wchar_t* allocBuf(int n, bool keepText);
  wchar_t* allocBufIfNeeded(int n, bool keepText);

  YcRxString& operator=(const YcRxString& other);
  YcRxString& operator=(const wchar_t* s);

  bool operator==(const wchar_t* s) const;
  bool operator==(const YcRxString& other) const { return *this == other.rawString(); }
  bool operator!=(const wchar_t* s) const { return !(*this == s); }
  bool operator!=(const YcRxString& other) const { return !(*this == other); }
  bool operator<(const YcRxString& other) const;

private:
  static wchar_t* const spEmptyBuf;

  wchar_t* mpBuffer;
  int mLength;
  int mCapacity;
  bool mIgnoreCase;
};

// Orders string pointers by text under the left string's case rule; null first.
struct KMRX_API YcRxStringLessOpr {
  bool operator()(const YcRxString* a, const YcRxString* b) const;
};

// Length of s when it ends before max characters, max when it runs past it,
// and -1 when its terminator is exactly at index max.
KMRX_API int SafeFindStringLength(const wchar_t* s, int max);
// Null if either pointer is null; copies and terminates, never pads.
KMRX_API wchar_t* _tarmcscpy(wchar_t* dst, const wchar_t* src);
KMRX_API wchar_t* _tarmcsncpy(wchar_t* dst, const wchar_t* src, int n);
