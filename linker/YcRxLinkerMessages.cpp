// Message delivery to modules, linker reactors, per-module flags and the
// searches over the module dictionary.
#include <cwchar>
#include <exception>

#include "KmErrorStatus.h"
#include "KmPathMaker.h"
#include "YcDbHostApplicationServices.h"
#include "YcRxClass.h"
#include "YcRxDLinkerReactor.h"
#include "YcRxDictionaryImp.h"
#include "YcRxDictionaryWalker.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxString.h"
#include "core/YcRxInternal.h"
#include "containers/KmRxVisit.h"
#include "linker/YcRxLinkerInternal.h"

YCRX_DEFINE_MEMBERS(YcRxDLinkerReactor, L"AcRxDLinkerReactor", L"AcRxObject")

void YcRxDLinkerReactor::rxAppWillBeLoaded(const wchar_t*) {}
void YcRxDLinkerReactor::rxAppLoaded(const wchar_t*) {}
void YcRxDLinkerReactor::rxAppLoadAborted(const wchar_t*) {}
void YcRxDLinkerReactor::rxAppWillBeUnloaded(const wchar_t*) {}
void YcRxDLinkerReactor::rxAppUnloaded(const wchar_t*) {}
void YcRxDLinkerReactor::rxAppUnloadAborted(const wchar_t*) {}

RxYDSAppTableEntryType* YcRxDynamicLinkerImp::spCurYdsData = nullptr;

RxYDSAppTableEntryType* YcRxDynamicLinkerImp::setCurYdsData(RxYDSAppTableEntryType* data) {
  RxYDSAppTableEntryType* previous = spCurYdsData;
  spCurYdsData = data;
  return previous;
}

RxYDSAppTableEntryType* YcRxDynamicLinkerImp::getCurYdsData() { return spCurYdsData; }

// Puts back the linker's current module handle and the current application
// data when a delivery ends, also when the entry point throws.
class SendAppMsgStackDataRestorer {
public:
  SendAppMsgStackDataRestorer(void** slot, RxYDSAppTableEntryType* data)
      : mpSlot(slot), mpSaved(*slot), mpPreviousData(YcRxDynamicLinkerImp::setCurYdsData(data)) {}
  ~SendAppMsgStackDataRestorer() {
    *mpSlot = mpSaved;
    YcRxDynamicLinkerImp::setCurYdsData(mpPreviousData);
  }
  SendAppMsgStackDataRestorer(const SendAppMsgStackDataRestorer&) = delete;
  SendAppMsgStackDataRestorer& operator=(const SendAppMsgStackDataRestorer&) = delete;

private:
  void** mpSlot;
  void* mpSaved;
  RxYDSAppTableEntryType* mpPreviousData;
};

// The host's services slot, read here without a call: asked on every delivery.
extern KMRX_API YcDbHostApplicationServices* gpKmHostServices;

