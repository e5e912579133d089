// shapes.yrx: registers shape classes with an area protocol extension, adds
// the commands SHAPES and AREA, and depends on the service "UnitsService" of
// units.yrx, loading that module itself when nobody else has.
#include <cstdint>
#include <string>

#include "Shapes.h"

namespace {

void* gSelf = nullptr;          // this module's record, once init got going
bool gDependsOnUnits = false;   // addDependency was called
bool gClassesRegistered = false;
bool gLoadedUnits = false;      // we loaded units.yrx, so we unload it
std::wstring gUnitsFile;        // the file name the linker recorded for it

void say(const wchar_t* text) {
  if (YrxHostCommands* host = yrxHostCommands()) host->print(text);
}

YcRxService* unitsService() {
  YcRxDictionary* services = YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"));
  return services ? YcRxService::cast(services->at(L"UnitsService")) : nullptr;
}

YcRx::AppRetCode onInit(void* appHandle) {
  gSelf = appHandle;
  ycrxRegisterAppMDIAware(appHandle);

  // Our dependency first: without units there is nothing to convert with.
  // Loading a module from inside an init message is fine; the linker handles
  // the inner load completely before returning here.
  if (!ycrxServiceIsRegistered(L"UnitsService")) {
    if (!ycrxLoadModule(L"units.yrx", true)) {
      say(L"shapes.yrx: needs UnitsService from units.yrx, which could not be loaded "
          L"(is units.yrx on the module search path?).");
      return YcRx::kAppRetError;  // the linker unloads us again
    }
    gLoadedUnits = true;
  }
  YcRxService* units = unitsService();
  if (!units) {
    say(L"shapes.yrx: units.yrx is loaded but publishes no UnitsService.");
    return YcRx::kAppRetError;
  }
  if (gLoadedUnits) {
    // Unload it later by the file name the linker recorded: a bare
    // "units.yrx" would be taken relative to the current directory.
    auto* record = static_cast<YcRxDynLoadModuleProxy*>(units->getSysInfo());
    if (record && record->fileName()) gUnitsFile = record->fileName();
  }
  // Counted by the module behind the service: while we depend on it, asking
  // to unload units.yrx only lowers its count and it stays loaded.
  units->addDependency();
  gDependsOnUnits = true;

  registerShapeClasses();
  attachAreaExtensions();
  gClassesRegistered = true;
  if (YrxHostCommands* host = yrxHostCommands()) {
    host->addCommand(L"SHAPES", L"SHAPES", L"shapes", &shapesCommand);
    host->addCommand(L"SHAPES", L"AREA", L"area", &areaCommand);
  }
  return YcRx::kAppRetOk;
}

YcRx::AppRetCode onUnload(void* appHandle) {
  // The unload message also follows a failed init: undo only what was done.
  if (appHandle != gSelf) return YcRx::kAppRetOk;
  if (YrxHostCommands* host = yrxHostCommands()) host->removeGroup(L"SHAPES");
  if (gClassesRegistered) {
    detachAreaExtensions();
    condemnShapeClasses();
    gClassesRegistered = false;
  }

  if (gDependsOnUnits) {
    // Looked up again rather than kept: the service may be gone already.
    if (YcRxService* units = unitsService()) units->removeDependency();
    gDependsOnUnits = false;
  }
  if (gLoadedUnits && !gUnitsFile.empty()) {
    // Twice: a load leaves the module's count at 1 and an unload request
    // lowers it first; only a request that finds it at 0 unloads. Inside our
    // own unload this is safe: units.yrx is released only after we are.
    ycrxUnloadModule(gUnitsFile.c_str());
    ycrxUnloadModule(gUnitsFile.c_str());
  }
  gLoadedUnits = false;
  gUnitsFile.clear();
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
    default:
      return YcRx::kAppRetOk;
  }
}

KMRX_MODULE_EXPORT std::uint32_t ycrxGetApiVersion(int) { return KMRX_API_VERSION; }
