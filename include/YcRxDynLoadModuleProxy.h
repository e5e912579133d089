// The record of one loaded extension module; also the application handle a
// module receives with its initialisation message.
#pragma once
#include "YcBaseClassWithNew.h"
#include "YcRxMacros.h"
#include "YcRxObject.h"

class YcRxDynLoadModuleProxy;
class YcRxString;

// The host's application-table entry for a module. Only the file name and the
// owner are the runtime's; the rest belongs to the host.
struct RxYDSAppTableEntryType {
  const wchar_t* fileName;  // borrowed from the module record
  YcRxDynLoadModuleProxy* owner;
  void* hostData[6];
};

class KMRX_API YcRxDynLoadModuleProxy : public YcRxObject, public YcBaseClassWithNew {
public:
  YCRX_DECLARE_MEMBERS(YcRxDynLoadModuleProxy);
  // Both bases allocate from the platform heap; this one is named as theirs.
  using YcBaseClassWithNew::operator new;
  using YcBaseClassWithNew::operator delete;

  YcRxDynLoadModuleProxy();
  explicit YcRxDynLoadModuleProxy(void* handle);
  ~YcRxDynLoadModuleProxy() override;
  YcRxDynLoadModuleProxy(const YcRxDynLoadModuleProxy&) = delete;
  YcRxDynLoadModuleProxy& operator=(const YcRxDynLoadModuleProxy&) = delete;

  bool isEqualTo(const YcRxObject* other) const override;
  YcRx::Ordering comparedTo(const YcRxObject* other) const override;

  static YcRxDynLoadModuleProxy* createRxModuleProxy(void* handle);

  // 0 on success, 0xFFFFFFFF without a file name, else the platform's error.
  unsigned int loadModule();
  void unloadModule();
  bool canUnload() const;
  void* getSymbolAddr(const char* name) const;
  int addModuleRef();
  int releaseModuleRef();
  int moduleRefCount() const;
  RxYDSAppTableEntryType* ydsAppData();
  bool sendMessageToApp(YcRx::AppMsgCode code, void* arg);

  const wchar_t* fileName() const { return mpFileName; }
  void setFileName(const wchar_t* name);
  const wchar_t* appName() const { return mpAppName; }
  void setAppName(const wchar_t* name);
  void* rxModuleHandle() const { return mpHandle; }
  bool isLocked() const { return mLocked; }
  void lock() { mLocked = true; }
  void unlock() { mLocked = false; }
  bool sendingMessage() const { return mSendingMessage; }
  void setSendingMessage(bool sending) { mSendingMessage = sending; }
  bool isMDIAware() const { return mMDIAware; }
  void setMDIAware(bool aware) { mMDIAware = aware; }
  YcadApp::LoadReasons loadReason() const { return mLoadReason; }
  void setLoadReason(YcadApp::LoadReasons reasons) { mLoadReason = reasons; }
  unsigned char moduleType() const { return mModuleType; }
  void setModuleType(unsigned char type) { mModuleType = type; }
  bool isBusy() const { return mBusy; }
  void setBusy(bool busy) { mBusy = busy; }
  bool appInLoaded() const { return mAppInLoaded; }
  void setAppInLoaded(bool loading) { mAppInLoaded = loading; }
  bool ownsHandle() const { return mHandleOwned; }

  static void* getHRXModuleByName(const wchar_t* name);
  static bool getModuleFileNameByHRXModule(void* handle, YcRxString& out);
  static void* getCurrentHRXModule();

private:
  RxYDSAppTableEntryType* mpAppData;
  void* mpHandle;
  wchar_t* mpFileName;
  wchar_t* mpAppName;
  YcadApp::LoadReasons mLoadReason;
  volatile int mModuleRefCount;
  bool mLocked;
  bool mSendingMessage;
  bool mMDIAware;
  bool mHandleOwned;
  bool mBusy;
  unsigned char mModuleType;
  bool mAppInLoaded;
};

// Sets the host's module being loaded for a scope and puts the previous one back.
class KMRX_API CurrentLoadingModuleSwitcher {
public:
  explicit CurrentLoadingModuleSwitcher(YcRxDynLoadModuleProxy* module);
  ~CurrentLoadingModuleSwitcher();
  CurrentLoadingModuleSwitcher(const CurrentLoadingModuleSwitcher&) = delete;
  CurrentLoadingModuleSwitcher& operator=(const CurrentLoadingModuleSwitcher&) = delete;

private:
  YcRxDynLoadModuleProxy* mpPrevious;
};

// Plain, non-atomic updates: all module work runs on the host's main thread.
// ExchangeAdd returns the new value; Increment and Decrement the old one.
KMRX_API int KmInterlockedExchangeAdd(volatile int* p, int v);
KMRX_API int KmInterlockedIncrement(volatile int* p);
KMRX_API int KmInterlockedDecrement(volatile int* p);