namespace {

YcadHostApplication* hostApp() {
  YcDbHostApplicationServices* services = gpKmHostServices;
  return services ? services->application() : nullptr;
}

// CurrentLoadingModuleSwitcher with the host's application asked for once:
// the same two calls to the host, on every delivery.
class ModuleBeingLoaded {
public:
  ModuleBeingLoaded(YcadHostApplication* app, YcRxDynLoadModuleProxy* record)
      : mpApp(app), mpPrevious(app ? app->setModuleBeingLoaded(record) : nullptr) {}
  ~ModuleBeingLoaded() {
    if (mpApp) mpApp->setModuleBeingLoaded(mpPrevious);
  }
  ModuleBeingLoaded(const ModuleBeingLoaded&) = delete;
  ModuleBeingLoaded& operator=(const ModuleBeingLoaded&) = delete;

private:
  YcadHostApplication* mpApp;
  YcRxDynLoadModuleProxy* mpPrevious;
};

// Raises a record's sending-message flag for a scope, unless it is up already.
class SendingMessage {
public:
  explicit SendingMessage(YcRxDynLoadModuleProxy* record) : mpRecord(record), mRaised(!record->sendingMessage()) {
    if (mRaised) record->setSendingMessage(true);
  }
  ~SendingMessage() {
    if (mRaised) mpRecord->setSendingMessage(false);
  }
  SendingMessage(const SendingMessage&) = delete;
  SendingMessage& operator=(const SendingMessage&) = delete;

private:
  YcRxDynLoadModuleProxy* mpRecord;
  bool mRaised;
};

// Marks a record as receiving a message and as the host's module being loaded
// for the length of one delivery; the flag goes up first and down last.
struct DeliveryScope {
  DeliveryScope(YcadHostApplication* app, YcRxDynLoadModuleProxy* record) : sending(record), loading(app, record) {}
  SendingMessage sending;
  ModuleBeingLoaded loading;
};

struct SearchNoMDIAwareModule {
  bool operator()(YcRxObject* value, int) const {
    auto* record = static_cast<YcRxDynLoadModuleProxy*>(value);
    return !record->isMDIAware();
  }
};

struct FindRxModuleProxyByHRxMod {
  bool operator()(YcRxObject* value, void* handle) const {
    return static_cast<YcRxDynLoadModuleProxy*>(value)->rxModuleHandle() == handle;
  }
};

struct FindRxModuleProxyByAppName {
  bool operator()(YcRxObject* value, const wchar_t* name) const {
    return kmrxSameNameNoCase(static_cast<YcRxDynLoadModuleProxy*>(value)->appName(), name);
  }
};

struct GetAllLoadedModules {
  bool operator()(YcRxObject* value, YcArray<const YcRxDynLoadModuleProxy*>* out) const {
    // A caller's array that cannot grow ends the walk (reported), not the host.
    return !kmrxTry(L"the list of loaded modules",
                    [&] { out->append(static_cast<YcRxDynLoadModuleProxy*>(value)); });
  }
};

// What the dictionary walker does with these function objects (the first
// value they accept, skipping null values), walking without an iterator to
// allocate: a search that cannot fail for want of memory.
template <class Functor, class Arg>
YcRxDynLoadModuleProxy* walkModules(YcRxDictionary* modules, Arg arg) {
  const Functor accepts;
  YcRxObject* hit = nullptr;
  kmrxVisitEntries(modules, YcRx::kDictKeyOrder, [&](YcRxDictionaryIterator& entry) {
    YcRxObject* value = entry.object();
    if (!hit && value && accepts(value, arg)) hit = value;
  });
  return static_cast<YcRxDynLoadModuleProxy*>(hit);
}

// The record behind an application handle; fatal 46 for an object of another class.
YcRxDynLoadModuleProxy* recordOfHandle(void* appHandle) {
  if (!appHandle) return nullptr;
  auto* obj = static_cast<YcRxObject*>(appHandle);
  if (obj->isA() != YcRxDynLoadModuleProxy::desc()) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return nullptr;
  }
  return static_cast<YcRxDynLoadModuleProxy*>(obj);
}

// A module that throws out of its entry point has failed the message: what it
// threw is kept for the load and unload reports and logged for any other
// message, so it neither reaches the host nor passes without a trace.
[[gnu::cold, gnu::noinline]] YcRx::AppRetCode noteThrow(YcRxDynLoadModuleProxy* record, YcRx::AppMsgCode code,
                                                        std::exception_ptr exception) {
  std::wstring thrown;
  try {
    std::rethrow_exception(exception);
  } catch (const std::exception& e) {
    thrown = kmrxExceptionText(e);
  } catch (KmErrorStatus* status) {  // what the array template throws, its to delete
    thrown = L"KmErrorStatus " + std::to_wstring(static_cast<int>(status->status()));
    delete status;
  } catch (...) {
    thrown = L"an exception that is not a std::exception";
  }
  if (KmRxContext* context = kmrxContext()) context->noteMessageFault(record, true, thrown);
  if (code != YcRx::kAppInitMsg && code != YcRx::kAppUnloadMsg)
    kmrxLog(L"yrx " + kmrxModuleName(record) + L" message " + std::to_wstring(static_cast<int>(code)) +
            L" threw " + thrown);
  return YcRx::kAppRetError;
}

