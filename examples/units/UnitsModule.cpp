// units.yrx: publishes the service "UnitsService", which shapes.yrx depends
// on, exports a conversion function through it (UnitsTable.cpp), and adds the
// command UNITS to the host.
//
// Every module exports two functions that the linker looks up by name:
//   ycrxGetApiVersion  the runtime API the module was built for;
//   ycrxEntryPoint     receives the module's messages and answers each one.
#include <cstdint>

#include "Units.h"

UnitsService* gUnitsService = nullptr;

namespace {

// This module's record in the linker (the argument of the init message).
void* gSelf = nullptr;

void say(const wchar_t* text) {
  if (YrxHostCommands* host = yrxHostCommands()) host->print(text);
}

YcRx::AppRetCode onInit(void* appHandle) {
  // Loading the same file twice maps it once, so a second copy would share
  // these globals with the first. Refuse it; the first copy keeps working.
  if (gUnitsService) {
    say(L"units.yrx: already loaded, UnitsService is published once.");
    return YcRx::kAppRetError;
  }
  gSelf = appHandle;

  // The argument of the init message is this module's record, its
  // "application handle". A module that copes with several open documents
  // says so; one that does not may be unloaded again by a host that works
  // with several.
  ycrxRegisterAppMDIAware(appHandle);

  // Registering a service while the init message runs credits it to this
  // module: other modules can then reach our exported functions through it
  // and declare that they depend on us.
  gUnitsService = new UnitsService();
  YcRxDynamicLinker* linker = YcRxDynamicLinker::cast(ycrxSysRegistry()->at(L"DynamicLinker"));
  linker->registerService(L"UnitsService", gUnitsService);

  // Commands go to the host through its own service; another host may not
  // have one, and the module then simply has no commands there.
  if (YrxHostCommands* host = yrxHostCommands())
    host->addCommand(L"UNITS", L"UNITS", L"units", &unitsCommand);
  return YcRx::kAppRetOk;
}

YcRx::AppRetCode onUnload(void* appHandle) {
  // The unload message also follows a failed init: undo only what was done.
  if (appHandle != gSelf) return YcRx::kAppRetOk;
  if (YrxHostCommands* host = yrxHostCommands()) host->removeGroup(L"UNITS");

  // After this message the linker takes the module's services out of
  // "ServiceDictionary", but it never deletes them: the service is ours.
  // Take it out first, so nobody can find it once it is deleted.
  YcRxDictionary* services = YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"));
  if (services && services->at(L"UnitsService") == gUnitsService) services->remove(L"UnitsService");
  delete gUnitsService;
  gUnitsService = nullptr;
  gSelf = nullptr;
  return YcRx::kAppRetOk;
}

}  // namespace

KMRX_MODULE_EXPORT YcRx::AppRetCode ycrxEntryPoint(YcRx::AppMsgCode code, void* arg) {
  switch (code) {
    case YcRx::kAppInitMsg:
      return onInit(arg);
    case YcRx::kAppUnloadMsg:
      return onUnload(arg);
    case YcRx::kAppDependencyMsg:
      // The first module that depends on the service (addDependency) has
      // arrived: from now on unloading units.yrx only lowers its count.
      say(L"units.yrx: a module now depends on UnitsService; units.yrx stays loaded while it does.");
      return YcRx::kAppRetOk;
    case YcRx::kAppNoDependencyMsg:
      // Sent by removeDependency only when the module's count was already
      // down to 0: its own load reference was taken back by an unload
      // request while others still depended on it, and the last of them has
      // now let go. When dependents go first it does not come, so do not
      // wait for it to know that you are free.
      say(L"units.yrx: the last module depending on UnitsService let go.");
      return YcRx::kAppRetOk;
    default:
      // Other codes belong to the host; answering ok lets it go on.
      return YcRx::kAppRetOk;
  }
}

// The runtime API these headers describe (KmRxVersion.h). A module built for
// another version still loads, but the host shows a notice.
KMRX_MODULE_EXPORT std::uint32_t ycrxGetApiVersion(int) { return KMRX_API_VERSION; }
