// The registration record of one demand-loadable application: its name, the
// module that implements it, a description, when to load it and an optional
// loader. Filled from the host's configuration store; it never writes there.
#pragma once
#include <cstdint>
#include "KmErrorStatus.h"
#include "YcRxMacros.h"
#include "YcRxObject.h"

class YcadAppInfoImp;

class KMRX_API YcadAppInfo : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcadAppInfo);

  // Result of runAppLoader and of a loader function.
  enum CmdStatus : std::int32_t {
    kModuleLoaded = 1,
    kNothingLoaded = 2,     // no module name, or the file is there but did not load
    kModuleNotFound = 3,
  };
  // Receives the record's implementation object.
  typedef CmdStatus (*AppLoader)(void*);

  YcadAppInfo();
  ~YcadAppInfo() override;
  YcadAppInfo(const YcadAppInfo&) = delete;
  YcadAppInfo& operator=(const YcadAppInfo&) = delete;

  const wchar_t* appName() const;
  // Drops one double quote at each end, if there.
  void setAppName(const wchar_t* name);
  const wchar_t* moduleName() const;
  // Names the host calls URLs are fetched through the host first.
  void setModuleName(const wchar_t* name);
  const wchar_t* appDesc() const;
  void setAppDesc(const wchar_t* description);
  // "COMMAND" or "GROUP.COMMAND". True for any command once a read succeeded.
  bool appImplements(const wchar_t* command) const;
  bool managed() const;
  void setManaged(bool managed);
  CmdStatus runAppLoader();
  void setAppLoader(AppLoader loader);
  YcadApp::LoadReasons loadReason() const;
  void setLoadReason(YcadApp::LoadReasons reasons);
  Ycad::ErrorStatus status() const;

  // Fills the record from the application's entry: 0, 3 (no entry) or 5 (no
  // name or no store).
  Ycad::ErrorStatus readFromRegistry();
  // The record never writes to the store: these do nothing and return 0.
  Ycad::ErrorStatus writeToRegistry(bool flag, bool flag2);
  Ycad::ErrorStatus delFromRegistry(bool flag);
  Ycad::ErrorStatus writeGroupNameToRegistry(const wchar_t* group);
  Ycad::ErrorStatus writeCommandNameToRegistry(const wchar_t* globalName, const wchar_t* localName);

private:
  YcadAppInfoImp* mpImp;
};
