// The host's command table, published to modules as the service
// "YrxHostCommands". Commands remember the module that added them and go when
// that module is unloaded, so a module that forgets to remove them cannot
// leave the host calling into unmapped code.
#pragma once
#include <string>
#include <vector>

#include "YrxHostApi.h"

class YrxHostCommandsImp : public YrxHostCommands {
public:
  struct Command {
    std::wstring group;
    std::wstring globalName;
    std::wstring localName;
    YrxCommandFunc func;
    std::wstring moduleFile;  // empty for commands the host itself added
  };

  // Registers the service's runtime classes; call once after start-up.
  static void registerClasses();

  YcRxClass* isA() const override;
  bool addCommand(const wchar_t* group, const wchar_t* globalName, const wchar_t* localName,
                  YrxCommandFunc func) override;
  bool removeCommand(const wchar_t* group, const wchar_t* globalName) override;
  int removeGroup(const wchar_t* group) override;
  void print(const wchar_t* text) override;

  // Finds "COMMAND" or "GROUP.COMMAND" by global or local name.
  const Command* find(const std::wstring& name) const;
  // Drops the commands a module added; returns how many.
  int removeModuleCommands(const std::wstring& moduleFile);
  const std::vector<Command>& commands() const { return mCommands; }

private:
  std::vector<Command> mCommands;
};

// Removes a module's commands when the linker has unloaded it.
class CommandCleanupReactor : public YcRxDLinkerReactor {
public:
  explicit CommandCleanupReactor(YrxHostCommandsImp* commands) : mpCommands(commands) {}
  void rxAppUnloaded(const wchar_t* moduleName) override;

private:
  YrxHostCommandsImp* mpCommands;
};
