// YcRxString and its helpers: storage states, buffer lending, per-string case rules,
// ordering of strings with and without storage, and the raw-text toolkit.
#include <clocale>
#include <cwchar>
#include <utility>

#include "KmCharOp.h"
#include "KmRxTesting.h"
#include "KmRxTestSupport.h"
#include "StoreTestSupport.h"

namespace {

const wchar_t* const kNull = nullptr;

struct OsFaultGuard {  // puts the OS table back even when an expectation fails
  ~OsFaultGuard() { kmOsReset(); }
};

using StringTest = RuntimeTest;

std::wstring text(const YcRxString& s) { return s.rawString(); }

void expectNoStorage(const YcRxString& s) {
  EXPECT_TRUE(s.isEmpty());
  EXPECT_EQ(0, s.length());
  EXPECT_EQ(YcRxString().rawString(), s.rawString());  // the one shared empty buffer
}

TEST_F(StringTest, ConstructorsCopyTextStoreTheCountAsLengthAndCutAtTheStop) {
  const YcRxString a, b(L"", true), c(kNull, false), d(L"abc", 0, false), e(L"", L',', false);
  for (const YcRxString* s : {&a, &b, &c, &d, &e}) expectNoStorage(*s);
  const YcRxString s(L"Key", true), copy(s);
  EXPECT_EQ(L"Key", text(copy));
  EXPECT_TRUE(copy.ignoresCase());
  EXPECT_NE(s.rawString(), copy.rawString());

  const YcRxString longer(L"abc", 10, false);
  EXPECT_EQ(10, longer.length());
  EXPECT_EQ(L"abc", text(longer));
  EXPECT_EQ(L'\0', longer.rawString()[10]);
  EXPECT_EQ(L"ab", text(YcRxString(L"ab,cd,e", L',', false)));
  // Stop at index 0: a block of its own with length 0, so not "empty".
  const YcRxString blank(L",x", L',', false);
  EXPECT_EQ(0, blank.length());
  EXPECT_FALSE(blank.isEmpty());
}

TEST_F(StringTest, OutOfRangeReadsGiveZeroButAtReportsAndYieldsScratch) {
  YcRxString s(L"abc", false);
  EXPECT_TRUE(static_cast<const YcRxString&>(s)[3] == 0 && s.getAt(-1) == 0);
  s[2] = L'Y';
  wchar_t& scratch = s.at(3);
  EXPECT_EQ((std::vector<std::wstring>{L"YcRxString::at - index out bound!!"}), fatalMessages());
  scratch = L'!';
  s[-1] = L'?';
  EXPECT_EQ(2, fatalCount(L"YcRxString::at - index out bound!!"));
  EXPECT_EQ(L"abY", text(s));
}

TEST_F(StringTest, CopyStringReusesRoomAndAllocationIsExactOrLeavesTheStringAlone) {
  YcRxString s(L"abcdef", true);
  const wchar_t* block = s.rawString();
  const long allocs = kmOsCallCount(KmOsCall::Alloc);
  s.copyString(L"xy").copyString(s.rawString());
  EXPECT_EQ(block, s.rawString());
  EXPECT_EQ(allocs, kmOsCallCount(KmOsCall::Alloc));
  EXPECT_EQ(L"xy", text(s));
  s.copyString(YcRxString(L"a longer text", false));
  EXPECT_EQ(13, s.length());
  EXPECT_TRUE(s.ignoresCase()) << "copyString must not take the other's flag";
  s.copyString(kNull);
  expectNoStorage(s);

  s.copyString(L"abc");
  block = s.rawString();
  EXPECT_EQ(block, s.allocBufIfNeeded(3, true));
  OsFaultGuard guard;
  kmOsFailNth(KmOsCall::Alloc, 1);
  EXPECT_EQ(nullptr, s.allocBuf(10, false));
  EXPECT_EQ(block, s.rawString());
  EXPECT_EQ(3, s.length());
  EXPECT_NE(block, s.allocBufIfNeeded(4, true)) << "capacity must be exactly the length asked";
  EXPECT_EQ(L"abc", text(s));
}

TEST_F(StringTest, CatStringAppendsAndDoublesWhenAppendedToItself) {
  YcRxString s(L"ab", false);
  s.catString(s.rawString());
  EXPECT_EQ(L"abab", text(s));
  s.catString(s).catString(L"").catString(kNull);
  EXPECT_EQ(L"abababab", text(s));
  EXPECT_EQ(8, s.length());
  YcRxString none, blank(L",", L',', false);
  none.catString(L"first");
  blank.catString(L"yz");
  EXPECT_EQ(L"first|yz", text(none) + L"|" + text(blank));
  EXPECT_EQ(2, blank.length());
}

TEST_F(StringTest, ReleaseBufferEmptiesWhenTheTextFillsTheLendAndTruncatesBeyondIt) {
  YcRxString s;
  EXPECT_EQ(nullptr, s.getBuffer(-1));
  std::wcscpy(s.getBuffer(3), L"abc");  // terminator exactly at the limit
  s.releaseBuffer(-1);
  expectNoStorage(s);
  std::wcscpy(s.getBuffer(3), L"ab");
  s.releaseBuffer();
  EXPECT_EQ(2, s.length());
  std::wcscpy(s.getBuffer(3), L"xyz");
  s.releaseBuffer(1);
  EXPECT_EQ(L"x", text(s));
  s.releaseBuffer(5);
  EXPECT_EQ(0, s.length());
  EXPECT_EQ(L'\0', s.rawString()[0]);
}

TEST_F(StringTest, OnlyTheLeftStringsFlagDecidesAndStorageRanksAboveNone) {
  YcRxString exact(L"old", false), b(L"b", true);
  exact = YcRxString(L"Key", true);
  b = L"Text";
  EXPECT_TRUE(exact.ignoresCase() && b.ignoresCase()) << "a string's flag is taken, text has none";

  const YcRxString folded(L"Key", true), upper(L"KEY", false), none, none2;
  EXPECT_TRUE(folded == upper && upper != folded);
  EXPECT_TRUE(upper < folded && !(folded < upper));  // 'E' sorts before 'e'
  EXPECT_EQ(YcRx::kEqual, folded.comparedTo(&upper));
  EXPECT_EQ(YcRx::kLessThan, upper.comparedTo(&folded));
  EXPECT_FALSE(upper == L"KE" || upper == kNull || none == kNull);

  const YcRxString blank(L",", L',', false);
  EXPECT_EQ(YcRx::kGreaterThan, none.comparedTo(nullptr));
  EXPECT_EQ(YcRx::kGreaterThan, blank.comparedTo(&none));
  EXPECT_EQ(YcRx::kLessThan, none.comparedTo(&b));
  EXPECT_EQ(YcRx::kEqual, none.comparedTo(&none2));
  EXPECT_TRUE(none == L"" && blank == none && none == blank && !(none < none2));
}

TEST_F(StringTest, ComparesAndCopiesOnlyWithStrings) {
  YcRxObject plain;
  YcRxString s(L"keep", false), source(L"Source", true);
  EXPECT_FALSE(s.isEqualTo(nullptr) || s.isEqualTo(&plain));
  EXPECT_EQ(46, static_cast<int>(s.copyFrom(&plain)));
  EXPECT_EQ(46, static_cast<int>(s.copyFrom(nullptr)));
  EXPECT_EQ(L"keep", text(s));
  EXPECT_EQ(Ycad::eOk, s.copyFrom(&source));
  EXPECT_EQ(L"Source", text(s));
  EXPECT_TRUE(s.ignoresCase());
}

TEST(StringHelpers, LessOprSafeLengthRawCopiesAndCharOp) {
  const YcRxString a(L"a", false), b(L"b", false);
  YcRxStringLessOpr less;
  EXPECT_FALSE(less(nullptr, nullptr) || less(&a, &a) || less(&a, nullptr) || less(&b, &a));
  EXPECT_TRUE(less(nullptr, &a) && less(&a, &b));
  // The terminator exactly at max gives -1.
  EXPECT_EQ((std::vector<int>{0, 0, 3, -1, -1, 3}),
            (std::vector<int>{SafeFindStringLength(nullptr, 5), SafeFindStringLength(L"abc", 0),
                              SafeFindStringLength(L"abc", 4), SafeFindStringLength(L"abc", 3),
                              SafeFindStringLength(L"a", 1), SafeFindStringLength(L"abcdef", 3)}));

  std::vector<wchar_t> buf(8, L'#');
  EXPECT_EQ(nullptr, _tarmcscpy(buf.data(), nullptr));
  EXPECT_EQ(nullptr, _tarmcsncpy(nullptr, L"x", 1));
  EXPECT_EQ(buf.data(), _tarmcsncpy(buf.data(), L"ab", 5));
  EXPECT_EQ(std::wstring(L"ab\0#####", 8), std::wstring(buf.data(), 8));
  _tarmcsncpy(buf.data(), L"wxyz", 3);
  EXPECT_EQ(std::wstring(L"wxy\0####", 8), std::wstring(buf.data(), 8));

  const wchar_t* s = L"abcabc";
  int pos = 0;
  EXPECT_EQ(s + 4, KmCharOp::find(s, L'b', 2, &pos));
  EXPECT_EQ(4, pos);
  EXPECT_EQ(nullptr, KmCharOp::find(s, L'\0', 0, &pos));
  EXPECT_EQ(-1, pos);
  EXPECT_EQ(s + 3, KmCharOp::findOneOf(s, L"ca", 3, &pos));
  EXPECT_EQ(3, pos);
  wchar_t* part = KmCharOp::clone<wchar_t>(L"abcdef", 2, 6, KmCharOp::zalloc);
  ASSERT_NE(nullptr, part);
  EXPECT_STREQ(L"ab", part);
  part[6] = L'z';  // room for the larger capacity was allocated
  KmCharOp::release(part);
}

// Module, class and command names need not be ASCII, and the runtime folds case itself.
TEST(StringHelpers, CompareNoCaseAnswersExactlyAsTheCLibraryInEachLocale) {
  const std::pair<const wchar_t*, const wchar_t*> pairs[] = {
      {L"Abc", L"aBC"}, {L"abc", L"ABD"}, {L"ab", L"ABC"}, {L"", L"a"},
      {L"Z", L"["},                            // folded, 'z' sorts after '['
      {L"ÄÖÜ", L"äöü"},  // Latin-1 umlauts
      {L"É", L"F"}, {L"Straße", L"STRASSE"},
      {L"ΣΙΣ", L"σις"},  // Greek, final sigma
      {L"ПрИ", L"пРи"},  // Cyrillic
      {L"İ", L"i"}, {L"𐐀", L"𐐨"}};  // dotted I; beyond 16 bits
  CtypeLocaleGuard guard;
  for (const char* locale : {"C", "C.UTF-8"}) {
    ASSERT_NE(nullptr, std::setlocale(LC_CTYPE, locale));
    for (const auto& p : pairs) {
      EXPECT_EQ(::wcscasecmp(p.first, p.second), KmCharOp::compareNoCase(p.first, p.second))
          << locale << ": " << p.first << " ~ " << p.second;
      EXPECT_EQ(::wcscasecmp(p.second, p.first), KmCharOp::compareNoCase(p.second, p.first))
          << locale << ": " << p.second << " ~ " << p.first;
    }
  }
  EXPECT_EQ(0, KmCharOp::compareNoCase(L"ÄΣП", L"äσп"));
}

}  // namespace
