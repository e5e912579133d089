// Wide printf-style formatting where %s/%c are wide and %S/%hs/%C/%hc are narrow UTF-8.
#include "KmWideText.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "KmUtf8Decode.h"

namespace {

// Beyond these a field is a mistake, not a layout; clamping keeps counts sane.
constexpr int kMaxWidth = 100000;
constexpr int kMaxPrecision = 100000;
// Enough for every digit a double can produce; with it the largest long double
// in %Lf still fits the number buffer below.
constexpr int kMaxNumberPrecision = 1100;
constexpr std::size_t kNumberBuffer = 6144;
constexpr wchar_t kReplacement = 0xFFFD;

// Stores what fits and counts everything, so measuring and writing share one path.
struct Sink {
  wchar_t* buf;
  std::size_t cap;  // characters that may be stored, terminator excluded
  std::size_t total = 0;

  void put(wchar_t c) {
    if (buf && total < cap) buf[total] = c;
    ++total;
  }
  void repeat(wchar_t c, int n) {
    for (int i = 0; i < n; ++i) put(c);
  }
};

struct Field {
  bool left = false, plus = false, space = false, alt = false, zero = false;
  int width = 0;
  int precision = -1;  // -1: not given
  enum Length { None, HH, H, L, LL, J, Z, T, BigL, W } length = None;
};

void padBefore(Sink& out, const Field& field, int len) {
  if (!field.left && field.width > len) out.repeat(L' ', field.width - len);
}
void padAfter(Sink& out, const Field& field, int len) {
  if (field.left && field.width > len) out.repeat(L' ', field.width - len);
}

void emitWide(Sink& out, const Field& field, const wchar_t* s) {
  if (!s) s = L"(null)";
  // Bounded scan: with a precision the text need not be terminated.
  const int limit = field.precision < 0 ? INT_MAX : field.precision;
  int len = 0;
  while (len < limit && s[len]) ++len;
  padBefore(out, field, len);
  for (int i = 0; i < len; ++i) out.put(s[i]);
  padAfter(out, field, len);
}

void emitNarrow(Sink& out, const Field& field, const char* s) {
  if (!s) s = "(null)";
  // Precision counts characters produced, not bytes; count first for the padding.
  const int limit = field.precision < 0 ? INT_MAX : field.precision;
  int len = 0;
  for (auto* p = reinterpret_cast<const unsigned char*>(s); len < limit && *p; ++len)
    kmDecodeUtf8(p, nullptr);
  padBefore(out, field, len);
  auto* p = reinterpret_cast<const unsigned char*>(s);
  for (int i = 0; i < len; ++i) out.put(kmDecodeUtf8(p, nullptr));
  padAfter(out, field, len);
}

void emitChar(Sink& out, const Field& field, wchar_t c) {
  padBefore(out, field, 1);
  out.put(c);
  padAfter(out, field, 1);
}

// Appends the flags, precision and a fixed length to a narrow format.
void narrowFormat(char* f, const Field& field, const char* length, char conv) {
  std::size_t n = 0;
  f[n++] = '%';
  if (field.plus) f[n++] = '+';
  if (field.space) f[n++] = ' ';
  if (field.alt) f[n++] = '#';
  if (field.precision >= 0) f[n++] = '.', f[n++] = '*';
  for (; *length; ++length) f[n++] = *length;
  f[n++] = conv;
  f[n] = 0;
}

// Width is applied here rather than by the C library so the number buffer only
// has to hold the digits. Zeros go after any sign and "0x" prefix.
void emitNumber(Sink& out, const Field& field, const char* text, int n, bool zeroAllowed) {
  if (n < 0) return;
  if (n >= static_cast<int>(kNumberBuffer)) n = static_cast<int>(kNumberBuffer) - 1;
  const int pad = field.width > n ? field.width - n : 0;
  int i = 0;
  if (pad && field.zero && !field.left && zeroAllowed) {
    if (text[i] == '-' || text[i] == '+' || text[i] == ' ')
      out.put(static_cast<unsigned char>(text[i++]));
    if (i + 1 < n && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) {
      out.put(L'0');
      out.put(static_cast<unsigned char>(text[i + 1]));
      i += 2;
    }
    out.repeat(L'0', pad);
  } else {
    padBefore(out, field, n);
  }
  for (; i < n; ++i) out.put(static_cast<unsigned char>(text[i]));
  padAfter(out, field, n);
}

long long signedArg(va_list* ap, Field::Length length) {
  switch (length) {
    case Field::HH: return static_cast<signed char>(va_arg(*ap, int));
    case Field::H: return static_cast<short>(va_arg(*ap, int));
    case Field::L: return va_arg(*ap, long);
    case Field::LL:
    case Field::BigL: return va_arg(*ap, long long);
    case Field::J: return va_arg(*ap, std::intmax_t);
    case Field::Z: return va_arg(*ap, std::make_signed_t<std::size_t>);
    case Field::T: return va_arg(*ap, std::ptrdiff_t);
    default: return va_arg(*ap, int);
  }
}

unsigned long long unsignedArg(va_list* ap, Field::Length length) {
  switch (length) {
    case Field::HH: return static_cast<unsigned char>(va_arg(*ap, unsigned));
    case Field::H: return static_cast<unsigned short>(va_arg(*ap, unsigned));
    case Field::L: return va_arg(*ap, unsigned long);
    case Field::LL:
    case Field::BigL: return va_arg(*ap, unsigned long long);
    case Field::J: return va_arg(*ap, std::uintmax_t);
    case Field::Z: return va_arg(*ap, std::size_t);
    case Field::T: return va_arg(*ap, std::make_unsigned_t<std::ptrdiff_t>);
    default: return va_arg(*ap, unsigned);
  }
}

// The narrow format carries ".*" only when a precision was given.
template <class T>
int printNumber(char (&text)[kNumberBuffer], const char* f, int precision, T v) {
  return precision >= 0 ? std::snprintf(text, sizeof text, f, precision, v)
                        : std::snprintf(text, sizeof text, f, v);
}

void formatInteger(Sink& out, const Field& field, wchar_t conv, va_list* ap) {
  char f[16];
  char text[kNumberBuffer];
  int n;
  const int prec = field.precision;
  if (conv == L'd' || conv == L'i') {
    narrowFormat(f, field, "ll", 'd');
    const long long v = signedArg(ap, field.length);
    n = printNumber(text, f, prec, v);
  } else {
    narrowFormat(f, field, "ll", static_cast<char>(conv));
    const unsigned long long v = unsignedArg(ap, field.length);
    n = printNumber(text, f, prec, v);
  }
  // A precision already fixes the digit count, so '0' is ignored then.
  emitNumber(out, field, text, n, prec < 0);
}

void formatFloat(Sink& out, const Field& field, wchar_t conv, va_list* ap) {
  char f[16];
  char text[kNumberBuffer];
  int n;
  bool finite;
  const int prec = field.precision;
  if (field.length == Field::BigL) {
    narrowFormat(f, field, "L", static_cast<char>(conv));
    const long double v = va_arg(*ap, long double);
    finite = std::isfinite(v);
    n = printNumber(text, f, prec, v);
  } else {
    narrowFormat(f, field, "", static_cast<char>(conv));
    const double v = va_arg(*ap, double);
    finite = std::isfinite(v);
    n = printNumber(text, f, prec, v);
  }
  emitNumber(out, field, text, n, finite);
}

// The host shows pointers as fixed-width uppercase hex without a prefix.
void formatPointer(Sink& out, const Field& field, va_list* ap) {
  char text[64];
  const auto address = reinterpret_cast<std::uintptr_t>(va_arg(*ap, void*));
  const auto v = static_cast<unsigned long long>(address);
  const int n = std::snprintf(text, sizeof text, field.alt ? "%#.*llX" : "%.*llX",
                              static_cast<int>(2 * sizeof(void*)), v);
  Field plain = field;
  plain.zero = false;
  emitNumber(out, plain, text, n, false);
}

void parseFlags(const wchar_t*& p, Field& field) {
  for (;; ++p) {
    if (*p == L'-') field.left = true;
    else if (*p == L'+') field.plus = true;
    else if (*p == L' ') field.space = true;
    else if (*p == L'#') field.alt = true;
    else if (*p == L'0') field.zero = true;
    else return;
  }
}

// Digits of a width or precision, clamped to limit.
int parseDigits(const wchar_t*& p, int limit) {
  int n = 0;
  for (; *p >= L'0' && *p <= L'9'; ++p) {
    if (n < limit) n = n * 10 + (*p - L'0');
  }
  return n > limit ? limit : n;
}

void parseWidth(const wchar_t*& p, Field& field, va_list* ap) {
  if (*p != L'*') {
    field.width = parseDigits(p, kMaxWidth);
    return;
  }
  ++p;
  const int w = va_arg(*ap, int);
  if (w < 0) {  // a negative width argument means left-justified
    field.left = true;
    field.width = w < -kMaxWidth ? kMaxWidth : -w;
  } else {
    field.width = w > kMaxWidth ? kMaxWidth : w;
  }
}

void parsePrecision(const wchar_t*& p, Field& field, va_list* ap) {
  if (*p != L'.') return;
  ++p;
  if (*p != L'*') {
    field.precision = parseDigits(p, kMaxPrecision);
    return;
  }
  ++p;
  const int v = va_arg(*ap, int);
  field.precision = v < 0 ? -1 : (v > kMaxPrecision ? kMaxPrecision : v);
}

void parseLength(const wchar_t*& p, Field& field) {
  if (p[0] == L'h' && p[1] == L'h') field.length = Field::HH, p += 2;
  else if (p[0] == L'l' && p[1] == L'l') field.length = Field::LL, p += 2;
  else if (*p == L'h') field.length = Field::H, ++p;
  else if (*p == L'l') field.length = Field::L, ++p;
  else if (*p == L'j') field.length = Field::J, ++p;
  else if (*p == L'z') field.length = Field::Z, ++p;
  else if (*p == L't') field.length = Field::T, ++p;
  else if (*p == L'L') field.length = Field::BigL, ++p;
  else if (*p == L'w') field.length = Field::W, ++p;
}

// "%s" and "%c" are wide unless sized "h"/"hh"; "%S" and "%C" are narrow
// unless sized "l", "ll" or "w".
bool wideArgument(const Field& field, wchar_t conv) {
  if (conv == L's' || conv == L'c') return field.length != Field::H && field.length != Field::HH;
  return field.length == Field::L || field.length == Field::LL || field.length == Field::W;
}

void convert(Sink& out, const Field& field, wchar_t conv, va_list* ap) {
  Field num = field;
  if (num.precision > kMaxNumberPrecision) num.precision = kMaxNumberPrecision;
  switch (conv) {
    case L's':
    case L'S':
      if (wideArgument(field, conv)) emitWide(out, field, va_arg(*ap, const wchar_t*));
      else emitNarrow(out, field, va_arg(*ap, const char*));
      break;
    case L'c':
    case L'C': {
      const int v = va_arg(*ap, int);
      const auto b = static_cast<unsigned char>(v);
      // A narrow character is one byte: anything beyond ASCII is half a sequence.
      emitChar(out, field, wideArgument(field, conv) ? static_cast<wchar_t>(v)
                           : b < 0x80                ? static_cast<wchar_t>(b)
                                                     : kReplacement);
      break;
    }
    case L'd': case L'i': case L'u': case L'o': case L'x': case L'X':
      formatInteger(out, num, conv, ap);
      break;
    case L'e': case L'E': case L'f': case L'F': case L'g': case L'G': case L'a': case L'A':
      formatFloat(out, num, conv, ap);
      break;
    case L'p':
      formatPointer(out, field, ap);
      break;
    case L'n':
      // Writing through %n is an attack vector; the argument is only consumed.
      (void)va_arg(*ap, void*);
      break;
    default:
      out.put(conv);  // covers "%%" as well as unknown characters
      break;
  }
}

void format(Sink& out, const wchar_t* fmt, va_list* ap) {
  const wchar_t* p = fmt;
  while (*p) {
    if (*p != L'%') {
      out.put(*p++);
      continue;
    }
    ++p;
    Field field;
    parseFlags(p, field);
    parseWidth(p, field, ap);
    parsePrecision(p, field, ap);
    parseLength(p, field);
    const wchar_t conv = *p;
    if (!conv) break;  // a dangling '%' at the end prints nothing
    ++p;
    convert(out, field, conv, ap);
  }
}

int countOrFail(std::size_t total) {
  return total > static_cast<std::size_t>(INT_MAX) ? -1 : static_cast<int>(total);
}

}  // namespace

