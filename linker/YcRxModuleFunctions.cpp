// The exported module functions: each finds the linker under "DynamicLinker"
// and forwards to it.
#include "YcRxModuleFunctions.h"

#include "KmPathMaker.h"
#include "KmWideText.h"
#include "YcDbHostApplicationServices.h"
#include "YcRxDictionary.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxModuleGlobal.h"
#include "core/KmRxContext.h"

namespace {

// Each function finds the linker by name, as modules do; none checks that the
// runtime is started, which the interface requires of the caller.
YcRxDynamicLinker* linker() { return kmrxRegisteredLinker(); }

YcRxDynamicLinkerImp* linkerImp() { return kmrxRegisteredLinkerImp(); }

}  // namespace

bool ycrxLoadModule(const wchar_t* name, bool printIt, bool asCmd) {
  return linker()->loadModule(name, printIt, asCmd);
}

bool ycrxLoadApp(const wchar_t* appName, bool printIt) {
  return linker()->loadApp(appName, YcadApp::kOnLoadRequest, printIt, false);
}

bool ycrxUnloadModule(const wchar_t* name, bool flag) { return linker()->unloadModule(name, flag); }

bool ycrxUnloadApp(const wchar_t* appName, bool flag) { return linker()->unloadApp(appName, flag); }

YcArray<const wchar_t*>* ycrxLoadedApps() {
  YcArray<const YcRxDynLoadModuleProxy*> records(0, 8);
  linker()->getLoadedModules(records);
  auto* names = new YcArray<const wchar_t*>(0, 8);
  for (int i = 0; i < records.length(); ++i) {
    const wchar_t* fileName = records[i]->fileName();
    if (!fileName) continue;
    auto* entry = new wchar_t[kKmTextBuffer];
    KmPathMaker::getFileNameWithExt(fileName, entry, kKmTextBuffer);
    names->append(entry);
  }
  return names;
}

bool ycrxAppIsLoaded(const wchar_t* name) {
  return linkerImp()->findRxModuleProxyByModuleName(name, false) != nullptr;
}

// Unchecked, as defined: these require the host's services object.
const wchar_t* ycrxProductKey() { return ycdbHostApplicationServices()->productKey(); }

unsigned int ycrxProductLCID() { return ycdbHostApplicationServices()->productLcid(); }

const wchar_t* ycrxObjectDBXRegistryKey() {
  static wchar_t key[64] = {0};  // never written: always the empty string
  return key;
}

bool ycrxLockApplication(void* appHandle) { return linker()->lockApplication(appHandle); }

bool ycrxUnlockApplication(void* appHandle) { return linker()->unlockApplication(appHandle); }

bool ycrxApplicationIsLocked(const wchar_t* name) { return linker()->isApplicationLocked(name); }

bool ycrxIsAppMDIAware(const wchar_t* name) { return linker()->isAppMDIAware(name); }

bool ycrxRegisterAppMDIAware(void* appHandle) { return linker()->registerAppMDIAware(appHandle); }

bool ycrxRegisterAppNotMDIAware(void* appHandle) { return linker()->registerAppNotMDIAware(appHandle); }
