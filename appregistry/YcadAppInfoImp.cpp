// What an application record does: keep its names, read its entry from the
// configuration store, and bring its module in.
#include "YcadAppInfoImp.h"

#include <cwchar>

#include "KmCharOp.h"
#include "KmWideText.h"
#include "TesselConfig.h"
#include "YcDbHostApplicationServices.h"
#include "YcRxDictionary.h"
#include "YcRxDynamicLinker.h"
#include "YcRxModuleGlobal.h"
#include "YcadRegistryInternal.h"
#include "core/KmRxContext.h"

namespace {


void replaceString(wchar_t*& slot, const wchar_t* text) {
  KmCharOp::release(slot);
  slot = text ? KmCharOp::clone(text) : nullptr;
}

}  // namespace

void kmrxAppKey(wchar_t (&out)[kKmTextBuffer], const wchar_t* app, const wchar_t* sub) {
  if (std::swprintf(out, kKmTextBuffer, L"%ls/%ls", app, sub) < 0) out[kKmTextBuffer - 1] = 0;
}

YcadAppInfoImp::YcadAppInfoImp(YcadAppInfo* owner)
    : mpOwner(owner),
      mpAppLoader(nullptr),
      mLoadReason(YcadApp::kOnLoadRequest),
      mStatus(Ycad::eOk),
      mpAppName(nullptr),
      mpModuleName(nullptr),
      mpAppDesc(nullptr),
      mNameState(2),
      mManaged(false) {}

YcadAppInfoImp::~YcadAppInfoImp() {
  KmCharOp::release(mpAppName);
  KmCharOp::release(mpModuleName);
  KmCharOp::release(mpAppDesc);
}

void YcadAppInfoImp::setAppName(const wchar_t* name) {
  mNameState = 2;
  replaceString(mpAppName, nullptr);
  if (!name) return;
  if (*name == L'"') ++name;
  mpAppName = KmCharOp::clone(name);
  if (!mpAppName) return;
  // The two ends are handled apart: a lone trailing quote goes too.
  const unsigned long n = KmCharOp::length(mpAppName);
  if (n > 0 && mpAppName[n - 1] == L'"') mpAppName[n - 1] = 0;
}

void YcadAppInfoImp::setModuleName(const wchar_t* name) {
  kmrxDemandLoadChanged();  // look-ups keep whether a record's module might be loaded
  replaceString(mpModuleName, nullptr);
  if (!name) return;
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  if (services && services->isURL(name)) {
    wchar_t local[kKmTextBuffer] = {0};
    const Ycad::ErrorStatus fetched = services->getRemoteFile(name, local, kKmTextBuffer, false);
    if (fetched != Ycad::eRemoteFetched && fetched != Ycad::eRemoteCached) return;
    local[kKmTextBuffer - 1] = 0;
    replaceString(mpModuleName, local);
    return;
  }
  replaceString(mpModuleName, name);
}

void YcadAppInfoImp::setAppDesc(const wchar_t* description) {
  replaceString(mpAppDesc, description);
}

// Always found, so a record read without error implements every command;
// modules rely on it.
Ycad::ErrorStatus YcadAppInfoImp::findCmdNameFromReg(bool, const wchar_t*) const {
  return Ycad::eOk;
}

bool YcadAppInfoImp::appImplements(const wchar_t* command) const {
  int dot = -1;
  KmCharOp::find(command, L'.', 0, &dot);
  wchar_t* group = dot >= 1 ? KmCharOp::clone(command, static_cast<unsigned long>(dot)) : nullptr;
  const wchar_t* name = dot >= 0 ? command + dot + 1 : command;
  bool found = false;
  if (mStatus == Ycad::eOk)
    found = (group && findCmdNameFromReg(true, group) == Ycad::eOk) ||
            findCmdNameFromReg(false, name) == Ycad::eOk;
  KmCharOp::release(group);
  return found;
}

YcadAppInfo::CmdStatus YcadAppInfoImp::runAppLoader() {
  if (mpAppLoader) return mpAppLoader(this);
  if (!mpModuleName) return YcadAppInfo::kNothingLoaded;
  // By name, as the default loader is defined.
  YcRxDynamicLinker* linker = kmrxRegisteredLinker();
  if (linker && linker->loadApp(mpOwner, YcadApp::kOnAppLoader, false, true))
    return YcadAppInfo::kModuleLoaded;
  if (YcDbHostApplicationServices* services = ycdbHostApplicationServices()) {
    wchar_t found[kKmTextBuffer] = {0};
    if (services->findFile(found, kKmTextBuffer, mpModuleName, nullptr,
                           YcDbHostApplicationServices::kModuleFile) != Ycad::eOk)
      return YcadAppInfo::kModuleNotFound;
  }
  return YcadAppInfo::kNothingLoaded;
}

Ycad::ErrorStatus YcadAppInfoImp::readFromRegistry() {
  TesselConfig* config = ycadConfig();
  if (!mpAppName || !*mpAppName || !config) {
    mStatus = Ycad::eInvalidInput;
    return mStatus;
  }
  if (!config->isItemExist(TesselConfig::kApplications, mpAppName)) return Ycad::eKeyNotFound;

  wchar_t key[kKmTextBuffer];
  mLoadReason = YcadApp::kNoReason;
  YcadVariant reasons;
  kmrxAppKey(key, mpAppName, L"LOADCTRLS");
  if (config->readValue(TesselConfig::kApplications, key, reasons))
    mLoadReason = static_cast<YcadApp::LoadReasons>(reasons.getDWord());

  YcadVariant loader;
  kmrxAppKey(key, mpAppName, L"LOADER");
  if (config->readValue(TesselConfig::kApplications, key, loader)) {
    wchar_t stored[kKmTextBuffer];
    std::wcsncpy(stored, loader.getString(), kKmTextBuffer - 1);
    stored[kKmTextBuffer - 1] = 0;
    wchar_t found[kKmTextBuffer] = {0};
    YcDbHostApplicationServices* services = ycdbHostApplicationServices();
    if (services && services->findFile(found, kKmTextBuffer, stored, nullptr,
                                       YcDbHostApplicationServices::kModuleFile) == Ycad::eOk) {
      found[kKmTextBuffer - 1] = 0;
      setModuleName(found);
    } else {
      setModuleName(stored);
    }
  }

  YcadVariant description;
  kmrxAppKey(key, mpAppName, L"DESCRIPTION");
  if (config->readValue(TesselConfig::kApplications, key, description))
    setAppDesc(description.getString());

  // "MANAGED" is deliberately not read: a record from the store is never managed.
  mManaged = false;
  mpAppLoader = nullptr;
  mStatus = Ycad::eOk;
  return mStatus;
}
