// The one source of the linker's test modules; a variant is chosen by
// compile definitions (see CMakeLists.txt):
//   TM_NAME                 the module's name, for its trace lines
//   TM_CLASS=<name>         registers <name> (parent "AcRxObject") on init, condemns it on unload
//   TM_SERVICE=<name>       registers a service on init and leaves it for the linker to remove
//   TM_REACTOR              keeps a linker reactor from init to unload
//   TM_EXTRAS               also attaches an extension to a runtime class, adds a protocol
//                           reactor and a system-registry entry; message 80 or unload takes
//                           them back (and the linker reactor too)
//   TM_LEAVE_BEHIND         with TM_EXTRAS: adds one more linker reactor and takes nothing back;
//                           tmLeaveObjects() puts objects of its own class in the registries;
//                           its class has a constructor and is not deleted
//   TM_INIT_THROWS          throws std::runtime_error("no units table") out of its init message
//   TM_UNLOAD_THROWS        throws std::runtime_error("still drawing") out of its unload message
//   (all)                   message 81 throws std::logic_error("not now")
//   TM_LOAD_OTHER=<name>    loads <name>.yrx (beside this module) from its init message
//   TM_INIT_FAILS, TM_REFUSE_UNLOAD, TM_NOT_MDI, TM_LOCK
//   TM_UNLOAD_OTHER=<name>  unloads <name>.yrx (beside this module) from its unload message
//   TM_OTHER_CLASS=<name>   and reports whether that module's class is still registered
//   TM_API_VERSION, TM_NO_VERSION, TM_NO_ENTRY, TM_HIDDEN_DEP
//   TM_HIDDEN_LIBRARY       the plain library that tm_missing_dep needs
//   TM_UNDEFINED            calls tmDefinedNowhere, which no library defines
// Events go to the host's log as "tm:<name> <event>", so a test reads one
// time line with the linker's own log lines.
#ifdef TM_HIDDEN_LIBRARY

extern "C" __attribute__((visibility("default"))) int tmHiddenAnswer() { return 42; }

#else

#include <cstdint>
#include <stdexcept>
#include <string>

#include "KmKernel32.h"
#include "KmRx.h"

#define TM_STR2(x) #x
#define TM_STR(x) TM_STR2(x)
#define TM_WIDE2(s) L##s
#define TM_WIDE(s) TM_WIDE2(s)
#define TM_WSTR(x) TM_WIDE(TM_STR(x))

#ifndef TM_API_VERSION
#define TM_API_VERSION KMRX_API_VERSION
#endif

// Message codes of the tests' own: a refusal, and an unload of itself while
// its message is being handled.
constexpr int kTmRefuseMsg = 77;
constexpr int kTmUnloadSelfMsg = 79;
constexpr int kTmDropExtrasMsg = 80;
constexpr int kTmThrowMsg = 81;

#ifdef TM_HIDDEN_DEP
extern "C" int tmHiddenAnswer();
#endif
#ifdef TM_UNDEFINED
extern "C" int tmDefinedNowhere();
#endif

