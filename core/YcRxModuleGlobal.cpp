// Start-up and teardown of the runtime's global objects, and fatal-error reporting.
#include "YcRxModuleGlobal.h"

#include "KmCrashRecorder.h"
#include "KmHeap.h"
#include "KmWideText.h"
#include "YcRxClassImp.h"
#include "YcRxDictionaryImp.h"
#include "YcRxDictionaryImpIterator.h"
#include "YcRxDictionaryWalker.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxKernelServiceImp.h"
#include "YcRxProtocolReactorManagerFactoryImp.h"
#include "core/KmRxContext.h"
#include "core/YcRxInternal.h"

namespace {

YcRxModuleGlobal* gpSingleton = nullptr;

// Module-wide pointers to the report texts; the texts are part of the interface.
const wchar_t* gpFatalCodeTemplate = L"Rx module fatal error, code is %d";
const wchar_t* gpDefaultAbortText = L"Error abort!";

void makeReport(const wchar_t* message) {
  auto* exception = new KmExceptionWithMsg(L"", 0, message);
  if (KmCrashRecorder* recorder = ycadGetCrashRecorder()) recorder->record(*exception);
  delete exception;
}

// Condemns every class at teardown; never stops the walk.
struct YcRxClassCleaner {
  bool operator()(YcRxObject* value, int) const {
    if (YcRxClass* cls = YcRxClass::cast(value)) deleteYcRxClass(cls);
    return false;
  }
};

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
  if (!mpRxKernel) mpRxKernel = new YcRxKernelServiceImp();
  return mpRxKernel;
}

YcRxDynamicLinker* YcRxModuleGlobal::createRxDynamicLinker() {
  if (!mpRxDynamicLinker) mpRxDynamicLinker = new YcRxDynamicLinkerImp();
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

YcRxObject* YcRxModuleGlobal::Initialize() {
  if (gpSingleton) gpSingleton->moduleFatalError(L"YcRxModuleGlobal has initialized already!!!");
  gpSingleton = new YcRxModuleGlobal();
  kmrxStartContext();
  YcRxModuleGlobal* g = gpSingleton;
  YcRxDictionary* registry = g->createSysRegistry();
  kmrxContext()->sysRegistry = registry;
  registry->atPut(L"ClassDictionary", g->createRxClasses());
  g->rxInitialize();
  registry->atPut(L"DynamicLinker", g->createRxDynamicLinker());
  YcRxDictionary* services = g->createRxServices();
  registry->atPut(L"ServiceDictionary", services);
  g->mpRxDynamicLinker->registerService(L"KernelServices", g->createRxKernel());
  return services->atPut(L"ProtocolReactorManager", new YcRxProtocolReactorManagerFactoryImp());
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
  {
    YcRxDictionaryWalker<YcRxDictionary, YcRxClassCleaner, int> walker(g->mpRxClasses);
    walker.go(0);
  }
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
  delete g;
  gpSingleton = nullptr;
}

// --- exported entry points --------------------------------------------------------

YcRxObject* InitializeYcRxSystem() { return YcRxModuleGlobal::Initialize(); }

void UninitializeYcRxSystem() { YcRxModuleGlobal::Unitialize(); }

YcRxModuleGlobal* ycrxGetModule() { return gpSingleton; }

YcRxDictionary* ycrxSysRegistry() { return ycrxGetModule()->getSysRegistry(); }

YcRxDictionary* ycrxInternalGetClassDic() { return ycrxGetModule()->getRxClasses(); }
