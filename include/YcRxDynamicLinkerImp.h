// The one dynamic linker: load, unload and message protocols, reactors,
// services and start-up loading.
#pragma once
#include "YcRxDynamicLinker.h"

class YcRxDictionary;
class YcRxLinkedList;
class YcRxString;
struct RxYDSAppTableEntryType;

class KMRX_API YcRxDynamicLinkerImp : public YcRxDynamicLinker {
public:
  YCRX_DECLARE_MEMBERS(YcRxDynamicLinkerImp);

  YcRxDynamicLinkerImp();
  ~YcRxDynamicLinkerImp() override;
  YcRxDynamicLinkerImp(const YcRxDynamicLinkerImp&) = delete;
  YcRxDynamicLinkerImp& operator=(const YcRxDynamicLinkerImp&) = delete;

  void* getSymbolAddress(const wchar_t* serviceName, const char* symbol) override;
  void* getSymbolAddress(const wchar_t* serviceName, const wchar_t* symbol) override;
  bool initListedModules(const wchar_t* listFile) override;
  bool loadModule(const wchar_t* name, bool printIt, bool asCmd = false) override;
  bool loadApp(const wchar_t* appName, YcadApp::LoadReasons reasons, bool printIt,
               bool asCmd) override;
  YcRxObject* registerService(const wchar_t* name, YcRxService* service) override;
  bool unloadModule(const wchar_t* name, bool flag = false) override;
  bool unloadApp(const wchar_t* appName, bool flag = false) override;
  void addReactor(YcRxDLinkerReactor* reactor) override;
  void removeReactor(YcRxDLinkerReactor* reactor) override;
  bool isApplicationLocked(const wchar_t* name) override;
  bool lockApplication(void* appHandle) override;
  bool unlockApplication(void* appHandle) override;
  bool isAppMDIAware(const wchar_t* name) override;
  bool registerAppMDIAware(void* appHandle) override;
  bool registerAppNotMDIAware(void* appHandle) override;
  bool isAppBusy(const wchar_t* name) override;
  void setAppBusy(const wchar_t* name, bool busy) override;
  const wchar_t* ProductKey() override;
  unsigned int ProductLcid() override;
  bool loadApp(YcadAppInfo* info, YcadApp::LoadReasons reasons, bool printIt, bool asCmd) override;
  bool isModuleLoaded(const wchar_t* name) override;
  bool sendMessageToApp(YcRxDynLoadModuleProxy* module, YcRx::AppMsgCode code, void* arg) override;
  bool sendMessageToApp(const wchar_t* fileName, YcRx::AppMsgCode code, void* arg) override;
  int sendMessageToAllApp(YcRx::AppMsgCode code, void* arg) override;
  void getLoadedModules(YcArray<const YcRxDynLoadModuleProxy*>& modules) override;

  // Load protocol.
  YcRxDynLoadModuleProxy* findRxModuleProxyByModuleName(const wchar_t* name, bool raiseError);
  bool handleRemoteURL(YcRxString& out, const wchar_t* name);
  YcRxDynLoadModuleProxy* verifyModule(const YcRxString& path, bool printIt, bool asCmd);
  bool enterRecord(const wchar_t* key, YcRxDynLoadModuleProxy* record);
  bool startYrxLoadProtocol(YcRxDynLoadModuleProxy* module, bool printIt);
  bool yrxKeyCheck(YcRxDynLoadModuleProxy* module, bool printIt);
  void sendBeginYrxLoading(const wchar_t* fileName);
  void sendEndYrxLoading(const wchar_t* fileName);
  void sendAbortYrxLoading(const wchar_t* fileName);
  void sendBeginYrxUnloading(const wchar_t* fileName);
  void sendEndYrxUnloading(const wchar_t* fileName);
  void sendAbortYrxUnloading(const wchar_t* fileName);

  // Unload protocol (the "Registed" spelling is part of the interface).
  bool startYrxUnloadProtocol(YcRxDynLoadModuleProxy* module, bool force);
  void notifyYrxUnloadingToEdSys(YcRxDynLoadModuleProxy* module);
  void unloadRegistedServices(YcRxDynLoadModuleProxy* module);
  void resetRegistedClassesbyModule(YcRxDynLoadModuleProxy* module);
  void beginUnloadYrxModule();
  void endUnloadYrxModule();
  bool doPhysicalUnload() const;
  void physicallyUnloadModulesInQueueOrder();
  void cleanUp();

  // Reactors and per-module flags.
  void addDbAppAware(YcRxDLinkerReactor* reactor);
  void removeDbAppAware(YcRxDLinkerReactor* reactor);
  void clearAllRxReactor(const YcRxClass* cls);
  int reactorCount() const { return mReactors.length(); }
  int dbAppAwareCount() const { return mDbAppAwareCount; }
  bool hasNoMDIAwareModule();
  YcRxDynLoadModuleProxy* findRxModuleProxyByHRXMod(void* handle);
  YcRxDynLoadModuleProxy* findRxModuleProxyByAppName(const wchar_t* appName);
  int loadedModuleCount() const;
  static RxYDSAppTableEntryType* setCurYdsData(RxYDSAppTableEntryType* data);
  static RxYDSAppTableEntryType* getCurYdsData();

  // Start-up loading (the spelling is part of the interface).
  void loadStarupApps();

  YcRxDictionary* moduleDictionary() const { return mpModules; }
  // Whether construction got everything it needs (memory may have run out).
  bool isComplete() const { return mpModules && mpUnloadQueue && spMySelf; }
  void* currentModuleHandle() const { return mpCurrentModule; }
  int unloadDepth() const { return mUnloadDepth; }
  static YcRxDynLoadModuleProxy* mySelf() { return spMySelf; }

private:
  friend class SendAppMsgStackDataRestorer;

  static YcRxDynLoadModuleProxy* spMySelf;
  static RxYDSAppTableEntryType* spCurYdsData;

  YcRxDictionary* mpModules;
  YcRxLinkedList* mpUnloadQueue;
  YcArray<YcRxDLinkerReactor*> mReactors;
  void* mpCurrentModule;
  int mUnloadDepth;
  int mDbAppAwareCount;
};

// Deletes a module record unless it is null or self (the library's own record);
// the CE form also swallows what the deletion throws.
KMRX_API void _safeDeleteModuleObjectSE(YcRxObject* object, YcRxObject* self);
KMRX_API void _safeDeleteModuleObjectCE(YcRxObject* object, YcRxObject* self);
