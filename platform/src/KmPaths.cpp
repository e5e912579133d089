// Path helpers over POSIX paths; "\" is taken as a separator too, since
// names written for the host's original platform use it.
#include "KmPathMaker.h"

#include <cstdint>
#include <cwchar>
#include <string>
#include <vector>

#include "KmKernel32.h"
#include "KmOsCalls.h"
#include "KmUtf8.h"

namespace {

bool isSeparator(wchar_t c) { return c == L'/' || c == L'\\'; }

bool store(const std::wstring& text, wchar_t* out, std::size_t outCount) {
  if (!out || outCount == 0) return false;
  if (text.size() >= outCount) {
    out[0] = 0;
    return false;
  }
  std::wmemcpy(out, text.c_str(), text.size() + 1);
  return true;
}

// An empty result where there is room, and false.
bool emptied(wchar_t* out, std::size_t outCount) {
  if (out && outCount) out[0] = 0;
  return false;
}

void storeTruncated(const std::wstring& text, wchar_t* out) {
  if (!out) return;
  constexpr std::size_t kLongest = kKmTextBuffer - 1;
  const std::size_t n = text.size() < kLongest ? text.size() : kLongest;
  std::wmemcpy(out, text.c_str(), n);
  out[n] = 0;
}

// Position just after the last separator (0 when there is none).
std::size_t nameStart(const std::wstring& path) {
  for (std::size_t i = path.size(); i > 0; --i)
    if (isSeparator(path[i - 1])) return i;
  return 0;
}

// Position of the extension's dot within the name part, or npos.
std::size_t extensionStart(const std::wstring& path) {
  const std::size_t start = nameStart(path);
  const std::size_t dot = path.rfind(L'.');
  return (dot == std::wstring::npos || dot < start) ? std::wstring::npos : dot;
}

// Component by component through strings: for results that only fit once
// ".." has taken parts away again.
bool fullFileNameSlowly(const wchar_t* path, wchar_t* out, std::size_t outCount) {
  if (!path || !*path) return emptied(out, outCount);
  std::wstring full(path);
  for (wchar_t& c : full)
    if (c == L'\\') c = L'/';
  if (full[0] != L'/') {
    wchar_t cwd[4096];
    if (!KmKernel32::GetCurrentDirectoryW(4096, cwd) || cwd[0] == 0) return emptied(out, outCount);
    full = std::wstring(cwd) + L"/" + full;
  }
  // Resolve "." and ".." and collapse repeated separators.
  std::vector<std::wstring> parts;
  std::size_t i = 0;
  while (i < full.size()) {
    std::size_t j = full.find(L'/', i);
    if (j == std::wstring::npos) j = full.size();
    std::wstring part = full.substr(i, j - i);
    if (part == L"..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != L".") {
      parts.push_back(part);
    }
    i = j + 1;
  }
  std::wstring result;
  for (const std::wstring& part : parts) result += L"/" + part;
  if (result.empty()) result = L"/";
  return store(result, out, outCount);
}

}  // namespace

bool KmPathMaker::getFullFileName(const wchar_t* path, wchar_t* out, std::size_t outCount) {
  if (!path || !*path) return emptied(out, outCount);
  if (!out || outCount == 0) return false;
  const std::size_t pathLength = std::wcslen(path);
  const auto at = [](const wchar_t* w) { return reinterpret_cast<std::uintptr_t>(w); };
  // Written in place: a buffer that overlaps the path goes the long way.
  if (at(out + outCount) > at(path) && at(out) <= at(path + pathLength))
    return fullFileNameSlowly(path, out, outCount);
  std::wstring joined;  // a relative path only
  const wchar_t* p = path;
  if (!isSeparator(path[0])) {
    wchar_t cwd[4096];
    if (!KmKernel32::GetCurrentDirectoryW(4096, cwd) || cwd[0] == 0) return emptied(out, outCount);
    joined.append(cwd).append(1, L'/').append(path);
    p = joined.c_str();
  }
  // In place, one pass: each part is written as "/part"; ".." takes the last back.
  std::size_t n = 0;
  while (*p) {
    while (isSeparator(*p)) ++p;
    const wchar_t* part = p;
    while (*p && !isSeparator(*p)) ++p;
    const std::size_t length = static_cast<std::size_t>(p - part);
    if (length == 0 || (length == 1 && part[0] == L'.')) continue;
    if (length == 2 && part[0] == L'.' && part[1] == L'.') {
      while (n > 0 && out[n - 1] != L'/') --n;
      if (n > 0) --n;
      continue;
    }
    if (n + 1 + length >= outCount) return fullFileNameSlowly(path, out, outCount);
    out[n++] = L'/';
    std::wmemcpy(out + n, part, length);
    n += length;
  }
  if (n == 0) {
    if (outCount < 2) return emptied(out, outCount);
    out[n++] = L'/';
  }
  out[n] = 0;
  return true;
}

bool KmPathMaker::getFileName(const wchar_t* path, wchar_t* out, std::size_t outCount) {
  if (!path) return emptied(out, outCount);
  const std::wstring p(path);
  const std::size_t start = nameStart(p);
  const std::size_t dot = extensionStart(p);
  return store(p.substr(start, (dot == std::wstring::npos ? p.size() : dot) - start), out, outCount);
}

bool KmPathMaker::getExtFileName(const wchar_t* path, wchar_t* out, std::size_t outCount) {
  if (!path) return emptied(out, outCount);
  const std::wstring p(path);
  const std::size_t dot = extensionStart(p);
  return store(dot == std::wstring::npos ? std::wstring() : p.substr(dot), out, outCount);
}

bool KmPathMaker::getFileNameWithExt(const wchar_t* path, wchar_t* out, std::size_t outCount) {
  if (!path) return emptied(out, outCount);
  const std::wstring p(path);
  return store(p.substr(nameStart(p)), out, outCount);
}

bool KmPathMaker::ToPlatformModuleName(const wchar_t* name, wchar_t* out, std::size_t outCount) {
  if (!name) return emptied(out, outCount);
  std::wstring p(name);
  for (wchar_t& c : p)
    if (c == L'\\') c = L'/';
  return store(p, out, outCount);
}

bool KmFileSystem::isFileExisting(const wchar_t* path) {
  if (!path || !*path) return false;
  return kmOsIsRegularFile(kmPathToBytes(path).c_str()) == 1;
}

void _wsplitpath(const wchar_t* path, wchar_t* drive, wchar_t* dir, wchar_t* fname, wchar_t* ext) {
  const std::wstring p(path ? path : L"");
  const std::size_t start = nameStart(p);
  const std::size_t dot = extensionStart(p);
  storeTruncated(std::wstring(), drive);  // no drives on this platform
  storeTruncated(p.substr(0, start), dir);
  storeTruncated(p.substr(start, (dot == std::wstring::npos ? p.size() : dot) - start), fname);
  storeTruncated(dot == std::wstring::npos ? std::wstring() : p.substr(dot), ext);
}

int _waccess(const wchar_t* path, int mode) {
  if (!path) return -1;
  return kmOsFileAccess(kmPathToBytes(path).c_str(), mode) == 0 ? 0 : -1;
}
