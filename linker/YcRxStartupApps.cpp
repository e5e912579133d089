// Start-up loading: the applications registered for start-up under both
// registry roots, the modules named in a list file, loading a registered
// application by name, and application registration.
#include "YcRxDynamicLinkerImp.h"

#include <string>

#include "KmKernel32.h"
#include "KmRegistry.h"
#include "KmWideText.h"
#include "YcDbHostApplicationServices.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxModuleFunctions.h"
#include "YcRxString.h"
#include "YcadAppInfo.h"
#include "YcadTextFileReader.h"
#include "core/YcRxInternal.h"
#include "linker/YcRxLinkerInternal.h"

namespace {


typedef int (*LoadManagedDllFunc)(const wchar_t* moduleName);

typedef YcArray<YcRxString, YcArrayObjectCopyReallocator<YcRxString>> NameList;

// Adds the subkey names of keyPath under root that names does not hold yet.
void collectApplicationNames(HKEY root, const wchar_t* keyPath, NameList& names) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, keyPath, 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  DWORD count = 0, longest = 0;
  if (RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr,
                       nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
    const DWORD size = longest + 1;
    auto* name = static_cast<wchar_t*>(_kmMalloc(size * sizeof(wchar_t)));
    if (!name) kmrxOutOfMemory(L"the names of the start-up applications");
    for (DWORD i = 0; name && i < count; ++i) {
      for (DWORD j = 0; j < size; ++j) name[j] = 0;
      if (RegEnumKeyW(key, i, name, size) != ERROR_SUCCESS) continue;
      YcRxString entry(name, false);
      if (entry.isEmpty() && *name) {  // no memory for the copy
        kmrxOutOfMemory(L"the names of the start-up applications");
        continue;
      }
      if (names.find(entry) < 0)
        kmrxTry(L"the names of the start-up applications", [&] { names.append(entry); });
    }
    _kmFree(name);
  }
  RegCloseKey(key);
}
}  // namespace

void YcRxDynamicLinkerImp::loadStarupApps() {
  // The null-safe form of ycrxProductKey(): without a host there is no
  // product key, and so nothing registered for start-up.
  const wchar_t* product = ProductKey();
  if (!product) return;
  const std::wstring keyPath = std::wstring(product) + L"\\Applications";
  NameList names(0, 8);
  // Per-user first: a machine-wide application of the same name is not loaded twice.
  collectApplicationNames(HKEY_CURRENT_USER, keyPath.c_str(), names);
  collectApplicationNames(HKEY_LOCAL_MACHINE, keyPath.c_str(), names);
  for (int i = 0; i < names.length(); ++i)
    loadApp(names[i].rawString(), YcadApp::kOnStartup, false, false);
}

bool YcRxDynamicLinkerImp::loadApp(const wchar_t* appName, YcadApp::LoadReasons reasons,
                                   bool printIt, bool asCmd) {
  if (!appName || !*appName) return false;
  YcadAppInfo info;
  const YcRxString name(appName, L'|', false);
  info.setAppName(name.rawString());
  if (info.readFromRegistry() != Ycad::eOk) return false;
  return loadApp(&info, reasons, printIt, asCmd);
}

bool YcRxDynamicLinkerImp::loadApp(YcadAppInfo* info, YcadApp::LoadReasons reasons, bool printIt,
                                   bool asCmd) {
  if (!info) return false;
  const YcadApp::LoadReasons registered = info->loadReason();
  if (!(registered & reasons) || (registered & YcadApp::kLoadDisabled)) return false;
  if (info->managed()) {
    // Managed modules are the managed loader's business; it must be loaded already.
    HMODULE loader = KmKernel32::GetModuleHandleW(L"KmManaged.dll");
    auto load = loader ? reinterpret_cast<LoadManagedDllFunc>(
                             KmKernel32::GetProcAddress(loader, "LoadManagedDll"))
                       : nullptr;
    return load && load(info->moduleName()) == 0;
  }
  const wchar_t* moduleName = info->moduleName();
  if (reasons == YcadApp::kOnStartup && findRxModuleProxyByModuleName(moduleName, false))
    return true;
  if (!loadModule(moduleName, printIt, asCmd)) return false;
  if (YcRxDynLoadModuleProxy* record = findRxModuleProxyByModuleName(moduleName, true)) {
    record->setAppName(info->appName());
    record->setLoadReason(info->loadReason());
  }
  return true;
}

bool YcRxDynamicLinkerImp::initListedModules(const wchar_t* listFile) {
  loadStarupApps();
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  if (!services) {
    kmrxFatal(L"Cannot get host application service object!");
    return false;
  }
  if (!listFile || !*listFile) return false;
  wchar_t found[kKmTextBuffer] = {0};
  if (services->findFile(found, kKmTextBuffer, listFile, nullptr,
                         YcDbHostApplicationServices::kModuleFile) != Ycad::eOk)
    return false;
  found[kKmTextBuffer - 1] = 0;
  YcadTextFileReader reader;
  if (!reader.open(found)) return false;

  bool result = true;
  const wchar_t comment[] = L";";
  const wchar_t empty[] = L"";
  const wchar_t lineComment[] = L"//";
  while (!reader.isEOF()) {
    wchar_t entry[kKmTextBuffer];
    if (!reader.skipSpecial(entry, kKmTextBuffer, 1u, comment, 1u, empty, 2u, lineComment, 0u)) continue;
    if (reader.lastLineCut()) {
      // A cut name would load the wrong file or none: tell the user and the log instead.
      kmrxShowMessage(KmRxMsg::kLoadFailed, entry, L"the list file's line is longer than 1023 characters");
      kmrxLogLine(L"yrx %s load failure: list line longer than 1023 characters", entry);
      result = false;
      continue;
    }
    wchar_t path[kKmTextBuffer] = {0};
    if (services->findFile(path, kKmTextBuffer, entry, nullptr,
                           YcDbHostApplicationServices::kModuleFile) != Ycad::eOk) {
      result = false;
      continue;
    }
    path[kKmTextBuffer - 1] = 0;
    try {
      loadModule(path, true, true);
    } catch (KmErrorStatus* error) {  // what the array template throws
      delete error;
      result = false;
    } catch (...) {
      result = false;
    }
  }
  if (reader.bad()) result = false;
  return result;
}

int ycrxRegisterApp(YcadApp::LoadReasons reasons, const wchar_t* appName, bool flag) {
  if (!appName || !*appName) return 1;
  YcadAppInfo info;
  info.setAppName(appName);
  info.setLoadReason(reasons);
  return info.writeToRegistry(flag, false) < 1 ? 0 : 9;
}

int ycrxUnregisterApp(const wchar_t* appName, bool flag) {
  if (!appName || !*appName) return 1;
  YcadAppInfo info;
  info.setAppName(appName);
  const Ycad::ErrorStatus status = info.delFromRegistry(flag);
  if (status == Ycad::eOk) return 0;
  return status == Ycad::eKeyNotFound ? 3 : 9;
}
