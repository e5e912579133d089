// What an application record does: keep its names, read its entry from the
// configuration store, and bring its module in.
#include "YcadAppInfoImp.h"

#include <cwchar>

#include "KmCharOp.h"
#include "TesselConfig.h"
#include "YcDbHostApplicationServices.h"
#include "YcRxDictionary.h"
#include "YcRxDynamicLinker.h"
#include "YcRxModuleGlobal.h"
#include "core/KmRxContext.h"

namespace {

constexpr int kBuffer = 1024;

void replaceString(wchar_t*& slot, const wchar_t* text) {
  KmCharOp::release(slot);
  slot = text ? KmCharOp::clone(text) : nullptr;
}

// "app/sub" as the store spells a key below an application.
void subKey(wchar_t (&out)[kBuffer], const wchar_t* app, const wchar_t* sub) {
  if (std::swprintf(out, kBuffer, L"%ls/%ls", app, sub) < 0) out[kBuffer - 1] = 0;
}

}  // namespace

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
  replaceString(mpModuleName, nullptr);
  if (!name) return;
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  if (services && services->isURL(name)) {
    wchar_t local[kBuffer] = {0};
    const Ycad::ErrorStatus fetched = services->getRemoteFile(name, local, kBuffer, false);
    if (fetched != Ycad::eRemoteFetched && fetched != Ycad::eRemoteCached) return;
    local[kBuffer - 1] = 0;
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
    wchar_t found[kBuffer] = {0};
    if (services->findFile(found, kBuffer, mpModuleName, nullptr,
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

  wchar_t key[kBuffer];
  mLoadReason = YcadApp::kNoReason;
  YcadVariant reasons;
  subKey(key, mpAppName, L"LOADCTRLS");
  if (config->readValue(TesselConfig::kApplications, key, reasons))
    mLoadReason = static_cast<YcadApp::LoadReasons>(reasons.getDWord());

  YcadVariant loader;
  subKey(key, mpAppName, L"LOADER");
  if (config->readValue(TesselConfig::kApplications, key, loader)) {
    wchar_t stored[kBuffer];
    std::wcsncpy(stored, loader.getString(), kBuffer - 1);
    stored[kBuffer - 1] = 0;
    wchar_t found[kBuffer] = {0};
    YcDbHostApplicationServices* services = ycdbHostApplicationServices();
    if (services && services->findFile(found, kBuffer, stored, nullptr,
                                       YcDbHostApplicationServices::kModuleFile) == Ycad::eOk) {
      found[kBuffer - 1] = 0;
      setModuleName(found);
    } else {
      setModuleName(stored);
    }
  }

  YcadVariant description;
  subKey(key, mpAppName, L"DESCRIPTION");
  if (config->readValue(TesselConfig::kApplications, key, description))
    setAppDesc(description.getString());

  // "MANAGED" is deliberately not read: a record from the store is never managed.
  mManaged = false;
  mpAppLoader = nullptr;
  mStatus = Ycad::eOk;
  return mStatus;
}
