// The store file reader: one pass over the lines, each either a section, a
// value, a comment or blank. A line it cannot read is reported and skipped.
#include "KmStoreFile.h"

#include <cstring>
#include <vector>

#include "KmUtf8.h"

namespace {

bool isBlank(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r'; }

std::wstring trim(const std::wstring& text) {
  std::size_t begin = 0, end = text.size();
  while (begin < end && isBlank(text[begin])) ++begin;
  while (end > begin && isBlank(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

bool onlyBlanksFrom(const std::wstring& text, std::size_t pos) {
  for (; pos < text.size(); ++pos)
    if (!isBlank(text[pos])) return false;
  return true;
}

// Reads a quoted string starting at text[pos] (a '"'); pos ends after the
// closing quote. False when it is not closed.
bool readQuoted(const std::wstring& text, std::size_t& pos, std::wstring& out) {
  out.clear();
  for (++pos; pos < text.size(); ++pos) {
    const wchar_t c = text[pos];
    if (c == L'"') {
      ++pos;
      return true;
    }
    if (c == L'\\' && pos + 1 < text.size() && (text[pos + 1] == L'"' || text[pos + 1] == L'\\')) {
      out += text[++pos];
      continue;
    }
    out += c;  // any other backslash stays: hand-written paths are common
  }
  return false;
}

int hexDigit(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'a' && c <= L'f') return c - L'a' + 10;
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

class Parser {
public:
  Parser(KmStoreFlavour flavour, KmStoreNode& root, KmStoreProblemFn report, void* context)
      : mFlavour(flavour), mRoot(root), mReport(report), mContext(context) {}

  void line(int number, const char* bytes, std::size_t length);
  int problems() const { return mProblems; }

private:
  void problem(const std::wstring& text) {
    ++mProblems;
    if (mReport) mReport(mContext, mLine, text);
  }
  void section(const std::wstring& text);
  void value(const std::wstring& text);
  bool mapPath(std::vector<std::wstring>& path);

  KmStoreFlavour mFlavour;
  KmStoreNode& mRoot;
  KmStoreProblemFn mReport;
  void* mContext;
  KmStoreNode* mpCurrent = nullptr;
  bool mBadSection = false;  // values under a rejected section are dropped quietly
  int mLine = 0;
  int mProblems = 0;
};

void Parser::line(int number, const char* bytes, std::size_t length) {
  mLine = number;
  if (length > kKmStoreMaxLineBytes) {
    problem(L"line is longer than " + std::to_wstring(kKmStoreMaxLineBytes) + L" bytes; skipped");
    return;
  }
  if (std::memchr(bytes, 0, length)) {
    problem(L"line holds a NUL byte; skipped");
    return;
  }
  const std::wstring text = trim(kmFromUtf8(bytes, length));
  if (text.empty() || text[0] == L';') return;
  if (text[0] == L'[')
    section(text);
  else if (text[0] == L'"' || text[0] == L'@')
    value(text);
  else
    problem(L"line not understood (expected [key], \"name\"=value or a ; comment); skipped");
}

void Parser::section(const std::wstring& text) {
  mpCurrent = nullptr;
  mBadSection = true;
  if (text.back() != L']' || text.size() < 2) {
    problem(L"section line without a closing \"]\"; skipped with its values");
    return;
  }
  const std::wstring inner = text.substr(1, text.size() - 2);
  if (!inner.empty() && inner[0] == L'-') {
    problem(L"removing keys is not supported; skipped with its values");
    return;
  }
  std::vector<std::wstring> path;
  switch (kmSplitKeyPath(inner, KmKeyPathRules{L'\\', false, kKmStoreMaxDepth}, path)) {
    case KmKeyPathResult::kEmptyName:
      problem(L"empty key name in section \"" + inner + L"\"; skipped with its values");
      return;
    case KmKeyPathResult::kTooDeep:
      problem(L"key path deeper than " + std::to_wstring(kKmStoreMaxDepth) +
              L" levels; skipped with its values");
      return;
    case KmKeyPathResult::kOk:
      break;
  }
  if (!mapPath(path)) return;
  KmStoreNode* node = &mRoot;
  for (const std::wstring& name : path) node = &node->ensureChild(name);
  mpCurrent = node;
  mBadSection = false;
}

// Checks a section's keys against the flavour and drops a leading root name.
bool Parser::mapPath(std::vector<std::wstring>& path) {
  if (mFlavour == KmStoreFlavour::kConfiguration) {
    if (!kmStoreSameName(path[0], L"Applications")) {
      problem(L"unknown configuration section \"" + path[0] +
              L"\" (expected \"Applications\"); skipped with its values");
      return false;
    }
    path[0] = L"Applications";
    for (const std::wstring& name : path) {
      if (name.find(L'/') != std::wstring::npos) {
        problem(L"key name \"" + name + L"\" holds \"/\"; skipped with its values");
        return false;
      }
    }
    return true;
  }
  const bool user = mFlavour == KmStoreFlavour::kCurrentUser;
  const wchar_t* mine[] = {user ? L"HKEY_CURRENT_USER" : L"HKEY_LOCAL_MACHINE",
                           user ? L"HKCU" : L"HKLM"};
  const wchar_t* other[] = {user ? L"HKEY_LOCAL_MACHINE" : L"HKEY_CURRENT_USER",
                            user ? L"HKLM" : L"HKCU"};
  if (kmStoreSameName(path[0], mine[0]) || kmStoreSameName(path[0], mine[1])) {
    path.erase(path.begin());
  } else if (kmStoreSameName(path[0], other[0]) || kmStoreSameName(path[0], other[1])) {
    problem(L"key of " + std::wstring(other[0]) + L" in the file of " + mine[0] +
            L"; skipped with its values");
    return false;
  }
  return true;
}

void Parser::value(const std::wstring& text) {
  KmStoreValue value;
  std::size_t pos = 0;
  if (text[0] == L'@') {
    pos = 1;  // the key's unnamed value
  } else if (!readQuoted(text, pos, value.name)) {
    problem(L"value name without a closing quote; skipped");
    return;
  }
  while (pos < text.size() && isBlank(text[pos])) ++pos;
  if (pos >= text.size() || text[pos] != L'=') {
    problem(L"\"=\" expected after the value name; skipped");
    return;
  }
  ++pos;
  while (pos < text.size() && isBlank(text[pos])) ++pos;
  if (pos < text.size() && text[pos] == L'"') {
    if (!readQuoted(text, pos, value.text)) {
      problem(L"string value without a closing quote; skipped");
      return;
    }
    if (!onlyBlanksFrom(text, pos)) {
      problem(L"unexpected text after the string value; skipped");
      return;
    }
    value.type = KmStoreValue::kString;
  } else if (text.size() - pos >= 6 && kmStoreSameName(text.substr(pos, 6), L"dword:")) {
    pos += 6;
    std::uint32_t number = 0;
    std::size_t digits = 0;
    for (int d; pos < text.size() && (d = hexDigit(text[pos])) >= 0; ++pos, ++digits)
      number = (number << 4) | static_cast<std::uint32_t>(d);
    if (digits == 0 || digits > 8 || !onlyBlanksFrom(text, pos)) {
      problem(L"a dword value needs 1 to 8 hexadecimal digits; skipped");
      return;
    }
    value.type = KmStoreValue::kDWord;
    value.number = number;
  } else {
    problem(L"only \"text\" and dword:hhhhhhhh values are supported; skipped");
    return;
  }
  if (mFlavour == KmStoreFlavour::kConfiguration && value.name.find(L'/') != std::wstring::npos) {
    problem(L"value name \"" + value.name + L"\" holds \"/\"; skipped");
    return;
  }
  if (!mpCurrent) {
    if (!mBadSection) problem(L"value line before any [key] line; skipped");
    return;
  }
  mpCurrent->setValue(value);
}

}  // namespace

int kmParseStoreText(const char* data, std::size_t size, KmStoreFlavour flavour, KmStoreNode& root,
                     KmStoreProblemFn report, void* context) {
  Parser parser(flavour, root, report, context);
  if (!data) return 0;
  std::size_t pos = 0;
  if (size >= 3 && std::memcmp(data, "\xEF\xBB\xBF", 3) == 0) pos = 3;  // byte order mark
  int number = 0;
  while (pos < size) {
    const void* newline = std::memchr(data + pos, '\n', size - pos);
    const std::size_t end =
        newline ? static_cast<std::size_t>(static_cast<const char*>(newline) - data) : size;
    parser.line(++number, data + pos, end - pos);
    pos = end + 1;
  }
  return parser.problems();
}
