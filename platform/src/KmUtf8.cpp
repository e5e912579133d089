// Wide text <-> UTF-8. Pure: the store parser's fuzz target builds it in.
#include "KmUtf8.h"

#include <cstdint>

#include "KmUtf8Decode.h"

namespace {
constexpr wchar_t kReplacement = 0xFFFD;
}  // namespace

wchar_t kmDecodeUtf8(const unsigned char*& p, const unsigned char* end) {
  const unsigned b0 = *p++;
  if (b0 < 0x80) return static_cast<wchar_t>(b0);
  int more;
  std::uint32_t cp;
  unsigned lo = 0x80, hi = 0xBF;  // range of the second byte
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    more = 1;
    cp = b0 & 0x1F;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    more = 2;
    cp = b0 & 0x0F;
    if (b0 == 0xE0) lo = 0xA0;  // overlong
    if (b0 == 0xED) hi = 0x9F;  // surrogates
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    more = 3;
    cp = b0 & 0x07;
    if (b0 == 0xF0) lo = 0x90;  // overlong
    if (b0 == 0xF4) hi = 0x8F;  // above U+10FFFF
  } else {
    return kReplacement;
  }
  for (int i = 0; i < more; ++i) {
    if (p == end) return kReplacement;
    const unsigned b = *p;
    if (b < lo || b > hi) return kReplacement;
    ++p;
    cp = (cp << 6) | (b & 0x3F);
    lo = 0x80;
    hi = 0xBF;
  }
  return static_cast<wchar_t>(cp);
}

namespace {

// Whether [p, end) is the start of a valid sequence that needs more bytes.
bool cutShort(const unsigned char* p, const unsigned char* end) {
  const unsigned b0 = *p;
  const int more = b0 >= 0xC2 && b0 <= 0xDF ? 1 : b0 >= 0xE0 && b0 <= 0xEF ? 2 : b0 >= 0xF0 && b0 <= 0xF4 ? 3 : 0;
  if (more == 0 || end - p > more) return false;
  // Decoding what is there tells: a valid prefix breaks off only at end.
  const unsigned char* q = p;
  kmDecodeUtf8(q, end);
  return q == end;
}

}  // namespace

bool kmDecodeUtf8Chunk(const char*& from, const char* fromEnd, wchar_t*& to, wchar_t* toEnd) {
  auto p = reinterpret_cast<const unsigned char*>(from);
  const auto end = reinterpret_cast<const unsigned char*>(fromEnd);
  bool cut = false;
  while (p < end && to < toEnd) {
    if (cutShort(p, end)) {
      cut = true;
      break;
    }
    *to++ = kmDecodeUtf8(p, end);
  }
  from = reinterpret_cast<const char*>(p);
  return cut;
}

namespace {

// One code point as UTF-8; what cannot be encoded becomes U+FFFD.
void appendUtf8(std::string& out, std::uint32_t c) {
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacement;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

constexpr std::uint32_t kEscapeBase = 0xDC00;

}  // namespace

std::string kmToUtf8(const wchar_t* text) {
  std::string out;
  if (!text) return out;
  for (; *text; ++text) appendUtf8(out, static_cast<std::uint32_t>(*text));
  return out;
}

std::wstring kmPathFromBytes(const char* bytes) {
  std::wstring out;
  if (!bytes) return out;
  const auto* p = reinterpret_cast<const unsigned char*>(bytes);
  while (*p) {
    const unsigned char* start = p;
    const wchar_t c = kmDecodeUtf8(p, nullptr);
    const bool encodedReplacement = p - start == 3 && start[0] == 0xEF && start[1] == 0xBF && start[2] == 0xBD;
    if (c != kReplacement || encodedReplacement) {
      out += c;
      continue;
    }
    for (const unsigned char* b = start; b < p; ++b) out += static_cast<wchar_t>(kEscapeBase + *b);
  }
  return out;
}

std::string kmPathToBytes(const wchar_t* path) {
  std::string out;
  if (!path) return out;
  for (; *path; ++path) {
    const auto c = static_cast<std::uint32_t>(*path);
    if (c >= kEscapeBase + 0x80 && c <= kEscapeBase + 0xFF)
      out += static_cast<char>(c - kEscapeBase);
    else
      appendUtf8(out, c);
  }
  return out;
}

std::wstring kmFromUtf8(const char* text, std::size_t length) {
  std::wstring out;
  if (!text) return out;
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  const unsigned char* end = p + length;
  out.reserve(length);
  while (p < end) out += kmDecodeUtf8(p, end);
  return out;
}
