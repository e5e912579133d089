#include "CommandService.h"

#include <algorithm>

#include "HostServices.h"
#include "HostText.h"

namespace {
YcRxClass* gpImpDesc = nullptr;

// The module whose message is being delivered: the one adding commands now.
std::wstring currentModuleFile() {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  YcadHostApplication* app = services ? services->application() : nullptr;
  const YcRxDynLoadModuleProxy* module = app ? app->moduleBeingLoaded() : nullptr;
  return module && module->fileName() ? module->fileName() : L"";
}
}  // namespace

void YrxHostCommandsImp::registerClasses() {
  newYcRxClass(YRX_HOST_COMMANDS_CLASS, L"AcRxService");
  gpImpDesc = newYcRxClass(L"YrxHostCommandsImp", YRX_HOST_COMMANDS_CLASS);
  ycrxBuildClassHierarchy();
}

YcRxClass* YrxHostCommandsImp::isA() const { return gpImpDesc; }

bool YrxHostCommandsImp::addCommand(const wchar_t* group, const wchar_t* globalName,
                                    const wchar_t* localName, YrxCommandFunc func) {
  if (!group || !*group || !globalName || !*globalName || !func) return false;
  const std::wstring g = upper(group), name = upper(globalName);
  for (const Command& c : mCommands)
    if (c.group == g && c.globalName == name) return false;
  mCommands.push_back(Command{g, name, localName && *localName ? localName : globalName, func,
                              currentModuleFile()});
  return true;
}

bool YrxHostCommandsImp::removeCommand(const wchar_t* group, const wchar_t* globalName) {
  if (!group || !globalName) return false;
  const std::wstring g = upper(group), name = upper(globalName);
  const auto before = mCommands.size();
  mCommands.erase(std::remove_if(mCommands.begin(), mCommands.end(),
                                 [&](const Command& c) { return c.group == g && c.globalName == name; }),
                  mCommands.end());
  return mCommands.size() != before;
}

int YrxHostCommandsImp::removeGroup(const wchar_t* group) {
  if (!group) return 0;
  const std::wstring g = upper(group);
  const auto before = mCommands.size();
  mCommands.erase(std::remove_if(mCommands.begin(), mCommands.end(),
                                 [&](const Command& c) { return c.group == g; }),
                  mCommands.end());
  return static_cast<int>(before - mCommands.size());
}

void YrxHostCommandsImp::print(const wchar_t* text) { HostServices::print(text ? text : L""); }

const YrxHostCommandsImp::Command* YrxHostCommandsImp::find(const std::wstring& name) const {
  std::wstring group, command = upper(name);
  const auto dot = command.find(L'.');
  if (dot != std::wstring::npos) {
    group = command.substr(0, dot);
    command = command.substr(dot + 1);
  }
  if (command.empty()) return nullptr;
  for (const Command& c : mCommands) {
    if (!group.empty() && c.group != group) continue;
    if (c.globalName == command || upper(c.localName) == command) return &c;
  }
  return nullptr;
}

int YrxHostCommandsImp::removeModuleCommands(const std::wstring& moduleFile) {
  const auto before = mCommands.size();
  mCommands.erase(std::remove_if(mCommands.begin(), mCommands.end(),
                                 [&](const Command& c) {
                                   return !c.moduleFile.empty() && c.moduleFile == moduleFile;
                                 }),
                  mCommands.end());
  return static_cast<int>(before - mCommands.size());
}

void CommandCleanupReactor::rxAppUnloaded(const wchar_t* moduleName) {
  if (!moduleName) return;
  const int dropped = mpCommands->removeModuleCommands(moduleName);
  if (dropped > 0)
    HostServices::print(L"(" + std::to_wstring(dropped) + L" command(s) of " + moduleName +
                        L" were still registered; the host removed them)");
}
