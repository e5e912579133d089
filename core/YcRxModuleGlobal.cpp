// Start-up and teardown of the runtime's global objects, and fatal-error reporting.
#include "YcRxModuleGlobal.h"

#include "KmCrashRecorder.h"
#include "KmHeap.h"
#include "KmWideText.h"
#include "YcRxClassImp.h"
#include "YcRxDictionaryImp.h"
#include "YcRxDictionaryImpIterator.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxKernelServiceImp.h"
#include "YcRxProtocolReactorManagerFactoryImp.h"
#include "containers/KmRxVisit.h"
#include "core/KmRxContext.h"
#include "core/YcRxInternal.h"

namespace {

YcRxModuleGlobal* gpSingleton = nullptr;

// Module-wide pointers to the report texts; the texts are part of the interface.
const wchar_t* gpFatalCodeTemplate = L"Rx module fatal error, code is %d";
const wchar_t* gpDefaultAbortText = L"Error abort!";

void makeReport(const wchar_t* message) {
  // On the stack: a report must get through when memory has run out.
  const KmExceptionWithMsg exception(L"", 0, message);
  if (KmCrashRecorder* recorder = ycadGetCrashRecorder()) recorder->record(exception);
}

// Condemns every class at teardown; never stops the walk. A class that
// cannot be queued for want of memory goes at once: in the last batch the
// order does not matter.
struct YcRxClassCleaner {
  bool operator()(YcRxDictionary* classes, YcRxDictionaryIterator& entry) const {
    // Not YcRxClass::cast: that needs a class tree, and a start-up that
    // failed half-way may have none.
    YcRxClass* cls = dynamic_cast<YcRxClass*>(entry.object());
    if (!cls) return false;
    const int queued = YcRxClassImp::getDoomedRxClassCount();
    deleteYcRxClass(cls);
    if (YcRxClassImp::getDoomedRxClassCount() == queued) {
      classes->remove(entry.id());
      delete cls;
    }
    return false;
  }
};

// Puts value under key; false when it did not get there (no memory for the key).
bool put(YcRxDictionary* dict, const wchar_t* key, YcRxObject* value) {
  if (!dict || !value) return false;
  unsigned int id = 0;
  return dict->atPut(key, value, id) == nullptr && dict->at(key) == value;
}

}  // namespace

// --- fatal errors -------------------------------------------------------------

void ycrx_abort_v(const wchar_t* format, va_list args) {
  if (!format) {
    makeReport(gpDefaultAbortText);
    return;
  }
  va_list measure;
  va_copy(measure, args);
  const int n = _vscwprintf(format, measure);
  va_end(measure);
  auto* text = n < 0 ? nullptr
                     : static_cast<wchar_t*>(_kmMalloc((static_cast<size_t>(n) + 1) * sizeof(wchar_t)));
  if (!text) {
    makeReport(format);  // unformattable or out of memory: the bare format still says what went wrong
    return;
  }
  va_list fill;
  va_copy(fill, args);
  vswprintf(text, format, fill);
  va_end(fill);
  text[n] = 0;
  makeReport(text);
  _kmFree(text);
}

void ycrx_abort(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  ycrx_abort_v(format, args);
  va_end(args);
}

void YcRxModuleGlobal::moduleFatalError(int code) { moduleFatalError(gpFatalCodeTemplate, code); }

void YcRxModuleGlobal::moduleFatalError(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  ycrx_abort_v(format, args);
  va_end(args);
}

void YcRxModuleGlobal::moduleFatalError(const wchar_t* format, va_list args) {
  ycrx_abort_v(format, args);
}

void kmrxFatal(const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  if (gpSingleton)
    gpSingleton->moduleFatalError(format, args);
  else
    ycrx_abort_v(format, args);
  va_end(args);
}

void kmrxOutOfMemory(const wchar_t* what) { kmrxFatal(L"Out of memory: %s", what ? what : L""); }

