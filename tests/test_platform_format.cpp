// Wide formatting: host argument conventions, C-library numbers, measuring and bounds.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "KmWideText.h"

namespace {

// Measures, then formats unbounded into a guarded buffer; both must agree
// and nothing may be written past the terminator.
std::wstring fmt(const wchar_t* format, ...) {
  va_list a, b;
  va_start(a, format);
  va_copy(b, a);
  const int need = _vscwprintf(format, a);
  std::vector<wchar_t> buf(need + 2, L'#');
  const int wrote = vswprintf(buf.data(), format, b);
  va_end(b);
  va_end(a);
  EXPECT_EQ(need, wrote) << format;
  EXPECT_EQ(L'#', buf[need + 1]) << format;
  EXPECT_EQ(static_cast<std::size_t>(need), std::wcslen(buf.data())) << format;
  return buf.data();
}

int measure(const wchar_t* format, ...) {
  va_list a;
  va_start(a, format);
  const int n = _vscwprintf(format, a);
  va_end(a);
  return n;
}

}  // namespace

TEST(WideFormat, PercentSAndPercentCTakeWideArguments) {
  EXPECT_EQ(L"[h\u00e9llo|x|\u20ac]", fmt(L"[%s|%c|%c]", L"h\u00e9llo", L'x', L'\u20ac'));
  EXPECT_EQ(L"ab|cd|e", fmt(L"%ls|%ws|%lc", L"ab", L"cd", L'e'));
  EXPECT_EQ(L"\U0001F600", fmt(L"%s", L"\U0001F600"));
}

