// The state and behaviour behind YcadAppInfo; the public record owns one.
#pragma once
#include "YcadAppInfo.h"

class KMRX_API YcadAppInfoImp {
public:
  explicit YcadAppInfoImp(YcadAppInfo* owner);
  ~YcadAppInfoImp();
  YcadAppInfoImp(const YcadAppInfoImp&) = delete;
  YcadAppInfoImp& operator=(const YcadAppInfoImp&) = delete;

  const wchar_t* appName() const { return mpAppName; }
  void setAppName(const wchar_t* name);
  const wchar_t* moduleName() const { return mpModuleName; }
  void setModuleName(const wchar_t* name);
  const wchar_t* appDesc() const { return mpAppDesc; }
  void setAppDesc(const wchar_t* description);
  bool appImplements(const wchar_t* command) const;
  bool managed() const { return mManaged; }
  void setManaged(bool managed) { mManaged = managed; }
  YcadAppInfo::CmdStatus runAppLoader();
  void setAppLoader(YcadAppInfo::AppLoader loader) { mpAppLoader = loader; }
  YcadApp::LoadReasons loadReason() const { return mLoadReason; }
  void setLoadReason(YcadApp::LoadReasons reasons) { mLoadReason = reasons; }
  Ycad::ErrorStatus status() const { return mStatus; }
  // Set to 2 by construction and by every setAppName; nothing reads it.
  int nameState() const { return mNameState; }

  Ycad::ErrorStatus readFromRegistry();
  // The record never writes the store, yet reports success; modules rely on it.
  Ycad::ErrorStatus writeToRegistry(bool, bool) { return Ycad::eOk; }
  Ycad::ErrorStatus delFromRegistry(bool) { return Ycad::eOk; }
  Ycad::ErrorStatus writeGroupNameToRegistry(const wchar_t*) { return Ycad::eOk; }
  Ycad::ErrorStatus writeCommandNameToRegistry(const wchar_t*, const wchar_t*) { return Ycad::eOk; }
  // Never looks anything up: always 0, so appImplements says yes to anything.
  Ycad::ErrorStatus findCmdNameFromReg(bool isGroup, const wchar_t* name) const;

private:
  YcadAppInfo* mpOwner;
  YcadAppInfo::AppLoader mpAppLoader;
  YcadApp::LoadReasons mLoadReason;
  Ycad::ErrorStatus mStatus;
  wchar_t* mpAppName;
  wchar_t* mpModuleName;
  wchar_t* mpAppDesc;
  int mNameState;
  bool mManaged;
};
