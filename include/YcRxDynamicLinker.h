// The dynamic linker ("DynamicLinker" in the system registry): loads and
// unloads extension modules, delivers their messages, keeps linker reactors
// and services. Modules and hosts usually reach it through the ycrx...
// functions of YcRxModuleFunctions.h.
#pragma once
#include "YcArray.h"
#include "YcRxMacros.h"
#include "YcRxObject.h"

class YcadAppInfo;
class YcRxDLinkerReactor;
class YcRxDynLoadModuleProxy;
class YcRxService;

class KMRX_API YcRxDynamicLinker : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxDynamicLinker);

  virtual void* getSymbolAddress(const wchar_t* serviceName, const char* symbol) = 0;
  virtual void* getSymbolAddress(const wchar_t* serviceName, const wchar_t* symbol) = 0;
  virtual bool initListedModules(const wchar_t* listFile) = 0;
  virtual bool loadModule(const wchar_t* name, bool printIt, bool asCmd = false) = 0;
  virtual bool loadApp(const wchar_t* appName, YcadApp::LoadReasons reasons, bool printIt,
                       bool asCmd) = 0;
  virtual YcRxObject* registerService(const wchar_t* name, YcRxService* service) = 0;
  virtual bool unloadModule(const wchar_t* name, bool flag = false) = 0;
  virtual bool unloadApp(const wchar_t* appName, bool flag = false) = 0;
  virtual void addReactor(YcRxDLinkerReactor* reactor) = 0;
  virtual void removeReactor(YcRxDLinkerReactor* reactor) = 0;
  virtual bool isApplicationLocked(const wchar_t* name) = 0;
  virtual bool lockApplication(void* appHandle) = 0;
  virtual bool unlockApplication(void* appHandle) = 0;
  virtual bool isAppMDIAware(const wchar_t* name) = 0;
  virtual bool registerAppMDIAware(void* appHandle) = 0;
  virtual bool registerAppNotMDIAware(void* appHandle) = 0;
  virtual bool isAppBusy(const wchar_t* name) = 0;
  virtual void setAppBusy(const wchar_t* name, bool busy) = 0;
  virtual const wchar_t* ProductKey() = 0;
  virtual unsigned int ProductLcid() = 0;
  virtual bool loadApp(YcadAppInfo* info, YcadApp::LoadReasons reasons, bool printIt,
                       bool asCmd) = 0;
  virtual bool isModuleLoaded(const wchar_t* name) = 0;
  virtual bool sendMessageToApp(YcRxDynLoadModuleProxy* module, YcRx::AppMsgCode code,
                                void* arg) = 0;
  virtual bool sendMessageToApp(const wchar_t* fileName, YcRx::AppMsgCode code, void* arg) = 0;
  virtual int sendMessageToAllApp(YcRx::AppMsgCode code, void* arg) = 0;
  virtual void getLoadedModules(YcArray<const YcRxDynLoadModuleProxy*>& modules) = 0;
};
