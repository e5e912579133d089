// yrxhost: a sample host for KmRx. It starts the runtime, hands it the host's
// services, opens the stores, builds the demand-load registry, loads the
// start-up applications and listed modules, runs commands, and on exit
// unloads every module and tears the runtime down.
#include <cstdio>
#include <string>

#include "CommandService.h"
#include "HostOptions.h"
#include "HostServices.h"
#include "HostShell.h"
#include "HostText.h"
#include "KmRx.h"

namespace {

YcRxDynamicLinkerImp* linker() {
  return YcRxDynamicLinkerImp::cast(ycrxSysRegistry()->at(L"DynamicLinker"));
}

void storeProblem(const wchar_t* message, void*) {
  HostServices::print(std::wstring(L"yrxhost: store: ") + (message ? message : L""));
}

// The list reader opens its file through a path of at most 7 bytes, so the
// file is read from its own directory under its bare name.
void loadListedModules(const std::wstring& listFile) {
  const auto slash = listFile.rfind(L'/');
  const std::wstring dir = slash == std::wstring::npos ? L"." : listFile.substr(0, slash);
  const std::wstring name = slash == std::wstring::npos ? listFile : listFile.substr(slash + 1);
  if (!KmFileSystem::isFileExisting(listFile.c_str())) {
    HostServices::print(L"yrxhost: no listed-modules file at " + listFile + L"; none loaded.");
    linker()->loadStarupApps();
    return;
  }
  if (narrow(name).size() > 7)
    HostServices::print(L"yrxhost: the listed-modules file name " + name +
                        L" is longer than 7 bytes, which the list reader cannot open; rename it.");
  wchar_t saved[kKmTextBuffer];
  KmKernel32::GetCurrentDirectoryW(kKmTextBuffer, saved);
  KmKernel32::SetCurrentDirectoryW(dir.c_str());
  // Also loads the start-up applications of the registry, first.
  if (!linker()->initListedModules(name.c_str()))
    HostServices::print(L"yrxhost: some listed modules were not loaded (see above).");
  KmKernel32::SetCurrentDirectoryW(saved);
}

}  // namespace

int main(int argc, char** argv) {
  HostOptions options;
  if (!parseHostOptions(argc, argv, options)) return 2;
  if (options.help) {
    printHostUsage();
    return 0;
  }

  HostServices host(options.modulePath, options.logFile, options.multiDocument, options.versionNotices);
  ycadSetCrashRecorder(&host);
  InitializeYcRxSystem();
  ycdbSetHostApplicationServices(&host);

  // The command service modules add their commands to; the service
  // dictionary owns it from here on and destroys it at teardown.
  YrxHostCommandsImp::registerClasses();
  auto* commands = new YrxHostCommandsImp();
  linker()->registerService(YRX_HOST_COMMANDS_SERVICE, commands);
  CommandCleanupReactor cleanup(commands);
  linker()->addReactor(&cleanup);

  kmStoreSetDiagnosticSink(&storeProblem, nullptr);
  if (!kmStoreOpenDirectory(options.storeDir.c_str()))
    HostServices::print(L"yrxhost: no store files in " + options.storeDir +
                        L"; no applications are registered.");
  initDemandLoadYrxList();
  loadListedModules(options.listFile);

  HostShell shell(host, *commands);
  bool go = true;
  for (const std::wstring& command : options.commands) {
    if (options.echo) HostServices::print(L"yrx> " + command);
    if (!(go = shell.run(command))) break;
  }
  if (go && !options.scriptFile.empty()) {
    if (std::FILE* script = std::fopen(narrow(options.scriptFile).c_str(), "r")) {
      shell.runStream(script, false, options.echo);
      std::fclose(script);
    } else {
      HostServices::print(L"yrxhost: cannot read the script " + options.scriptFile);
    }
  } else if (go && options.commands.empty()) {
    shell.runStream(stdin, kmIsInteractiveInput(), options.echo);
  }

  shell.unloadAll();
  linker()->removeReactor(&cleanup);
  uninitDemandLoadYrxList();
  kmStoreCloseAll();
  kmStoreSetDiagnosticSink(nullptr, nullptr);
  ycdbSetHostApplicationServices(nullptr);
  UninitializeYcRxSystem();
  ycadSetCrashRecorder(nullptr);
  return 0;
}
