// The public application record: every operation forwards to its implementation.
#include "YcadAppInfo.h"

#include "YcadAppInfoImp.h"
#include "YcadRegistryInternal.h"

YCRX_DEFINE_MEMBERS(YcadAppInfo, L"AcadAppInfo", L"AcRxObject")

YcadAppInfo::YcadAppInfo() : mpImp(new YcadAppInfoImp(this)) {}
YcadAppInfo::~YcadAppInfo() { delete mpImp; }

const wchar_t* YcadAppInfo::appName() const { return mpImp->appName(); }
void YcadAppInfo::setAppName(const wchar_t* name) { mpImp->setAppName(name); }
const wchar_t* YcadAppInfo::moduleName() const { return mpImp->moduleName(); }
void YcadAppInfo::setModuleName(const wchar_t* name) { mpImp->setModuleName(name); }
const wchar_t* YcadAppInfo::appDesc() const { return mpImp->appDesc(); }
void YcadAppInfo::setAppDesc(const wchar_t* description) { mpImp->setAppDesc(description); }
bool YcadAppInfo::appImplements(const wchar_t* command) const {
  return mpImp->appImplements(command);
}
bool YcadAppInfo::managed() const { return mpImp->managed(); }
void YcadAppInfo::setManaged(bool managed) { mpImp->setManaged(managed); }
YcadAppInfo::CmdStatus YcadAppInfo::runAppLoader() { return mpImp->runAppLoader(); }
void YcadAppInfo::setAppLoader(AppLoader loader) { mpImp->setAppLoader(loader); }
YcadApp::LoadReasons YcadAppInfo::loadReason() const { return mpImp->loadReason(); }
void YcadAppInfo::setLoadReason(YcadApp::LoadReasons reasons) {
  kmrxDemandLoadChanged();  // look-ups keep each record's reasons
  mpImp->setLoadReason(reasons);
}
Ycad::ErrorStatus YcadAppInfo::status() const { return mpImp->status(); }
Ycad::ErrorStatus YcadAppInfo::readFromRegistry() { return mpImp->readFromRegistry(); }
Ycad::ErrorStatus YcadAppInfo::writeToRegistry(bool flag, bool flag2) {
  return mpImp->writeToRegistry(flag, flag2);
}
Ycad::ErrorStatus YcadAppInfo::delFromRegistry(bool flag) { return mpImp->delFromRegistry(flag); }
Ycad::ErrorStatus YcadAppInfo::writeGroupNameToRegistry(const wchar_t* group) {
  return mpImp->writeGroupNameToRegistry(group);
}
Ycad::ErrorStatus YcadAppInfo::writeCommandNameToRegistry(const wchar_t* globalName,
                                                          const wchar_t* localName) {
  return mpImp->writeCommandNameToRegistry(globalName, localName);
}