namespace {

int gInitCount = 0;
YcRxDynLoadModuleProxy* gSelf = nullptr;
YcRxClass* gClass = nullptr;
YcRxService* gService = nullptr;
YcRxDLinkerReactor* gReactor = nullptr;

void trace(const std::wstring& event) {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  YcadHostApplication* app = services ? services->application() : nullptr;
  YcadHostLog* log = app ? app->logObject() : nullptr;
  if (log) log->log((L"tm:" TM_WSTR(TM_NAME) L" " + event).c_str(), 0, 0, 0);
}

const wchar_t* yesNo(bool b) { return b ? L"yes" : L"no"; }

YcRxDynamicLinker* linker() {
  return YcRxDynamicLinker::cast(ycrxSysRegistry()->at(L"DynamicLinker"));
}

// Static construction and destruction show when the module is really mapped.
struct Lifetime {
  Lifetime() { trace(L"constructed"); }
  ~Lifetime() {
    // The linker took the service out of its dictionary before the release.
    delete gService;
    trace(L"destroyed");
  }
} gLifetime;

class TraceReactor : public YcRxDLinkerReactor {
public:
  void rxAppWillBeLoaded(const wchar_t* f) override { on(L"willBeLoaded ", f); }
  void rxAppLoaded(const wchar_t* f) override { on(L"loaded ", f); }
  void rxAppLoadAborted(const wchar_t* f) override { on(L"loadAborted ", f); }
  void rxAppWillBeUnloaded(const wchar_t* f) override { on(L"willBeUnloaded ", f); }
  void rxAppUnloaded(const wchar_t* f) override { on(L"unloaded ", f); }
  void rxAppUnloadAborted(const wchar_t* f) override { on(L"unloadAborted ", f); }

private:
  static void on(const wchar_t* event, const wchar_t* f) {
    trace(L"reactor " + (event + std::wstring(f)));
  }
};

#ifdef TM_EXTRAS
YcRxObject gExtension;
YcRxProtocolReactor gProtocolReactor;
YcRxObject gRegistryObject;
YcRxProtocolReactorList* gReactorList = nullptr;
bool gExtrasAdded = false;

void addExtras() {
  gExtrasAdded = true;
  YcRxLinkedList::desc()->addX(YcRxKernel::desc(), &gExtension);
  auto* factory = YcRxProtocolReactorManagerFactory::cast(
      YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"))->at(L"ProtocolReactorManager"));
  // Null when memory runs out, as a careful module expects.
  YcRxProtocolReactorManager* manager = factory ? factory->createReactorManager(YcRxLinkedList::desc()) : nullptr;
  gReactorList = manager ? manager->createReactorList(YcRxProtocolReactor::desc()) : nullptr;
  if (gReactorList) gReactorList->addReactor(&gProtocolReactor);
  unsigned int id = 0;
  ycrxSysRegistry()->atPut(L"TmExtrasEntry", &gRegistryObject, id);
}

void dropExtras() {
  if (!gExtrasAdded) return;
  gExtrasAdded = false;
  YcRxLinkedList::desc()->delX(YcRxKernel::desc());
  if (gReactorList) gReactorList->removeReactor(&gProtocolReactor);
  gReactorList = nullptr;
  ycrxSysRegistry()->remove(L"TmExtrasEntry");
  if (gReactor) linker()->removeReactor(gReactor);
}
#endif

#ifdef TM_LEAVE_BEHIND
TraceReactor gLeftReactor;
#endif

#ifdef TM_LOAD_OTHER
void loadOther(void* appHandle) {
  std::wstring other(static_cast<YcRxDynLoadModuleProxy*>(appHandle)->fileName());
  other = other.substr(0, other.rfind(L'/') + 1) + TM_WSTR(TM_LOAD_OTHER) L".yrx";
  trace(std::wstring(L"loaded other ") + yesNo(ycrxLoadModule(other.c_str(), true)));
}
#endif

YcRx::AppRetCode onInit(void* appHandle) {
  ++gInitCount;
  gSelf = static_cast<YcRxDynLoadModuleProxy*>(appHandle);
#ifdef TM_HIDDEN_DEP
  if (tmHiddenAnswer() != 42) return YcRx::kAppRetError;
#endif
#ifdef TM_UNDEFINED
  if (tmDefinedNowhere() != 42) return YcRx::kAppRetError;
#endif
#ifdef TM_NOT_MDI
  ycrxRegisterAppNotMDIAware(appHandle);
#else
  ycrxRegisterAppMDIAware(appHandle);
#endif
#ifdef TM_LOCK
  ycrxLockApplication(appHandle);
#endif
#ifdef TM_CLASS
#ifdef TM_LEAVE_BEHIND
  // With a constructor of this module's code, and never deleted.
  gClass = newYcRxClass(TM_WSTR(TM_CLASS), L"AcRxObject", 0, [] { return new YcRxObject(); });
#else
  gClass = newYcRxClass(TM_WSTR(TM_CLASS), L"AcRxObject");
#endif
#endif
#ifdef TM_SERVICE
  gService = ycrxRegisterService(TM_WSTR(TM_SERVICE));
#endif
#ifdef TM_REACTOR
  gReactor = new TraceReactor();
  linker()->addReactor(gReactor);
#endif
#ifdef TM_EXTRAS
  addExtras();
#endif
#ifdef TM_LEAVE_BEHIND
  linker()->addReactor(&gLeftReactor);
#endif
#ifdef TM_LOAD_OTHER
  loadOther(appHandle);
#endif
#ifdef TM_INIT_THROWS
  throw std::runtime_error("no units table");
#endif
#ifdef TM_INIT_FAILS
  return YcRx::kAppRetError;
#else
  return YcRx::kAppRetOk;
#endif
}

YcRx::AppRetCode onUnload() {
#if defined(TM_EXTRAS) && !defined(TM_LEAVE_BEHIND)
  dropExtras();
#endif
#ifdef TM_UNLOAD_OTHER
  std::wstring other(gSelf->fileName());
  other = other.substr(0, other.rfind(L'/') + 1) + TM_WSTR(TM_UNLOAD_OTHER) L".yrx";
  const bool first = ycrxUnloadModule(other.c_str());
  const bool second = ycrxUnloadModule(other.c_str());
  // Seen while this module's own unload is still running.
  trace(std::wstring(L"unloaded other ") + yesNo(first) + L" " + yesNo(second) + L", mapped " +
        yesNo(KmKernel32::GetModuleHandleW(other.c_str()) != nullptr) + L", record " +
        yesNo(ycrxAppIsLoaded(other.c_str())) + L", class " +
        yesNo(ycrxInternalGetClassDic()->has(TM_WSTR(TM_OTHER_CLASS))));
#endif
#ifndef TM_LEAVE_BEHIND
  if (gReactor) {
    linker()->removeReactor(gReactor);
    delete gReactor;
    gReactor = nullptr;
  }
#endif
#ifndef TM_LEAVE_BEHIND
  if (gClass) deleteYcRxClass(gClass);
#endif
  gClass = nullptr;
#ifdef TM_UNLOAD_THROWS
  throw std::runtime_error("still drawing");
#endif
#ifdef TM_REFUSE_UNLOAD
  return YcRx::kAppRetError;
#else
  return YcRx::kAppRetOk;
#endif
}

}  // namespace

#ifdef TM_NO_ENTRY
KMRX_MODULE_EXPORT YcRx::AppRetCode tmNotTheEntryPoint(YcRx::AppMsgCode code, void* arg) {
#else
KMRX_MODULE_EXPORT YcRx::AppRetCode ycrxEntryPoint(YcRx::AppMsgCode code, void* arg) {
#endif
  trace(L"msg " + std::to_wstring(static_cast<int>(code)));
  switch (static_cast<int>(code)) {
    case YcRx::kAppInitMsg:
      return onInit(arg);
    case YcRx::kAppUnloadMsg:
      return onUnload();
    case kTmRefuseMsg:
      return YcRx::kAppRetError;
#ifdef TM_EXTRAS
    case kTmDropExtrasMsg:
      dropExtras();
      return YcRx::kAppRetOk;
#endif
    case kTmThrowMsg:
      throw std::logic_error("not now");
    case kTmUnloadSelfMsg:
      trace(std::wstring(L"unload self ") + yesNo(ycrxUnloadModule(gSelf->fileName())));
      return YcRx::kAppRetOk;
    default:
      return YcRx::kAppRetOk;
  }
}

#ifdef TM_NO_VERSION
KMRX_MODULE_EXPORT std::uint32_t tmNotTheApiVersion(int) { return TM_API_VERSION; }
#else
KMRX_MODULE_EXPORT std::uint32_t ycrxGetApiVersion(int) { return TM_API_VERSION; }
#endif

#ifdef TM_LEAVE_BEHIND
// An object whose class table is in this module, put where the ledger does not see it.
struct TmLeftObject : YcRxObject {};
TmLeftObject gServiceObject, gLateObject;

KMRX_MODULE_EXPORT void tmLeaveObjects() {
  YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"))->atPut(L"TmLeftService", &gServiceObject);
  ycrxSysRegistry()->atPut(L"TmLateEntry", &gLateObject);
}
#endif

// Init messages since this copy of the module was mapped.
KMRX_MODULE_EXPORT int tmInitCount() { return gInitCount; }

#endif  // TM_HIDDEN_LIBRARY