int _vscwprintf(const wchar_t* fmt, va_list args) {
  if (!fmt) return -1;
  va_list ap;
  va_copy(ap, args);
  Sink out{nullptr, 0};
  format(out, fmt, &ap);
  va_end(ap);
  return countOrFail(out.total);
}

int vswprintf(wchar_t* buf, const wchar_t* fmt, va_list args) {
  if (!buf || !fmt) return -1;
  va_list ap;
  va_copy(ap, args);
  Sink out{buf, SIZE_MAX};
  format(out, fmt, &ap);
  va_end(ap);
  buf[out.total] = 0;
  return countOrFail(out.total);
}

int kmVswprintf(wchar_t* buf, std::size_t count, const wchar_t* fmt, va_list args) {
  if (!buf || count == 0) return -1;
  if (!fmt) {
    buf[0] = 0;
    return -1;
  }
  va_list ap;
  va_copy(ap, args);
  Sink out{buf, count - 1};
  format(out, fmt, &ap);
  va_end(ap);
  if (out.total > out.cap) {
    buf[out.cap] = 0;
    return -1;
  }
  buf[out.total] = 0;
  return countOrFail(out.total);
}

int kmSwprintf(wchar_t* buf, std::size_t count, const wchar_t* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  const int n = kmVswprintf(buf, count, fmt, ap);
  va_end(ap);
  return n;
}
