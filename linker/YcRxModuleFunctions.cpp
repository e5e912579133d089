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
#include "core/YcRxInternal.h"

namespace {

// Each function finds the linker by name, as modules do. The interface leaves
// a runtime that is not started to the caller; here every function then
// answers its "no" (false, null) instead of faulting.
YcRxDynamicLinker* linker() { return kmrxRegisteredLinker(); }

YcRxDynamicLinkerImp* linkerImp() { return kmrxRegisteredLinkerImp(); }

}  // namespace

bool ycrxLoadModule(const wchar_t* name, bool printIt, bool asCmd) {
  YcRxDynamicLinker* l = linker();
  return l && l->loadModule(name, printIt, asCmd);
}

bool ycrxLoadApp(const wchar_t* appName, bool printIt) {
  YcRxDynamicLinker* l = linker();
  return l && l->loadApp(appName, YcadApp::kOnLoadRequest, printIt, false);
}

bool ycrxUnloadModule(const wchar_t* name, bool flag) {
  YcRxDynamicLinker* l = linker();
  return l && l->unloadModule(name, flag);
}

bool ycrxUnloadApp(const wchar_t* appName, bool flag) {
  YcRxDynamicLinker* l = linker();
  return l && l->unloadApp(appName, flag);
}

// The array and its strings are the caller's, freed with delete and delete[]:
// they come from the C++ heap, not the platform's. Null when memory runs out.
YcArray<const wchar_t*>* ycrxLoadedApps() {
  YcArray<const YcRxDynLoadModuleProxy*> records(0, 8);
  if (YcRxDynamicLinker* l = linker())
    if (!kmrxTry(L"the list of loaded modules", [&] { l->getLoadedModules(records); })) return nullptr;
  auto* names = new (std::nothrow) YcArray<const wchar_t*>(0, 8);
  if (!names) return nullptr;
  for (int i = 0; i < records.length(); ++i) {
    const wchar_t* fileName = records[i]->fileName();
    if (!fileName) continue;
    auto* entry = new (std::nothrow) wchar_t[kKmTextBuffer];
    if (!entry || !kmrxTry(L"the list of loaded modules", [&] { names->append(entry); })) {
      delete[] entry;
      for (int j = 0; j < names->length(); ++j) delete[] (*names)[j];
      delete names;
      return nullptr;
    }
    KmPathMaker::getFileNameWithExt(fileName, entry, kKmTextBuffer);
  }
  return names;
}

bool ycrxAppIsLoaded(const wchar_t* name) {
  YcRxDynamicLinkerImp* l = linkerImp();
  return l && l->findRxModuleProxyByModuleName(name, false) != nullptr;
}

// Without the host's services object these answer null and 0 (the
// interface leaves that case to the caller).
const wchar_t* ycrxProductKey() {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  return services ? services->productKey() : nullptr;
}

unsigned int ycrxProductLCID() {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  return services ? services->productLcid() : 0;
}

const wchar_t* ycrxObjectDBXRegistryKey() {
  static wchar_t key[64] = {0};  // never written: always the empty string
  return key;
}

bool ycrxLockApplication(void* appHandle) {
  YcRxDynamicLinker* l = linker();
  return l && l->lockApplication(appHandle);
}

bool ycrxUnlockApplication(void* appHandle) {
  YcRxDynamicLinker* l = linker();
  return l && l->unlockApplication(appHandle);
}

bool ycrxApplicationIsLocked(const wchar_t* name) {
  YcRxDynamicLinker* l = linker();
  return l && l->isApplicationLocked(name);
}

bool ycrxIsAppMDIAware(const wchar_t* name) {
  YcRxDynamicLinker* l = linker();
  return l && l->isAppMDIAware(name);
}

bool ycrxRegisterAppMDIAware(void* appHandle) {
  YcRxDynamicLinker* l = linker();
  return l && l->registerAppMDIAware(appHandle);
}

bool ycrxRegisterAppNotMDIAware(void* appHandle) {
  YcRxDynamicLinker* l = linker();
  return l && l->registerAppNotMDIAware(appHandle);
}