YcRx::AppRetCode deliver(YcRxEntryPointFunc entry, YcRxDynLoadModuleProxy* record, YcRx::AppMsgCode code,
                         void* arg) {
  try {
    return entry(code, arg);
  } catch (...) {
    return noteThrow(record, code, std::current_exception());
  }
}

// Out of the delivery's way: a module's refusal, kept for the reports unless
// what it threw is kept already.
[[gnu::cold, gnu::noinline]] void noteRefusal(YcRxDynLoadModuleProxy* record, YcRx::AppMsgCode code,
                                              YcRx::AppRetCode answer) {
  KmRxContext* context = kmrxContext();
  if (context && !context->messageFaults.count(record))
    context->noteMessageFault(record, false,
                              L"it answered message " + std::to_wstring(static_cast<int>(code)) + L" with " +
                                  std::to_wstring(static_cast<int>(answer)));
}

// The record's entry point, asked of the loader once per mapping.
YcRxEntryPointFunc entryPointOf(YcRxDynLoadModuleProxy* record) {
  KmRxContext* context = kmrxContext();
  if (!context || !record->rxModuleHandle())
    return reinterpret_cast<YcRxEntryPointFunc>(record->getSymbolAddr("ycrxEntryPoint"));
  KmRxContext::EntryPoint& last = context->lastEntryPoint;
  if (last.record == record) return reinterpret_cast<YcRxEntryPointFunc>(last.entry);
  void* entry = nullptr;
  const auto found = context->entryPoints.find(record);
  if (found != context->entryPoints.end()) {
    entry = found->second;
  } else {
    entry = record->getSymbolAddr("ycrxEntryPoint");
    if (!entry) return nullptr;
    // Without room to keep it, it is asked for again next time.
    kmrxTry(L"the entry point of a module", [&] { context->entryPoints.emplace(record, entry); });
  }
  last = KmRxContext::EntryPoint{record, entry};
  return reinterpret_cast<YcRxEntryPointFunc>(entry);
}

}  // namespace

// --- delivery -------------------------------------------------------------------

bool YcRxDynamicLinkerImp::sendMessageToApp(YcRxDynLoadModuleProxy* record, YcRx::AppMsgCode code,
                                            void* arg) {
  if (!record) return false;
  SendAppMsgStackDataRestorer restorer(&mpCurrentModule, record->ydsAppData());
  mpCurrentModule = record->rxModuleHandle();
  auto entry = entryPointOf(record);
  if (!entry) {
    kmrxFatal(L"Cannot find YRX entry point from module: \"%s\"!!!",
              record->fileName() ? record->fileName() : L"");
    return false;
  }
  ModuleBeingLoaded loading(hostApp(), record);
  KmRxRunningModuleScope running(record);
  KmRxContext* context = kmrxContext();
  if (context && !context->messageFaults.empty()) context->messageFaults.erase(record);
  const YcRx::AppRetCode answer = deliver(entry, record, code, arg);
  if (answer != YcRx::kAppRetOk) noteRefusal(record, code, answer);
  return answer == YcRx::kAppRetOk;
}

bool YcRxDynamicLinkerImp::sendMessageToApp(const wchar_t* fileName, YcRx::AppMsgCode code, void* arg) {
  if (!fileName || !*fileName) return false;
  YcadHostApplication* app = kmrxHostApp();
  if (!app) return false;
  YcRxDynLoadModuleProxy* target = nullptr;
  kmrxVisitEntries(mpModules, YcRx::kDictKeyOrder, [&](YcRxDictionaryIterator& entry) {
    auto* record = static_cast<YcRxDynLoadModuleProxy*>(entry.object());
    if (target || !record || !record->fileName()) return;
    wchar_t full[kKmTextBuffer];
    if (kmrxSameNameNoCase(record->fileName(), fileName) ||
        (KmPathMaker::getFullFileName(record->fileName(), full, kKmTextBuffer) &&
         kmrxSameNameNoCase(full, fileName)))
      target = record;
  });
  if (!target) return false;
  DeliveryScope scope(app, target);
  // True once the module is found, whatever it answers: callers rely on it.
  sendMessageToApp(target, code, arg);
  return true;
}

