#include "HostServices.h"

#include <cwchar>
#include <ctime>

#include "HostText.h"

namespace {
bool copyOut(const std::wstring& text, wchar_t* out, int outLength) {
  if (!out || outLength <= 0 || static_cast<int>(text.size()) >= outLength) return false;
  std::wmemcpy(out, text.c_str(), text.size() + 1);
  return true;
}
}  // namespace

HostServices::HostServices(std::vector<std::wstring> modulePath, const std::wstring& logFile,
                           bool multiDocument, bool versionNotices)
    : mModulePath(std::move(modulePath)),
      mLogFileName(logFile),
      mpLogFile(std::fopen(narrow(logFile).c_str(), "a")),
      mMultiDocument(multiDocument),
      mVersionNotices(versionNotices) {
  if (!mpLogFile) print(L"yrxhost: cannot write the log file " + logFile + L"; logging to memory only");
}

HostServices::~HostServices() {
  if (mpLogFile) std::fclose(mpLogFile);
}

void HostServices::print(const std::wstring& line) {
  std::fputs(narrow(line).c_str(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

// A name that exists as given is returned as given (so a relative name stays
// short, which the list reader needs); otherwise the module path is searched.
Ycad::ErrorStatus HostServices::findFile(wchar_t* out, int outLength, const wchar_t* name,
                                         YcDbDatabase*, FindFileHint) {
  if (out && outLength > 0) out[0] = 0;
  if (!name || !*name) return Ycad::eInvalidInput;
  if (KmFileSystem::isFileExisting(name))
    return copyOut(name, out, outLength) ? Ycad::eOk : Ycad::eInvalidInput;
  if (name[0] == L'/') return Ycad::eKeyNotFound;
  for (const std::wstring& dir : mModulePath) {
    const std::wstring candidate = dir + L"/" + name;
    if (!KmFileSystem::isFileExisting(candidate.c_str())) continue;
    wchar_t full[kKmTextBuffer];
    const std::wstring found =
        KmPathMaker::getFullFileName(candidate.c_str(), full, kKmTextBuffer) ? std::wstring(full) : candidate;
    return copyOut(found, out, outLength) ? Ycad::eOk : Ycad::eInvalidInput;
  }
  return Ycad::eKeyNotFound;
}

void HostServices::displayString(const wchar_t* text, int length) {
  if (text) print(std::wstring(text, static_cast<size_t>(length)));
}

void HostServices::resumeMultiDocument() {
  print(L"Every module still loaded is MDI aware: multi-document work can resume.");
}

bool HostServices::getVariable(const wchar_t* name, YcadVariableBuffer& value) {
  if (!name || std::wcscmp(name, L"YRXCHECKNOTIFY") != 0) return false;
  value.type = YcadVariableBuffer::kShort;
  value.shortValue = mVersionNotices ? 1 : 0;
  return true;
}

void HostServices::log(const wchar_t* text, int, int, int) {
  const std::wstring line = text ? text : L"";
  mLogLines.push_back(line);
  if (mLogLines.size() > kLogLinesKept) {
    mLogLines.pop_front();
    ++mLogLinesDropped;
  }
  if (!mpLogFile) return;
  char stamp[32];
  const std::time_t now = std::time(nullptr);
  std::strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", std::localtime(&now));
  std::fprintf(mpLogFile, "%s %s\n", stamp, narrow(line).c_str());
  std::fflush(mpLogFile);
}

void HostServices::record(const KmExceptionWithMsg& exception) {
  const std::wstring message = exception.message() ? exception.message() : L"";
  std::fputs(("yrxhost: runtime error: " + narrow(message) + "\n").c_str(), stderr);
  log((L"runtime error: " + message).c_str(), 0, 0, 0);
}
