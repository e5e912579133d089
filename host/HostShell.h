// The host's command interpreter: built-in commands, module commands, and
// demand loading of the application that provides an unknown command.
#pragma once
#include <cstdio>
#include <string>

class HostServices;
class YrxHostCommandsImp;

class HostShell {
public:
  HostShell(HostServices& services, YrxHostCommandsImp& commands)
      : mServices(services), mCommands(commands) {}

  // Runs one command line; false when it asks the host to quit.
  bool run(const std::wstring& line);
  // Runs every line of a stream (prompting when interactive) until quit or end of input.
  void runStream(std::FILE* in, bool interactive, bool echo);
  // Unloads every module, dependents first.
  void unloadAll();

private:
  void help(const std::wstring& topic);
  void load(const std::wstring& name);
  void unload(const std::wstring& name);
  void loadApp(const std::wstring& name);
  void unloadApp(const std::wstring& name);
  void listModules();
  void listServices();
  void listApps();
  void listClasses(const std::wstring& root);
  void showLog();
  void runModuleCommand(const std::wstring& name, const std::wstring& args);
  bool releaseModule(const std::wstring& fileName);

  HostServices& mServices;
  YrxHostCommandsImp& mCommands;
};