void kmrxFatalCode(int code) {
  if (gpSingleton)
    gpSingleton->moduleFatalError(code);
  else
    ycrx_abort(gpFatalCodeTemplate, code);
}

// --- the module global ----------------------------------------------------------

YcRxModuleGlobal::YcRxModuleGlobal()
    : mpSysRegistry(nullptr),
      mpRxClasses(nullptr),
      mpRxServices(nullptr),
      mpRxKernel(nullptr),
      mpRxDynamicLinker(nullptr) {}

YcRxModuleGlobal::~YcRxModuleGlobal() = default;

YcRxModuleGlobal* YcRxModuleGlobal::GetInstance() { return gpSingleton; }

YcRxDictionary* YcRxModuleGlobal::createSysRegistry() {
  if (!mpSysRegistry) mpSysRegistry = YcRxDictionaryImp::createDictionary(0, false, false, false, nullptr);
  return mpSysRegistry;
}

YcRxDictionary* YcRxModuleGlobal::createRxClasses() {
  if (!mpRxClasses) mpRxClasses = YcRxDictionaryImp::createDictionary(256, false, true, true, nullptr);
  return mpRxClasses;
}

YcRxDictionary* YcRxModuleGlobal::createRxServices() {
  if (!mpRxServices)
    mpRxServices = YcRxDictionaryImp::createDictionary(0, false, false, false, YcRxService::desc());
  return mpRxServices;
}

YcRxKernel* YcRxModuleGlobal::createRxKernel() {
  // Null when memory runs out: runtime objects come from the platform heap.
  if (!mpRxKernel) mpRxKernel = new YcRxKernelServiceImp();
  return mpRxKernel;
}

YcRxDynamicLinker* YcRxModuleGlobal::createRxDynamicLinker() {
  if (!mpRxDynamicLinker) {
    auto* linker = new YcRxDynamicLinkerImp();
    // A linker without its module dictionary or queue would fault later.
    if (linker && !linker->isComplete()) {
      delete linker;
      linker = nullptr;
    }
    mpRxDynamicLinker = linker;
  }
  return mpRxDynamicLinker;
}

void YcRxModuleGlobal::InitRxRootObject() {
  YcRxClass*& root = kmrxRootDescSlot();
  // The root outlives teardown, so a second start-up reports this and runs
  // without a root class; modules rely on it.
  if (root) {
    moduleFatalError(L"RX-Root class has already existed!!");
    return;
  }
  root = newYcRxClass(L"AcRxObject", nullptr);
}

void YcRxModuleGlobal::rxInitialize() {
  InitRxRootObject();
  kmrxRegisterRuntimeClasses();
  ycrxBuildClassHierarchy();
}

namespace {

// Start-up could not make what it names: it says so, takes down what was
// built, and leaves the runtime stopped, where every call returns safely.
YcRxObject* failStartUp(const wchar_t* what, bool rootMadeNow) {
  ycrx_abort(L"The runtime could not start: there was no memory for %s. It stays stopped; "
             L"start it again once memory is available.",
             what);
  YcRxModuleGlobal::Unitialize();
  // The root went with the classes it was made with.
  if (rootMadeNow) kmrxRootDescSlot() = nullptr;
  return nullptr;
}

}  // namespace