int YcRxDynamicLinkerImp::sendMessageToAllApp(YcRx::AppMsgCode code, void* arg) {
  YcadHostApplication* app = kmrxHostApp();
  if (!app) return 0;
  kmrxVisitEntries(mpModules, YcRx::kDictKeyOrder, [&](YcRxDictionaryIterator& entry) {
    auto* record = static_cast<YcRxDynLoadModuleProxy*>(entry.object());
    if (!record) return;
    DeliveryScope scope(app, record);
    sendMessageToApp(record, code, arg);
  });
  return 0;
}

// --- reactors -----------------------------------------------------------------------

namespace {

// A reactor added while a module runs is credited to it until no copy of it
// is left in the array.
void creditReactor(YcRxDLinkerReactor* reactor) {
  KmRxContext* context = kmrxContext();
  if (context && context->runningModule())
    context->linkerReactors.credit(reactor, context->runningModule());
}

void forgetReactorIfGone(const YcArray<YcRxDLinkerReactor*>& reactors, YcRxDLinkerReactor* reactor) {
  KmRxContext* context = kmrxContext();
  if (context && !reactors.contains(reactor)) context->linkerReactors.forget(reactor);
}

}  // namespace

void YcRxDynamicLinkerImp::addReactor(YcRxDLinkerReactor* reactor) {
  if (!reactor) return;
  if (kmrxTry(L"adding a linker reactor", [&] { mReactors.append(reactor); })) creditReactor(reactor);
}

void YcRxDynamicLinkerImp::removeReactor(YcRxDLinkerReactor* reactor) {
  mReactors.remove(reactor);
  forgetReactorIfGone(mReactors, reactor);
}

void YcRxDynamicLinkerImp::addDbAppAware(YcRxDLinkerReactor* reactor) {
  if (!reactor) return;
  // Database-aware reactors hear everything first.
  if (!kmrxTry(L"adding a linker reactor", [&] { mReactors.insertAt(0, reactor); })) return;
  ++mDbAppAwareCount;
  creditReactor(reactor);
}

void YcRxDynamicLinkerImp::removeDbAppAware(YcRxDLinkerReactor* reactor) {
  if (!reactor) return;
  mReactors.remove(reactor);
  forgetReactorIfGone(mReactors, reactor);
  --mDbAppAwareCount;  // found or not: the count is the callers' to keep right
}

void YcRxDynamicLinkerImp::clearAllRxReactor(const YcRxClass* cls) {
  if (!cls) {
    // Every reactor goes; the database-aware count stays, deliberately.
    mReactors.setLogicalLength(0);
    if (KmRxContext* context = kmrxContext())
      context->linkerReactors.forgetIf([](YcRxDLinkerReactor*) { return true; });
    return;
  }
  const bool dbAware = cls->name() && std::wcscmp(cls->name(), L"YcDbAppAware") == 0;
  try {
    for (int i = 0; i < mReactors.length(); ++i) {
      YcRxDLinkerReactor* reactor = mReactors[i];
      if (reactor && reactor->isA() == cls) {
        mReactors.removeAt(i);
        --i;
        if (dbAware) --mDbAppAwareCount;
        forgetReactorIfGone(mReactors, reactor);
      }
    }
  } catch (...) {
    // A reactor that throws from isA ends the walk.
  }
}

#define KMRX_NOTIFY_REACTORS(method, fileName)                       \
  do {                                                               \
    const int n = mReactors.length();                                \
    for (int i = 0; i < n && i < mReactors.length(); ++i)            \
      if (YcRxDLinkerReactor* r = mReactors[i]) r->method(fileName); \
  } while (0)

void YcRxDynamicLinkerImp::sendBeginYrxLoading(const wchar_t* f) { KMRX_NOTIFY_REACTORS(rxAppWillBeLoaded, f); }
void YcRxDynamicLinkerImp::sendEndYrxLoading(const wchar_t* f) { KMRX_NOTIFY_REACTORS(rxAppLoaded, f); }
void YcRxDynamicLinkerImp::sendAbortYrxLoading(const wchar_t* f) { KMRX_NOTIFY_REACTORS(rxAppLoadAborted, f); }
void YcRxDynamicLinkerImp::sendBeginYrxUnloading(const wchar_t* f) { KMRX_NOTIFY_REACTORS(rxAppWillBeUnloaded, f); }
void YcRxDynamicLinkerImp::sendEndYrxUnloading(const wchar_t* f) { KMRX_NOTIFY_REACTORS(rxAppUnloaded, f); }
void YcRxDynamicLinkerImp::sendAbortYrxUnloading(const wchar_t* f) { KMRX_NOTIFY_REACTORS(rxAppUnloadAborted, f); }

