// What yrxhost gives the runtime: file search over its module path, messages
// on the terminal, a log file, variables, the multi-document state, and a
// crash recorder that reports fatal errors to the terminal and the log.
#pragma once
#include <cstdio>
#include <deque>
#include <string>
#include <vector>

#include "KmRx.h"

class HostServices : public YcDbHostApplicationServices,
                     public YcadHostApplication,
                     public YcadHostLog,
                     public KmCrashRecorder {
public:
  HostServices(std::vector<std::wstring> modulePath, const std::wstring& logFile,
               bool multiDocument, bool versionNotices);
  ~HostServices() override;
  HostServices(const HostServices&) = delete;
  HostServices& operator=(const HostServices&) = delete;

  // YcDbHostApplicationServices
  Ycad::ErrorStatus findFile(wchar_t* out, int outLength, const wchar_t* name, YcDbDatabase* db,
                             FindFileHint hint) override;
  void displayString(const wchar_t* text, int length) override;
  YcadHostApplication* application() override { return this; }
  const wchar_t* productKey() override { return L"Software\\KmRx\\yrxhost"; }
  unsigned int productLcid() override { return 1033; }

  // YcadHostApplication
  bool acceptsNonMdiAwareModules() override { return !mMultiDocument; }
  void resumeMultiDocument() override;
  bool getVariable(const wchar_t* name, YcadVariableBuffer& value) override;
  YcadHostLog* logObject() override { return this; }

  // YcadHostLog
  void log(const wchar_t* text, int category, int level, int flags) override;

  // KmCrashRecorder
  void record(const KmExceptionWithMsg& exception) override;

  // Prints a line to the user.
  static void print(const std::wstring& line);
  // The last kLogLinesKept lines of the log; the log file has them all.
  static constexpr std::size_t kLogLinesKept = 1000;
  const std::deque<std::wstring>& logLines() const { return mLogLines; }
  // How many earlier lines were let go of.
  std::size_t logLinesDropped() const { return mLogLinesDropped; }
  const std::wstring& logFileName() const { return mLogFileName; }
  const std::vector<std::wstring>& modulePath() const { return mModulePath; }

private:
  std::vector<std::wstring> mModulePath;
  std::wstring mLogFileName;
  std::FILE* mpLogFile;
  std::deque<std::wstring> mLogLines;
  std::size_t mLogLinesDropped = 0;
  bool mMultiDocument;
  bool mVersionNotices;
};
