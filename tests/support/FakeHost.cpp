#include "FakeHost.h"

#include <cwchar>

#ifndef KMRX_TEST_MODULE_DIR
#define KMRX_TEST_MODULE_DIR "."
#endif

namespace {
std::wstring widen(const char* s) {
  std::wstring out;
  for (; *s; ++s) out += static_cast<wchar_t>(static_cast<unsigned char>(*s));
  return out;
}

bool copyOut(const std::wstring& text, wchar_t* out, int outLength) {
  if (!out || outLength <= 0 || static_cast<int>(text.size()) >= outLength) return false;
  std::wmemcpy(out, text.c_str(), text.size() + 1);
  return true;
}
}  // namespace

std::wstring testModuleDir() { return widen(KMRX_TEST_MODULE_DIR); }

std::wstring testModulePath(const wchar_t* fileName) { return testModuleDir() + L"/" + fileName; }

FakeHost::FakeHost() { searchPath.push_back(testModuleDir()); }

FakeHost::~FakeHost() { uninstall(); }

void FakeHost::install() {
  if (mInstalled) return;
  mpPrevious = ycdbSetHostApplicationServices(this);
  mInstalled = true;
}

void FakeHost::uninstall() {
  if (!mInstalled) return;
  ycdbSetHostApplicationServices(mpPrevious);
  mInstalled = false;
}

void FakeHost::clearRecords() {
  messages.clear();
  logLines.clear();
  findFileNames.clear();
  resumeCalls = 0;
}

Ycad::ErrorStatus FakeHost::findFile(wchar_t* out, int outLength, const wchar_t* name, YcDbDatabase*,
                                     FindFileHint) {
  if (out && outLength > 0) out[0] = 0;
  if (!name || !*name) return Ycad::eKeyNotFound;
  findFileNames.emplace_back(name);
  std::vector<std::wstring> candidates;
  if (name[0] == L'/') {
    candidates.emplace_back(name);
  } else {
    for (const std::wstring& dir : searchPath) candidates.push_back(dir + L"/" + name);
    candidates.emplace_back(name);
  }
  for (const std::wstring& candidate : candidates) {
    if (_waccess(candidate.c_str(), 0) == 0) {
      wchar_t full[1024];
      const std::wstring found =
          KmPathMaker::getFullFileName(candidate.c_str(), full, 1024) ? full : candidate;
      return copyOut(found, out, outLength) ? Ycad::eOk : Ycad::eInvalidInput;
    }
  }
  return Ycad::eKeyNotFound;
}

void FakeHost::displayString(const wchar_t* text, int length) {
  messages.emplace_back(text ? std::wstring(text, static_cast<size_t>(length)) : std::wstring());
}

bool FakeHost::isURL(const wchar_t* name) {
  return name && (std::wcsncmp(name, L"http://", 7) == 0 || std::wcsncmp(name, L"https://", 8) == 0);
}

Ycad::ErrorStatus FakeHost::getRemoteFile(const wchar_t* url, wchar_t* localFile, int length, bool) {
  if (localFile && length > 0) localFile[0] = 0;
  auto it = url ? remoteFiles.find(url) : remoteFiles.end();
  if (it == remoteFiles.end()) return Ycad::eKeyNotFound;
  copyOut(it->second, localFile, length);
  return remoteStatus;
}

bool FakeHost::getVariable(const wchar_t* name, YcadVariableBuffer& value) {
  auto it = name ? variables.find(name) : variables.end();
  if (it == variables.end()) return false;
  value.type = YcadVariableBuffer::kShort;
  value.shortValue = it->second;
  return true;
}
