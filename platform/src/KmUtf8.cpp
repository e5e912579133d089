#include "KmUtf8.h"

#include <cstdint>

std::string kmToUtf8(const wchar_t* text) {
  std::string out;
  if (!text) return out;
  for (; *text; ++text) {
    std::uint32_t c = static_cast<std::uint32_t>(*text);
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
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
  return out;
}

std::wstring kmFromUtf8(const char* text, std::size_t length) {
  std::wstring out;
  const auto* p = reinterpret_cast<const unsigned char*>(text);
  const unsigned char* end = p + length;
  while (p < end) {
    const unsigned char b = *p;
    int extra;
    std::uint32_t c;
    if (b < 0x80) { c = b; extra = 0; }
    else if ((b & 0xE0) == 0xC0) { c = b & 0x1F; extra = 1; }
    else if ((b & 0xF0) == 0xE0) { c = b & 0x0F; extra = 2; }
    else if ((b & 0xF8) == 0xF0) { c = b & 0x07; extra = 3; }
    else { out += L'\xFFFD'; ++p; continue; }
    if (end - p < extra + 1) {  // cut short at the end
      out += L'\xFFFD';
      break;
    }
    bool ok = true;
    for (int i = 1; i <= extra; ++i) {
      if ((p[i] & 0xC0) != 0x80) { ok = false; break; }
      c = (c << 6) | (p[i] & 0x3F);
    }
    static const std::uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (!ok || c < kMin[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      out += L'\xFFFD';
      ++p;
      continue;
    }
    out += static_cast<wchar_t>(c);
    p += extra + 1;
  }
  return out;
}
