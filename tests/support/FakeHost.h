// A host for tests: finds files in a list of directories, records every
// message and log line, and lets a test set variables, the multi-document
// answer, remote files, product key and locale.
#pragma once
#include <map>
#include <string>
#include <vector>

#include "KmRx.h"

class FakeHost : public YcDbHostApplicationServices,
                 public YcadHostApplication,
                 public YcadHostLog {
public:
  FakeHost();
  ~FakeHost() override;

  // Installs this host (and puts the previous one back when destroyed).
  void install();
  void uninstall();

  // YcDbHostApplicationServices
  Ycad::ErrorStatus findFile(wchar_t* out, int outLength, const wchar_t* name, YcDbDatabase* db,
                             FindFileHint hint) override;
  void displayString(const wchar_t* text, int length) override;
  YcadHostApplication* application() override { return withApplication ? this : nullptr; }
  bool isURL(const wchar_t* name) override;
  Ycad::ErrorStatus getRemoteFile(const wchar_t* url, wchar_t* localFile, int length,
                                  bool ignoreCache) override;
  const wchar_t* productKey() override { return productKeyText.c_str(); }
  unsigned int productLcid() override { return lcid; }

  // YcadHostApplication
  bool acceptsNonMdiAwareModules() override { return acceptNonMdi; }
  void resumeMultiDocument() override { ++resumeCalls; }
  bool getVariable(const wchar_t* name, YcadVariableBuffer& value) override;
  YcadHostLog* logObject() override { return this; }

  // YcadHostLog
  void log(const wchar_t* text, int, int, int) override { logLines.emplace_back(text ? text : L""); }

  // Settings.
  std::vector<std::wstring> searchPath;                  // directories tried by findFile
  std::map<std::wstring, short> variables;               // e.g. L"YRXCHECKNOTIFY"
  std::map<std::wstring, std::wstring> remoteFiles;      // URL -> local file
  Ycad::ErrorStatus remoteStatus = Ycad::eRemoteFetched;
  bool withApplication = true;
  bool acceptNonMdi = true;
  std::wstring productKeyText = L"Software\\KmRx\\Test";
  unsigned int lcid = 1033;

  // Observations.
  std::vector<std::wstring> messages;
  std::vector<std::wstring> logLines;
  std::vector<std::wstring> findFileNames;
  int resumeCalls = 0;

  void clearRecords();

private:
  YcDbHostApplicationServices* mpPrevious = nullptr;
  bool mInstalled = false;
};

// The directory the test modules are built into.
std::wstring testModuleDir();
// Full path of a test module file, e.g. testModulePath(L"tm_good.yrx").
std::wstring testModulePath(const wchar_t* fileName);