YcRxObject* YcRxModuleGlobal::Initialize() {
  if (gpSingleton) gpSingleton->moduleFatalError(L"YcRxModuleGlobal has initialized already!!!");
  gpSingleton = kmrxNew<YcRxModuleGlobal>();
  if (!gpSingleton || !kmrxStartContext()) return failStartUp(L"the module global", false);
  YcRxModuleGlobal* g = gpSingleton;
  YcRxDictionary* registry = g->createSysRegistry();
  if (!registry) return failStartUp(L"the system registry", false);
  kmrxContext()->sysRegistry = registry;
  if (!put(registry, L"ClassDictionary", g->createRxClasses()))
    return failStartUp(L"the class dictionary", false);
  const bool rootMissing = kmrxRootDescSlot() == nullptr;
  g->rxInitialize();
  const bool rootMadeNow = rootMissing && kmrxRootDescSlot();
  if (rootMissing && !rootMadeNow) return failStartUp(L"the root class", false);
  if (const wchar_t* missing = kmrxMissingRuntimeClass()) return failStartUp(missing, rootMadeNow);
  // Without a root of its own (a second start-up) the tree cannot be linked, as defined.
  if (g->mpRxClasses->has(L"AcRxObject"))
    if (const wchar_t* unlinked = kmrxUnlinkedRuntimeClass()) return failStartUp(unlinked, rootMadeNow);
  if (!put(registry, L"DynamicLinker", g->createRxDynamicLinker()))
    return failStartUp(L"the dynamic linker", rootMadeNow);
  YcRxDictionary* services = g->createRxServices();
  if (!put(registry, L"ServiceDictionary", services))
    return failStartUp(L"the service dictionary", rootMadeNow);
  YcRxKernel* kernel = g->createRxKernel();
  g->mpRxDynamicLinker->registerService(L"KernelServices", kernel);
  if (!kernel || services->at(L"KernelServices") != kernel)
    return failStartUp(L"the kernel service", rootMadeNow);
  auto* factory = new YcRxProtocolReactorManagerFactoryImp();
  YcRxObject* last = factory ? services->atPut(L"ProtocolReactorManager", factory) : nullptr;
  if (!factory || services->at(L"ProtocolReactorManager") != factory) {
    delete factory;
    return failStartUp(L"the protocol reactor manager factory", rootMadeNow);
  }
  return last;
}

void YcRxModuleGlobal::Unitialize() {
  YcRxModuleGlobal* g = gpSingleton;
  if (!g) return;

  const bool kernelIsRegistered =
      g->mpRxServices && g->mpRxServices->at(L"KernelServices") == g->mpRxKernel;
  if (g->mpRxServices) {
    // Destroys every service, the kernel and the reactor factory included.
    static_cast<YcRxDictionaryImp*>(g->mpRxServices)->clear(true);
    delete g->mpRxServices;
    g->mpRxServices = nullptr;
  }
  if (!kernelIsRegistered) delete g->mpRxKernel;
  g->mpRxKernel = nullptr;
  delete g->mpRxDynamicLinker;
  g->mpRxDynamicLinker = nullptr;

  YcRxClassImp::destroyDoomedRxClasses(true);
  // Every class is condemned, walking without an iterator to allocate.
  const YcRxClassCleaner cleaner;
  kmrxVisitEntries(g->mpRxClasses, YcRx::kDictIdOrder,
                   [&](YcRxDictionaryIterator& entry) { cleaner(g->mpRxClasses, entry); });
  // Descriptors displaced by a class of the same name go in the same batch.
  if (KmRxContext* context = kmrxContext()) {
    YcArray<YcRxClass*>& displaced = context->displacedClasses;
    for (int i = 0; i < displaced.length(); ++i) YcRxClassImp::cacheDoomedRxClass(displaced[i]);
  }
  YcRxClassImp::destroyDoomedRxClasses(false);

  delete g->mpRxClasses;
  g->mpRxClasses = nullptr;
  delete g->mpSysRegistry;
  g->mpSysRegistry = nullptr;
  kmrxEndContext();
  kmrxDelete(g);
  gpSingleton = nullptr;
}

// --- exported entry points --------------------------------------------------------

YcRxObject* InitializeYcRxSystem() { return YcRxModuleGlobal::Initialize(); }

void UninitializeYcRxSystem() { YcRxModuleGlobal::Unitialize(); }

YcRxModuleGlobal* ycrxGetModule() { return gpSingleton; }

// Null instead of a fault outside start-up and teardown, so that a runtime
// that could not start answers every call safely.
YcRxDictionary* ycrxSysRegistry() { return gpSingleton ? gpSingleton->getSysRegistry() : nullptr; }

YcRxDictionary* ycrxInternalGetClassDic() { return gpSingleton ? gpSingleton->getRxClasses() : nullptr; }
