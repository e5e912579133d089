#include "HostText.h"

#include <cstring>
#include <cwctype>

#include "KmUtf8.h"

// Bytes that are not UTF-8 are kept as they are, as the runtime keeps paths.
std::wstring widen(const char* bytes) { return bytes ? kmPathFromBytes(bytes) : std::wstring(); }

std::string narrow(const std::wstring& wide) { return kmPathToBytes(wide); }

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
