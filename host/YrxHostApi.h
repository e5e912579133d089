// The sample host's API for modules: modules add their commands to the host
// (and print through it) via the service "YrxHostCommands", which the host
// publishes before it loads any module. Header-only: a module needs nothing
// from the host program at link time.
//
//   YrxHostCommands* host = yrxHostCommands();
//   if (host) host->addCommand(L"SHAPES", L"AREA", L"area", &areaCommand);
//   ...
//   if (host) host->removeGroup(L"SHAPES");   // in the unload message
#pragma once
#include "KmRx.h"

class YrxHostCommands;

// A command: args is the rest of the command line (never null). Returns 0 on success.
typedef int (*YrxCommandFunc)(const wchar_t* args, YrxHostCommands* host);

class YrxHostCommands : public YcRxService {
public:
  // Adds a command under a group; false when the group already has one of that
  // global name. Names are matched without regard to case.
  virtual bool addCommand(const wchar_t* group, const wchar_t* globalName,
                          const wchar_t* localName, YrxCommandFunc func) = 0;
  virtual bool removeCommand(const wchar_t* group, const wchar_t* globalName) = 0;
  // Removes every command of a group; returns how many went.
  virtual int removeGroup(const wchar_t* group) = 0;
  // Prints one line of output to the user.
  virtual void print(const wchar_t* text) = 0;
};

// The registered class name of the service and the key it stands under.
#define YRX_HOST_COMMANDS_CLASS L"YrxHostCommands"
#define YRX_HOST_COMMANDS_SERVICE L"YrxHostCommands"

// The host's command service, or null when the module runs in another host.
inline YrxHostCommands* yrxHostCommands() {
  auto* services = static_cast<YcRxDictionary*>(ycrxSysRegistry()->at(L"ServiceDictionary"));
  YcRxObject* service = services ? services->at(YRX_HOST_COMMANDS_SERVICE) : nullptr;
  auto* cls = static_cast<YcRxClass*>(ycrxInternalGetClassDic()->at(YRX_HOST_COMMANDS_CLASS));
  return service && cls && service->isKindOf(cls) ? static_cast<YrxHostCommands*>(service) : nullptr;
}
