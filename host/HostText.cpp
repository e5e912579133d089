#include "HostText.h"

#include <cwctype>

std::wstring widen(const char* utf8) {
  std::wstring out;
  if (!utf8) return out;
  const auto* p = reinterpret_cast<const unsigned char*>(utf8);
  while (*p) {
    unsigned c = *p;
    int extra = c < 0x80 ? 0 : (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : (c & 0xF8) == 0xF0 ? 3 : -1;
    if (extra < 0) {
      out += L'\xFFFD';
      ++p;
      continue;
    }
    c &= extra == 0 ? 0x7F : (0x3F >> extra);
    int i = 1;
    for (; i <= extra && (p[i] & 0xC0) == 0x80; ++i) c = (c << 6) | (p[i] & 0x3F);
    if (i <= extra) {
      out += L'\xFFFD';
      p += i;
      continue;
    }
    out += static_cast<wchar_t>(c);
    p += extra + 1;
  }
  return out;
}

std::string narrow(const std::wstring& wide) {
  std::string out;
  for (wchar_t wc : wide) {
    auto c = static_cast<unsigned>(wc);
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

std::wstring upper(std::wstring text) {
  for (wchar_t& c : text) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
  return text;
}

bool equalNoCase(const std::wstring& a, const std::wstring& b) { return upper(a) == upper(b); }

std::wstring trim(const std::wstring& text) {
  const auto first = text.find_first_not_of(L" \t\r\n");
  if (first == std::wstring::npos) return std::wstring();
  const auto last = text.find_last_not_of(L" \t\r\n");
  return text.substr(first, last - first + 1);
}

void splitFirstWord(const std::wstring& line, std::wstring& word, std::wstring& rest) {
  const std::wstring t = trim(line);
  const auto blank = t.find_first_of(L" \t");
  word = t.substr(0, blank);
  rest = blank == std::wstring::npos ? std::wstring() : trim(t.substr(blank));
}
