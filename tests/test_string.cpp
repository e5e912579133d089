// YcRxString and its helpers: storage states, the count-as-length and
// stop-character constructors, buffer lending, per-string case rules,
// ordering of strings with and without storage, and the raw-text toolkit.
#include <cwchar>
#include <initializer_list>
#include <string>
#include <vector>

#include "KmCharOp.h"
#include "KmOsTable.h"
#include "KmRxTestSupport.h"

namespace {

const wchar_t* const kAtOutOfRange = L"YcRxString::at - index out bound!!";
const wchar_t* const kNull = nullptr;

// Puts the OS table back even when an expectation fails halfway.
struct OsFaultGuard {
  ~OsFaultGuard() { kmOsReset(); }
};

class StringTest : public RuntimeTest {
protected:
  // The buffer every string without storage points at.
  static const wchar_t* sharedEmpty() {
    static const YcRxString none;
    return none.rawString();
  }
  static std::wstring text(const YcRxString& s) { return s.rawString(); }
  static void expectNoStorage(const YcRxString& s) {
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(0, s.length());
    EXPECT_EQ(sharedEmpty(), s.rawString());
  }
};

TEST_F(StringTest, EmptySourcesLeaveNoStorageAndTextIsCopied) {
  const YcRxString a, b(L"", true), c(kNull, false), d(L"abc", 0, false), e(L"", L',', false);
  for (const YcRxString* s : {&a, &b, &c, &d, &e}) expectNoStorage(*s);
  EXPECT_EQ(L'\0', sharedEmpty()[0]);
  EXPECT_FALSE(a.ignoresCase());
  EXPECT_TRUE(b.ignoresCase());
  expectNoStorage(YcRxString(L"abc", -2, false));

  const wchar_t source[] = L"Key";
  const YcRxString s(source, true);
  EXPECT_EQ(L"Key", text(s));
  EXPECT_EQ(3, s.length());
  EXPECT_NE(source, s.rawString());
  const YcRxString copy(s);
  EXPECT_EQ(L"Key", text(copy));
  EXPECT_TRUE(copy.ignoresCase());
  EXPECT_NE(s.rawString(), copy.rawString());
}

TEST_F(StringTest, CountIsStoredAsLengthAndStopCharacterCutsTheText) {
  const YcRxString longer(L"abc", 10, false);
  EXPECT_EQ(10, longer.length());
  EXPECT_EQ(L"abc", text(longer));
  EXPECT_EQ(L'\0', longer.rawString()[10]);
  const YcRxString cut(L"abcdef", 3, false);
  EXPECT_EQ(L"abc", text(cut));
  EXPECT_EQ(3, cut.length());

  EXPECT_EQ(L"ab", text(YcRxString(L"ab,cd,e", L',', false)));
  EXPECT_EQ(L"abc", text(YcRxString(L"abc", L',', false)));
  // Stop at index 0: a block of its own with length 0, so not "empty".
  const YcRxString blank(L",x", L',', false);
  EXPECT_EQ(0, blank.length());
  EXPECT_FALSE(blank.isEmpty());
  EXPECT_NE(sharedEmpty(), blank.rawString());
  EXPECT_EQ(L"", text(blank));
}

TEST_F(StringTest, OutOfRangeReadsGiveZeroButAtReportsAndYieldsScratch) {
  YcRxString s(L"abc", false);
  const YcRxString& cs = s;
  EXPECT_EQ(L'c', cs[2]);
  EXPECT_EQ(L'\0', cs.getAt(3));
  EXPECT_EQ(L'\0', cs.getAt(-1));
  EXPECT_EQ(L'\0', cs[3]);
  s.at(1) = L'X';
  s[2] = L'Y';
  EXPECT_EQ(L"aXY", text(s));
  EXPECT_TRUE(fatalMessages().empty());

  wchar_t& scratch = s.at(3);
  EXPECT_EQ(1u, fatalMessages().size());
  EXPECT_EQ(1, fatalCount(kAtOutOfRange));
  scratch = L'!';
  EXPECT_FALSE(&scratch >= s.rawString() && &scratch <= s.rawString() + s.length());
  s[-1] = L'?';
  YcRxString none;
  none.at(0) = L'?';
  EXPECT_EQ(3, fatalCount(kAtOutOfRange));
  EXPECT_EQ(L"aXY", text(s));
  EXPECT_EQ(3, s.length());
  expectNoStorage(none);
}

TEST_F(StringTest, CopyStringReusesRoomAndEmptiesOnNullOrEmptyText) {
  YcRxString s(L"abcdef", true);
  const wchar_t* block = s.rawString();
  const long allocs = kmOsCallCount(KmOsCall::Alloc);
  s.copyString(L"xy");
  EXPECT_EQ(block, s.rawString());
  EXPECT_EQ(allocs, kmOsCallCount(KmOsCall::Alloc));
  EXPECT_EQ(L"xy", text(s));
  EXPECT_EQ(2, s.length());
  s.copyString(s.rawString());
  EXPECT_EQ(L"xy", text(s));
  s.copyString(YcRxString(L"a longer text", false));
  EXPECT_EQ(L"a longer text", text(s));
  EXPECT_EQ(13, s.length());
  EXPECT_TRUE(s.ignoresCase()) << "copyString must not take the other's flag";

  s.copyString(L"");
  expectNoStorage(s);
  s.copyString(L"z").copyString(kNull);
  expectNoStorage(s);
  s.copyString(L"z").setEmpty();
  expectNoStorage(s);
  EXPECT_TRUE(s.ignoresCase());
}

TEST_F(StringTest, AllocationIsExactAndFailureLeavesTheStringUntouched) {
  YcRxString s(L"abc", false);
  const wchar_t* block = s.rawString();
  EXPECT_EQ(block, s.allocBufIfNeeded(3, true));
  EXPECT_EQ(block, s.allocBufIfNeeded(-5, false));
  EXPECT_NE(block, s.allocBufIfNeeded(4, true)) << "capacity must be exactly the length asked";
  EXPECT_EQ(L"abc", text(s));
  s.allocBuf(8, false);
  EXPECT_EQ(0, s.length());
  EXPECT_FALSE(s.isEmpty());

  OsFaultGuard guard;
  s.copyString(L"abc");
  block = s.rawString();
  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_EQ(nullptr, s.allocBuf(10, true));
  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_EQ(nullptr, s.allocBufIfNeeded(20, false));
  EXPECT_EQ(block, s.rawString());
  EXPECT_EQ(L"abc", text(s));
  EXPECT_EQ(3, s.length());
  YcRxString none;
  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_EQ(nullptr, none.allocBuf(4, false));
  expectNoStorage(none);
}

TEST_F(StringTest, CatStringAppendsAndDoublesWhenAppendedToItself) {
  YcRxString s(L"ab", false);
  s.catString(L"cd").catString(L"").catString(kNull);
  EXPECT_EQ(L"abcd", text(s));
  EXPECT_EQ(4, s.length());

  YcRxString twice(L"ab", false);
  twice.catString(twice.rawString());
  EXPECT_EQ(L"abab", text(twice));
  twice.catString(twice);
  EXPECT_EQ(L"abababab", text(twice));
  EXPECT_EQ(8, twice.length());
  YcRxString roomy(L"abcdef", false);  // self-append inside room already owned
  roomy.copyString(L"xy").catString(roomy);
  EXPECT_EQ(L"xyxy", text(roomy));

  YcRxString none;
  none.catString(YcRxString(L"first", false));
  EXPECT_EQ(L"first", text(none));
  YcRxString blank(L",", L',', false);
  blank.catString(L"yz");
  EXPECT_EQ(L"yz", text(blank));
  EXPECT_EQ(2, blank.length());
}

TEST_F(StringTest, ReleaseBufferMeasuresTruncatesOrEmpties) {
  YcRxString s;
  EXPECT_EQ(nullptr, s.getBuffer(-1));
  EXPECT_EQ(sharedEmpty(), s.getBuffer(0));
  s.releaseBuffer(4);
  expectNoStorage(s);

  // Filling exactly the characters asked for puts the terminator at the limit.
  wchar_t* buf = s.getBuffer(3);
  ASSERT_NE(nullptr, buf);
  EXPECT_EQ(3, s.length());
  std::wcscpy(buf, L"abc");
  s.releaseBuffer(-1);
  expectNoStorage(s);

  std::wcscpy(s.getBuffer(3), L"ab");
  s.releaseBuffer();
  EXPECT_EQ(L"ab", text(s));
  EXPECT_EQ(2, s.length());
  std::wcscpy(s.getBuffer(3), L"xyz");
  s.releaseBuffer(1);
  EXPECT_EQ(L"x", text(s));
  s.getBuffer(3);
  s.releaseBuffer(5);
  EXPECT_EQ(0, s.length());
  EXPECT_EQ(L'\0', s.rawString()[0]);
  EXPECT_FALSE(s.isEmpty());

  YcRxString hello(L"hello", false);
  EXPECT_EQ(hello.rawString(), hello.getBuffer(3));
  hello.releaseBuffer(-1);  // text runs past the 3 lent: cut to 3
  EXPECT_EQ(L"hel", text(hello));
}

TEST_F(StringTest, AssigningAStringTakesItsFlagButAssigningTextDoesNot) {
  YcRxString exact(L"old", false);
  exact = YcRxString(L"Key", true);
  EXPECT_EQ(L"Key", text(exact));
  EXPECT_TRUE(exact.ignoresCase());
  exact = YcRxString(L"Other", false);
  EXPECT_FALSE(exact.ignoresCase());

  YcRxString a(L"a", true), b(L"b", false);
  a = L"Text";
  b = L"Text";
  EXPECT_TRUE(a.ignoresCase());
  EXPECT_FALSE(b.ignoresCase());
  EXPECT_EQ(L"Text", text(a));
}

TEST_F(StringTest, EqualityAndOrderingUseOnlyTheLeftStringsFlag) {
  const YcRxString s(L"abc", false), none;
  EXPECT_TRUE(s == L"abc" && s == s.rawString());
  EXPECT_FALSE(s == L"ab" || s == L"ABC" || s == kNull);
  EXPECT_TRUE(none == L"");
  EXPECT_FALSE(none == L"x" || none == kNull);
  EXPECT_FALSE(YcRxString(L"abc", true) == L"ABCD");

  const YcRxString folded(L"Key", true), exact(L"KEY", false);
  EXPECT_TRUE(folded == exact);
  EXPECT_FALSE(exact == folded);
  EXPECT_TRUE(exact != folded);
  EXPECT_FALSE(folded < exact);
  EXPECT_TRUE(exact < folded);  // 'E' sorts before 'e'
  EXPECT_EQ(YcRx::kEqual, folded.comparedTo(&exact));
  EXPECT_EQ(YcRx::kLessThan, exact.comparedTo(&folded));
  EXPECT_TRUE(folded.isEqualTo(&exact));
  EXPECT_FALSE(exact.isEqualTo(&folded));
  YcRxStringLessOpr less;
  EXPECT_FALSE(less(&folded, &exact));
  EXPECT_TRUE(less(&exact, &folded));
}

TEST_F(StringTest, ComparedToGivesMinusOneZeroOneAndRanksStorageAboveNone) {
  const YcRxString a(L"a", false), z(L"z", false), z2(L"z", false);
  EXPECT_EQ(YcRx::kLessThan, a.comparedTo(&z));
  EXPECT_EQ(YcRx::kGreaterThan, z.comparedTo(&a));
  EXPECT_EQ(YcRx::kEqual, z.comparedTo(&z2));
  EXPECT_EQ(YcRx::kGreaterThan, z.comparedTo(nullptr));
  EXPECT_TRUE(a < z);
  EXPECT_FALSE(z < z2 || a < a);

  const YcRxString blank(L",", L',', false), none, none2;
  EXPECT_EQ(YcRx::kGreaterThan, none.comparedTo(nullptr));
  EXPECT_EQ(YcRx::kGreaterThan, blank.comparedTo(&none));
  EXPECT_EQ(YcRx::kLessThan, none.comparedTo(&blank));
  EXPECT_EQ(YcRx::kLessThan, none.comparedTo(&a));
  EXPECT_EQ(YcRx::kEqual, none.comparedTo(&none2));
  EXPECT_TRUE(blank == none && none == blank);
  EXPECT_FALSE(none < none2);
}

TEST_F(StringTest, IsARegisteredClassAndAcceptsOnlyStringsAsPeers) {
  YcRxClass* cls = YcRxString::desc();
  ASSERT_NE(nullptr, cls);
  EXPECT_STREQ(L"YcRxString", cls->name());
  ASSERT_NE(nullptr, cls->myParent());
  EXPECT_STREQ(L"AcRxObject", cls->myParent()->name());

  YcRxObject plain;
  YcRxString s(L"keep", false);
  const YcRxString same(L"keep", true), source(L"Source", true);
  EXPECT_EQ(cls, s.isA());
  EXPECT_EQ(nullptr, YcRxString::cast(&plain));
  EXPECT_FALSE(s.isEqualTo(nullptr) || s.isEqualTo(&plain));
  EXPECT_TRUE(s.isEqualTo(&same));
  EXPECT_EQ(Ycad::eWrongObjectClass, s.copyFrom(&plain));
  EXPECT_EQ(46, static_cast<int>(s.copyFrom(nullptr)));
  EXPECT_EQ(L"keep", text(s));
  EXPECT_FALSE(s.ignoresCase());
  EXPECT_EQ(Ycad::eOk, s.copyFrom(&source));
  EXPECT_EQ(L"Source", text(s));
  EXPECT_TRUE(s.ignoresCase());
}

TEST(StringHelpers, LessOprPutsNullFirstAndSameObjectIsNotLess) {
  const YcRxString a(L"a", false), b(L"b", false);
  YcRxStringLessOpr less;
  EXPECT_FALSE(less(nullptr, nullptr));
  EXPECT_FALSE(less(&a, &a));
  EXPECT_TRUE(less(nullptr, &a));
  EXPECT_FALSE(less(&a, nullptr));
  EXPECT_TRUE(less(&a, &b));
  EXPECT_FALSE(less(&b, &a));
}

TEST(StringHelpers, SafeFindStringLengthGivesMinusOneWhenTheEndIsExactlyAtMax) {
  EXPECT_EQ(0, SafeFindStringLength(nullptr, 5));
  EXPECT_EQ(0, SafeFindStringLength(L"abc", 0));
  EXPECT_EQ(0, SafeFindStringLength(L"abc", -1));
  EXPECT_EQ(0, SafeFindStringLength(L"", 1));
  EXPECT_EQ(3, SafeFindStringLength(L"abc", 4));
  EXPECT_EQ(-1, SafeFindStringLength(L"abc", 3));
  EXPECT_EQ(-1, SafeFindStringLength(L"a", 1));
  EXPECT_EQ(1, SafeFindStringLength(L"ab", 1));
  EXPECT_EQ(3, SafeFindStringLength(L"abcdef", 3));
}

TEST(StringHelpers, RawCopiesTerminateAndNeverPad) {
  std::vector<wchar_t> buf(8, L'#');
  const auto seen = [&] { return std::wstring(buf.data(), buf.size()); };
  EXPECT_EQ(nullptr, _tarmcscpy(nullptr, L"x"));
  EXPECT_EQ(nullptr, _tarmcscpy(buf.data(), nullptr));
  EXPECT_EQ(nullptr, _tarmcsncpy(nullptr, L"x", 1));
  EXPECT_EQ(nullptr, _tarmcsncpy(buf.data(), nullptr, 1));
  EXPECT_EQ(L'#', buf[0]);
  EXPECT_EQ(buf.data(), _tarmcscpy(buf.data(), L"xyz"));
  EXPECT_EQ(std::wstring(L"xyz\0####", 8), seen());
  buf.assign(8, L'#');
  EXPECT_EQ(buf.data(), _tarmcsncpy(buf.data(), L"ab", 5));
  EXPECT_EQ(std::wstring(L"ab\0#####", 8), seen());
  buf.assign(8, L'#');
  _tarmcsncpy(buf.data(), L"abcdef", 3);
  EXPECT_EQ(std::wstring(L"abc\0####", 8), seen());
}

TEST(StringHelpers, CharOpFindsFromStartAndClonesWithRoom) {
  const wchar_t* s = L"abcabc";
  int pos = 99;
  EXPECT_EQ(s + 4, KmCharOp::find(s, L'b', 2, &pos));
  EXPECT_EQ(4, pos);
  EXPECT_EQ(nullptr, KmCharOp::find(s, L'x', 0, &pos));
  EXPECT_EQ(-1, pos);
  pos = 99;
  EXPECT_EQ(nullptr, KmCharOp::find(s, L'\0', 0, &pos));
  EXPECT_EQ(-1, pos);
  EXPECT_EQ(s + 3, KmCharOp::findOneOf(s, L"ca", 3, &pos));
  EXPECT_EQ(3, pos);
  EXPECT_EQ(nullptr, KmCharOp::findOneOf(s, L"xyz", 0, &pos));
  EXPECT_EQ(-1, pos);

  EXPECT_EQ(16ul, KmCharOp::sizeOfNum<wchar_t>(3));
  wchar_t* part = KmCharOp::clone<wchar_t>(L"abcdef", 2, 6, KmCharOp::zalloc);
  ASSERT_NE(nullptr, part);
  EXPECT_STREQ(L"ab", part);
  part[6] = L'z';  // room for the larger capacity was allocated
  KmCharOp::release(part);
  wchar_t buf[32];
  EXPECT_EQ(5, KmCharOp::format(buf, L"%d-%s", 42, L"xy"));
  EXPECT_STREQ(L"42-xy", buf);

  OsFaultGuard guard;
  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_EQ(nullptr, KmCharOp::clone<wchar_t>(L"abc"));
}

}  // namespace