#undef KMRX_NOTIFY_REACTORS

// --- per-module flags -------------------------------------------------------------------

bool YcRxDynamicLinkerImp::lockApplication(void* appHandle) {
  YcRxDynLoadModuleProxy* record = recordOfHandle(appHandle);
  if (!record) return false;
  record->lock();
  return true;
}

bool YcRxDynamicLinkerImp::unlockApplication(void* appHandle) {
  YcRxDynLoadModuleProxy* record = recordOfHandle(appHandle);
  if (!record) return false;
  record->unlock();
  return true;
}

bool YcRxDynamicLinkerImp::registerAppMDIAware(void* appHandle) {
  YcRxDynLoadModuleProxy* record = recordOfHandle(appHandle);
  if (!record) return false;
  record->setMDIAware(true);
  return true;
}

bool YcRxDynamicLinkerImp::registerAppNotMDIAware(void* appHandle) {
  YcRxDynLoadModuleProxy* record = recordOfHandle(appHandle);
  if (!record) return false;
  record->setMDIAware(false);
  return true;
}

bool YcRxDynamicLinkerImp::isApplicationLocked(const wchar_t* name) {
  if (!name || !*name) return false;
  YcRxString local;
  if (!handleRemoteURL(local, name)) return false;
  auto* record = YcRxDynLoadModuleProxy::cast(mpModules->at(kmrxModuleKey(local.rawString()).c_str()));
  return record && record->isLocked();
}

// Unknown modules answer true, deliberately: callers treat them as harmless.
bool YcRxDynamicLinkerImp::isAppMDIAware(const wchar_t* name) {
  if (!name || !*name) return false;
  YcRxDynLoadModuleProxy* record = findRxModuleProxyByModuleName(name, false);
  return record ? record->isMDIAware() : true;
}

bool YcRxDynamicLinkerImp::isAppBusy(const wchar_t* name) {
  if (!name || !*name) return false;
  YcRxDynLoadModuleProxy* record = findRxModuleProxyByModuleName(name, false);
  return record ? record->isBusy() : true;
}

void YcRxDynamicLinkerImp::setAppBusy(const wchar_t* name, bool busy) {
  if (YcRxDynLoadModuleProxy* record = findRxModuleProxyByModuleName(name, false)) record->setBusy(busy);
}

const wchar_t* YcRxDynamicLinkerImp::ProductKey() {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  return services ? services->productKey() : nullptr;
}

unsigned int YcRxDynamicLinkerImp::ProductLcid() {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  return services ? services->productLcid() : 0;
}

// --- searches ------------------------------------------------------------------------------

bool YcRxDynamicLinkerImp::hasNoMDIAwareModule() {
  return walkModules<SearchNoMDIAwareModule>(mpModules, 0) != nullptr;
}

YcRxDynLoadModuleProxy* YcRxDynamicLinkerImp::findRxModuleProxyByHRXMod(void* handle) {
  if (!handle) return nullptr;
  return walkModules<FindRxModuleProxyByHRxMod>(mpModules, handle);
}

YcRxDynLoadModuleProxy* YcRxDynamicLinkerImp::findRxModuleProxyByAppName(const wchar_t* appName) {
  if (!appName || !*appName) return nullptr;
  return walkModules<FindRxModuleProxyByAppName>(mpModules, appName);
}

void YcRxDynamicLinkerImp::getLoadedModules(YcArray<const YcRxDynLoadModuleProxy*>& modules) {
  walkModules<GetAllLoadedModules>(mpModules, &modules);
}

int YcRxDynamicLinkerImp::loadedModuleCount() const {
  return static_cast<int>(mpModules->numEntries());
}