TEST(WideFormat, UpperSAndHsTakeNarrowUtf8) {
  EXPECT_EQ(L"h\u00e9llo \u20ac \U0001F600",
            fmt(L"%S %hs %S", "h\xC3\xA9llo", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"));
  EXPECT_EQ(L"xy", fmt(L"%C%hc", 'x', 'y'));
  EXPECT_EQ(L"wide", fmt(L"%lS", L"wide"));
  // Invalid bytes, truncated sequences, overlongs and surrogates each become U+FFFD.
  EXPECT_EQ(L"a\uFFFDb", fmt(L"%S", "a\xFF" "b"));
  EXPECT_EQ(L"a\uFFFDb", fmt(L"%S", "a\xE2\x82" "b"));
  EXPECT_EQ(L"\uFFFD\uFFFD", fmt(L"%S", "\xC0\x80"));
  EXPECT_EQ(L"\uFFFD\uFFFD\uFFFD", fmt(L"%S", "\xED\xA0\x80"));
  EXPECT_EQ(L"\uFFFD", fmt(L"%C", 0xE9));
}

TEST(WideFormat, StringWidthAndPrecisionCountCharacters) {
  EXPECT_EQ(L"[   ab|ab   |ab]", fmt(L"[%5s|%-5s|%.2s]", L"ab", L"ab", L"abc"));
  EXPECT_EQ(L"[  \u00e9\u20ac|\u00e9\u20ac]",
            fmt(L"[%4S|%.2S]", "\xC3\xA9\xE2\x82\xAC", "\xC3\xA9\xE2\x82\xACz"));
  EXPECT_EQ(L"[   x|y   ]", fmt(L"[%4c|%-4C]", L'x', 'y'));
  // With a precision the text need not be terminated; the sanitizer build checks the reads.
  const wchar_t wide[3] = {L'a', L'b', L'c'};
  const char narrow[2] = {'\xC3', '\xA9'};
  EXPECT_EQ(L"abc|\u00e9", fmt(L"%.3s|%.1S", wide, narrow));
}

TEST(WideFormat, NullStringsPrintNull) {
  const wchar_t* wide = nullptr;
  const char* narrow = nullptr;
  EXPECT_EQ(L"(null)|(null)|  (null)|(n", fmt(L"%s|%S|%8s|%.2hs", wide, narrow, wide, narrow));
}

TEST(WideFormat, IntegersHonourFlagsWidthPrecisionAndLength) {
  EXPECT_EQ(L"+0042|42    | 42|-0042", fmt(L"%+05d|%-6i| %d|%05d", 42, 42, 42, -42));
  EXPECT_EQ(L"0xff|0x0000ff|0XFF|010|377", fmt(L"%#x|%#08x|%#X|%#o|%o", 255, 255, 255, 8, 255));
  EXPECT_EQ(L"005|     005|", fmt(L"%.3d|%08.3d|%.0d", 5, 5, 0));
  EXPECT_EQ(L"1|1|-1|4294967295", fmt(L"%hhd|%hu|%hhi|%u", 257, 65537, 255, -1));
  EXPECT_EQ(L"-9223372036854775808|18446744073709551615",
            fmt(L"%lld|%llu", static_cast<long long>(INT64_MIN),
                static_cast<unsigned long long>(UINT64_MAX)));
  EXPECT_EQ(L"123456789012|-5|ffffffffff|7",
            fmt(L"%zu|%td|%jx|%ld", static_cast<std::size_t>(123456789012ULL),
                static_cast<std::ptrdiff_t>(-5), static_cast<std::intmax_t>(0xFFFFFFFFFFLL), 7L));
}

TEST(WideFormat, FloatsHonourFlagsAndZeroPadAfterSignAndPrefix) {
  EXPECT_EQ(L"3.14|-00002.500|1.234568e+04|1.5E-07|0.0001",
            fmt(L"%.2f|%010.3f|%e|%G|%g", 3.14159, -2.5, 12345.678, 1.5e-7, 0.0001));
  EXPECT_EQ(L"1.500000|+2.2|0x00001p+0", fmt(L"%Lf|%+.1F|%010a", 1.5L, 2.25, 1.0));
  EXPECT_EQ(L"     inf|-inf", fmt(L"%08f|%f", INFINITY, -INFINITY));
}

TEST(WideFormat, StarTakesWidthAndPrecisionFromArguments) {
  EXPECT_EQ(L"[   42|42   |42   ]", fmt(L"[%*d|%-*d|%*d]", 5, 42, 5, 42, -5, 42));
  EXPECT_EQ(L"[1.000|abc|ab]", fmt(L"[%.*f|%.*s|%*.*s]", 3, 1.0, -1, L"abc", 2, 2, L"abc"));
}

TEST(WideFormat, PointerPercentAndUnknownConversions) {
  const std::wstring pad(2 * sizeof(void*) - 4, L'0');
  EXPECT_EQ(pad + L"ABCD|" + pad + L"0000", fmt(L"%p|%p", reinterpret_cast<void*>(0xABCD), nullptr));
  EXPECT_EQ(L"100% y7", fmt(L"100%% %y%d", 7));  // an unknown conversion takes no argument
  int untouched = 99;
  EXPECT_EQ(L"ab5", fmt(L"a%nb%d", &untouched, 5));
  EXPECT_EQ(99, untouched);
  EXPECT_EQ(L"end", fmt(L"end%"));
}

TEST(WideFormat, MeasuringAbsurdWidthsIsClampedAndNullFormatFails) {
  EXPECT_EQ(-1, measure(nullptr));
  EXPECT_EQ(100000, measure(L"%999999999d", 1));
  EXPECT_EQ(100000, measure(L"%*s", INT_MIN, L"x"));
}

TEST(WideFormat, BoundedFormattingTruncatesAndTerminates) {
  wchar_t buf[8];
  std::wmemset(buf, L'#', 8);
  EXPECT_EQ(5, kmSwprintf(buf, 6, L"%s", L"hello"));  // exact fit
  EXPECT_STREQ(L"hello", buf);
  EXPECT_EQ(L'#', buf[6]);

  std::wmemset(buf, L'#', 8);
  EXPECT_EQ(-1, kmSwprintf(buf, 5, L"%d-%s", 12, L"abcd"));
  EXPECT_STREQ(L"12-a", buf);
  EXPECT_EQ(L'#', buf[5]);

  std::wmemset(buf, L'#', 8);
  EXPECT_EQ(-1, kmSwprintf(buf, 0, L"x"));
  EXPECT_EQ(L'#', buf[0]);
  EXPECT_EQ(-1, kmSwprintf(buf, 1, L"x"));
  EXPECT_EQ(L'\0', buf[0]);
  EXPECT_EQ(0, kmSwprintf(buf, 1, L""));
  EXPECT_EQ(-1, kmSwprintf(buf, 8, nullptr));
  EXPECT_EQ(L'\0', buf[0]);
}
