// Wide formatting: host argument conventions, C-library numbers, measuring and bounds; and
// the UTF-8 decoding it shares with kmFromUtf8.
#include <climits>
#include <cmath>

#include "KmRxTestSupport.h"
#include "KmWideText.h"

namespace {

// Measures, then formats into a guarded buffer: both must agree, nothing written past the end.
std::wstring fmt(const wchar_t* format, ...) {
  va_list a, b;
  va_start(a, format);
  va_copy(b, a);
  const int need = _vscwprintf(format, a);
  std::vector<wchar_t> buf(need < 0 ? 2 : need + 2, L'#');
  EXPECT_EQ(need, vswprintf(buf.data(), format, b)) << format;
  va_end(b);
  va_end(a);
  if (need < 0) return L"<failed>";
  EXPECT_EQ(L'#', buf[need + 1]) << format;
  EXPECT_EQ(static_cast<std::size_t>(need), std::wcslen(buf.data())) << format;
  return buf.data();
}

TEST(WideFormat, LowerCaseTakesWideAndUpperCaseTakesNarrowUtf8) {
  EXPECT_EQ(L"[h\u00e9llo|\u20ac|cd|\U0001F600]",
            fmt(L"[%s|%c|%ws|%ls]", L"h\u00e9llo", L'\u20ac', L"cd", L"\U0001F600"));
  EXPECT_EQ(L"h\u00e9llo \U0001F600 xy wide",
            fmt(L"%S %hs %C%hc %lS", "h\xC3\xA9llo", "\xF0\x9F\x98\x80", 'x', 'y', L"wide"));
  // Invalid bytes, truncated sequences, overlongs and surrogates each become U+FFFD.
  EXPECT_EQ(L"a\uFFFDb|a\uFFFDb|\uFFFD\uFFFD|\uFFFD\uFFFD\uFFFD|\uFFFD",
            fmt(L"%S|%S|%S|%S|%C", "a\xFF" "b", "a\xE2\x82" "b", "\xC0\x80", "\xED\xA0\x80", 0xE9));
  const wchar_t* wide = nullptr;
  const char* narrow = nullptr;
  EXPECT_EQ(L"(null)|(null)|  (null)|(n", fmt(L"%s|%S|%8s|%.2hs", wide, narrow, wide, narrow));
}

TEST(WideFormat, StringWidthAndPrecisionCountCharacters) {
  EXPECT_EQ(L"[   ab|ab   |ab|   x]", fmt(L"[%5s|%-5s|%.2s|%4c]", L"ab", L"ab", L"abc", L'x'));
  EXPECT_EQ(L"[  \u00e9\u20ac|\u00e9\u20ac]",
            fmt(L"[%4S|%.2S]", "\xC3\xA9\xE2\x82\xAC", "\xC3\xA9\xE2\x82\xACz"));
  // With a precision the text need not be terminated; the sanitizer build checks the reads.
  const wchar_t unterminatedWide[3] = {L'a', L'b', L'c'};
  const char unterminatedNarrow[2] = {'\xC3', '\xA9'};
  EXPECT_EQ(L"abc|\u00e9", fmt(L"%.3s|%.1S", unterminatedWide, unterminatedNarrow));
  EXPECT_EQ(L"[   42|42   |1.000|ab]",
            fmt(L"[%*d|%*d|%.*f|%*.*s]", 5, 42, -5, 42, 3, 1.0, 2, 2, L"abc"));
}

TEST(WideFormat, NumbersPointersAndOtherConversions) {
  EXPECT_EQ(L"+0042|42    | 42|-0042", fmt(L"%+05d|%-6i| %d|%05d", 42, 42, 42, -42));
  EXPECT_EQ(L"0x0000ff|0XFF|010|005|", fmt(L"%#08x|%#X|%#o|%.3d|%.0d", 255, 255, 8, 5, 0));
  EXPECT_EQ(L"1|1|4294967295|-9223372036854775808|123456789012|-5",
            fmt(L"%hhd|%hu|%u|%lld|%zu|%td", 257, 65537, -1, LLONG_MIN,
                static_cast<std::size_t>(123456789012ULL), static_cast<std::ptrdiff_t>(-5)));
  EXPECT_EQ(L"-00002.500|1.234568e+04|1.5E-07|1.500000|0x00001p+0|     inf",
            fmt(L"%010.3f|%e|%G|%Lf|%010a|%08f", -2.5, 12345.678, 1.5e-7, 1.5L, 1.0, INFINITY));
  const std::wstring pad(2 * sizeof(void*) - 4, L'0');
  EXPECT_EQ(pad + L"ABCD|" + pad + L"0000", fmt(L"%p|%p", reinterpret_cast<void*>(0xABCD), nullptr));
  int untouched = 99;  // %n only consumes its argument
  EXPECT_EQ(L"100% y7|ab|end", fmt(L"100%% %y%d|a%nb|end%", 7, &untouched));
  EXPECT_EQ(99, untouched);
}

TEST(WideFormat, AbsurdWidthsAreClampedAndBoundedFormattingTruncates) {
  EXPECT_EQ(L"<failed>", fmt(nullptr));
  EXPECT_EQ(100000u, fmt(L"%999999999d", 1).size());
  EXPECT_EQ(100000u, fmt(L"%*s", INT_MIN, L"x").size());

  wchar_t buf[8];
  std::wmemset(buf, L'#', 8);
  EXPECT_EQ(-1, kmSwprintf(buf, 5, L"%d-%s", 12, L"abcd"));
  EXPECT_EQ(std::wstring(L"12-a\0#", 6), std::wstring(buf, 6));
  EXPECT_EQ(5, kmSwprintf(buf, 6, L"%s", L"hello"));  // exact fit
  EXPECT_EQ(std::wstring(L"hello\0#", 7), std::wstring(buf, 7));
  EXPECT_EQ(-1, kmSwprintf(buf, 0, L"x"));
  EXPECT_EQ(-1, kmSwprintf(buf + 1, 7, nullptr));
  EXPECT_EQ(std::wstring(L"h\0", 2), std::wstring(buf, 2)) << "count 0 writes nothing";
  EXPECT_EQ(-1, kmSwprintf(buf, 1, L"x"));
  EXPECT_EQ(L'\0', buf[0]);
}

// One decoder serves both: the same bytes must give the same text through either.
TEST(Utf8Decoding, EachMaximalInvalidPieceIsOneReplacementInBothUsers) {
  const std::pair<std::string, std::wstring> cases[] = {
      {"\xC2\x80|\xEF\xBF\xBF|\xF4\x8F\xBF\xBF", L"\u0080|\uFFFF|\U0010FFFF"},  // the edges
      {"\xC0\xAF|\xE0\x80\xAF|\xF0\x80\x80\xAF",  // overlong
       L"\uFFFD\uFFFD|\uFFFD\uFFFD\uFFFD|\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xED\xA0\x80|\xED\xBF\xBF", L"\uFFFD\uFFFD\uFFFD|\uFFFD\uFFFD\uFFFD"},  // surrogates
      {"\xF4\x90\x80\x80|\xF5\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD|\uFFFD\uFFFD"},  // above U+10FFFF
      {"\x80" "a\xBF\xBF" "b", L"\uFFFDa\uFFFD\uFFFDb"},  // stray continuations
      {"\xE2\x82" "a|\xF0\x9F\x98", L"\uFFFDa|\uFFFD"},  // broken off, then cut at the end
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.second, kmFromUtf8(c.first)) << c.first;
    EXPECT_EQ(c.second, fmt(L"%S", c.first.c_str())) << c.first;
  }
  // A length bounds the text: a sequence cut by it is not completed from beyond.
  EXPECT_EQ(L"a\uFFFD", kmFromUtf8("a\xC3\xA9", 2));
  EXPECT_EQ(std::wstring(L"a\0b", 3), kmFromUtf8(std::string("a\0b", 3)));
}

}  // namespace
