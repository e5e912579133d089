// Command-line options of yrxhost.
#pragma once
#include <string>
#include <vector>

struct HostOptions {
  std::wstring examplesDir;              // example stores, list file and demo script
  std::wstring storeDir;                 // HKCU.reg, HKLM.reg, config.reg
  std::vector<std::wstring> modulePath;  // directories searched for modules
  std::wstring listFile;                 // listed-modules file
  std::wstring logFile;
  std::wstring scriptFile;
  std::vector<std::wstring> commands;    // from -c
  bool echo = false;                     // echo each command before running it
  bool multiDocument = false;            // refuse modules that are not MDI aware
  bool versionNotices = true;            // YRXCHECKNOTIFY
  bool help = false;
};

// Fills options from argv and the environment; false (with a message on
// stderr) when an option is wrong.
bool parseHostOptions(int argc, char** argv, HostOptions& options);
void printHostUsage();
