// The dynamic linker: construction, the load protocol, symbol look-up through
// services, and the message texts.
#include "YcRxDynamicLinkerImp.h"

#include <cstring>
#include <cwchar>
#include <string>

#include "KmKernel32.h"
#include "KmModuleCheck.h"
#include "KmPathMaker.h"
#include "KmResource.h"
#include "KmRxVersion.h"
#include "KmWideText.h"
#include "YcDbHostApplicationServices.h"
#include "YcRxClass.h"
#include "YcRxDictionaryImp.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxLinkedList.h"
#include "YcRxModuleFunctions.h"
#include "YcRxModuleGlobal.h"
#include "YcRxService.h"
#include "YcRxString.h"
#include "core/YcRxInternal.h"
#include "linker/YcRxLinkerInternal.h"

YCRX_DEFINE_MEMBERS(YcRxDynamicLinker, L"AcRxDynamicLinker", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxDynamicLinkerImp, L"YcRxDynamicLinkerImp", L"AcRxDynamicLinker")

YcRxDynLoadModuleProxy* YcRxDynamicLinkerImp::spMySelf = nullptr;

namespace {

constexpr unsigned kApiMajor = KMRX_API_VERSION_MAJOR;
constexpr unsigned kApiMinor = KMRX_API_VERSION_MINOR;

std::wstring fullPath(const wchar_t* path) {
  wchar_t full[kKmTextBuffer];
  return KmPathMaker::getFullFileName(path, full, kKmTextBuffer) ? std::wstring(full) : std::wstring(path);
}

// A file whose initialisation is still running (A loads B, B loads A) would
// nest init messages until the stack runs out: it is refused, naming the chain.
bool isBeingLoaded(const std::wstring& key, const wchar_t* path) {
  KmRxContext* context = kmrxContext();
  if (!context) return false;
  const auto& loads = context->loadsInProgress;
  std::size_t first = 0;
  while (first < loads.size() && loads[first].key != key) ++first;
  if (first == loads.size()) return false;
  std::wstring chain;
  for (std::size_t i = first; i < loads.size(); ++i) chain += kmrxModuleName(loads[i].file.c_str()) + L" -> ";
  chain += kmrxModuleName(path);
  kmrxShowMessage(KmRxMsg::kLoadCycle, path, chain.c_str());
  kmrxLog(L"yrx " + std::wstring(path) + L" load failure: it is already being loaded (" + chain + L")");
  return true;
}

}  // namespace

// --- shared helpers -------------------------------------------------------------

std::wstring kmrxModuleKey(const wchar_t* path) {
  wchar_t full[kKmTextBuffer], key[kKmTextBuffer];
  if (!KmPathMaker::getFullFileName(path, full, kKmTextBuffer)) return std::wstring(path ? path : L"");
  if (!KmPathMaker::ToPlatformModuleName(full, key, kKmTextBuffer)) return std::wstring(full);
  return std::wstring(key);
}

bool KmRxGetResString(int id, wchar_t* buffer, int length) {
  if (!buffer || length <= 0) return false;
  HMODULE module = KmKernel32::GetModuleHandleW(L"KmRxRes.dll");
  if (!module) module = loadResourceDll(L"KmRxRes.dll");
  wchar_t text[kKmTextBuffer] = {0};
  if (module) LoadStringW(module, static_cast<unsigned>(id), text, kKmTextBuffer);
  const int n = static_cast<int>(std::wcslen(text));
  if (n >= length) {
    std::wmemcpy(buffer, text, static_cast<size_t>(length - 1));
    buffer[length - 1] = 0;
    return false;
  }
  std::wmemcpy(buffer, text, static_cast<size_t>(n) + 1);
  return true;
}

// --- construction -------------------------------------------------------------------

YcRxDynamicLinkerImp::YcRxDynamicLinkerImp()
    : mpModules(YcRxDictionaryImp::createDictionary(20, false, false, true,
                                                    YcRxDynLoadModuleProxy::desc())),
      mpUnloadQueue(new YcRxLinkedList()),
      mReactors(0, 8),
      mpCurrentModule(nullptr),
      mUnloadDepth(0),
      mDbAppAwareCount(0) {
  if (!spMySelf) {
    // The library's own record: services the runtime registers are credited to it.
    void* self = KmKernel32::GetModuleHandleFromAddress(reinterpret_cast<const void*>(&ycrxLoadModule));
    spMySelf = YcRxDynLoadModuleProxy::createRxModuleProxy(self);
    YcRxString path;
    if (spMySelf && YcRxDynLoadModuleProxy::getModuleFileNameByHRXModule(self, path))
      spMySelf->setFileName(path.rawString());
  }
  mpCurrentModule = spMySelf ? spMySelf->rxModuleHandle() : nullptr;
}

YcRxDynamicLinkerImp::~YcRxDynamicLinkerImp() {
  cleanUp();
  delete spMySelf;
  spMySelf = nullptr;
  delete mpModules;
  delete mpUnloadQueue;
}

// --- look-ups ---------------------------------------------------------------------------

YcRxDynLoadModuleProxy* YcRxDynamicLinkerImp::findRxModuleProxyByModuleName(const wchar_t* name,
                                                                            bool raiseError) {
  if (name && *name) {
    YcRxObject* found = mpModules->at(kmrxModuleKey(name).c_str());
    if (found) {
      YcRxDynLoadModuleProxy* record = YcRxDynLoadModuleProxy::cast(found);
      if (!record) kmrxFatalCode(Ycad::eWrongObjectClass);
      return record;
    }
  }
  if (raiseError) kmrxFatal(L"Cannot find module: \"%s\"", name ? name : L"");
  return nullptr;
}

bool YcRxDynamicLinkerImp::handleRemoteURL(YcRxString& out, const wchar_t* name) {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  if (!services) return false;
  if (!services->isURL(name)) {
    out = name;
    return true;
  }
  wchar_t* buffer = out.getBuffer(kKmTextBuffer);
  const Ycad::ErrorStatus status =
      buffer ? services->getRemoteFile(name, buffer, kKmTextBuffer, false) : Ycad::eOutOfMemory;
  out.releaseBuffer(-1);
  return status == Ycad::eRemoteFetched || status == Ycad::eRemoteCached;
}

bool YcRxDynamicLinkerImp::isModuleLoaded(const wchar_t* name) {
  if (!name || !*name) return false;
  YcRxString local;
  if (!handleRemoteURL(local, name)) return false;
  return findRxModuleProxyByModuleName(name, false) != nullptr;
}

void* YcRxDynamicLinkerImp::getSymbolAddress(const wchar_t* serviceName, const char* symbol) {
  if (!serviceName || !*serviceName) return nullptr;
  YcRxDictionary* services = kmrxRegisteredServiceDictionary();
  YcRxService* service = services ? YcRxService::cast(services->at(serviceName)) : nullptr;
  if (!service || !service->getSysInfo()) return nullptr;
  YcRxDynLoadModuleProxy* record = YcRxDynLoadModuleProxy::cast(service->getSysInfo());
  if (!record) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return nullptr;
  }
  return record->getSymbolAddr(symbol);
}

void* YcRxDynamicLinkerImp::getSymbolAddress(const wchar_t* serviceName, const wchar_t* symbol) {
  if (!serviceName) return nullptr;
  // Only ordinals (values below 0x10000) are accepted in this form.
  if (symbol && (reinterpret_cast<std::uintptr_t>(symbol) & 0xFFFF0000u) != 0) return nullptr;
  return getSymbolAddress(serviceName, reinterpret_cast<const char*>(symbol));
}

// --- load protocol ------------------------------------------------------------------------

bool YcRxDynamicLinkerImp::loadModule(const wchar_t* name, bool printIt, bool asCmd) {
  if (!name || !*name) return false;
  YcRxString local;
  if (!handleRemoteURL(local, name)) {
    kmrxLog(L"yrx " + std::wstring(name) + L" load failure: the host could not fetch it");
    return false;
  }
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  if (!services) {
    kmrxFatal(L"Cannot get host application service object!");
    return false;
  }
  wchar_t* buffer = local.getBuffer(kKmTextBuffer);
  if (!buffer) {
    kmrxOutOfMemory(L"the path of a module to load");
    return false;
  }
  const Ycad::ErrorStatus found =
      services->findFile(buffer, kKmTextBuffer, name, nullptr, YcDbHostApplicationServices::kModuleFile);
  buffer[kKmTextBuffer - 1] = 0;
  local.releaseBuffer(-1);
  if (found != Ycad::eOk) {
    // Nothing is shown, as defined; the log still says why.
    kmrxLog(L"yrx " + std::wstring(name) + L" load failure: the host cannot find it on its module search path");
    return false;
  }

  const std::wstring key = kmrxModuleKey(local.rawString());
  if (isBeingLoaded(key, local.rawString())) return false;
  KmRxLoadInProgress inProgress(key, local.rawString());
  YcRxDynLoadModuleProxy* record = verifyModule(local, printIt, asCmd);
  if (!record) return false;
  if (record->moduleRefCount() > 1) return true;

  if (!enterRecord(key.c_str(), record)) {
    kmrxOutOfMemory(L"the record of a loaded module");
    kmrxLog(L"yrx " + std::wstring(local.rawString()) + L" load failure: out of memory for its record");
    delete record;  // releases the module again
    return false;
  }
  return startYrxLoadProtocol(record, printIt);
}

// A record already under this key is replaced in place (same id, same walk
// order) and stays loaded and alive, out of the dictionary. False when there
// was no memory to keep it.
bool YcRxDynamicLinkerImp::enterRecord(const wchar_t* key, YcRxDynLoadModuleProxy* record) {
  if (const unsigned int id = mpModules->idAt(key)) {
    YcArray<YcRxDynLoadModuleProxy*>& superseded = kmrxContext()->supersededRecords;
    // Room first, so the displaced record cannot be lost.
    if (!kmrxTry(L"the records of displaced modules", [&] { superseded.append(nullptr); })) return false;
    superseded.last() = YcRxDynLoadModuleProxy::cast(mpModules->atPut(id, record));
    if (!superseded.last()) superseded.removeLast();
    return true;
  }
  unsigned int id = 0;
  const bool entered = mpModules->atPut(key, record, id) == nullptr && mpModules->at(key) == record;
  if (entered)
    if (KmRxContext* context = kmrxContext()) context->noteModuleKey(this, key, true);
  return entered;
}

namespace {

const char* const kRequiredExports[] = {"ycrxGetApiVersion", "ycrxEntryPoint"};

// One refusal before init: the message of its kind when printing (1010 not
// found, 1008 a missing dependency, 1006 not a loadable module or no
// "ycrxGetApiVersion", 1004 no "ycrxEntryPoint"), then 1001, which carries
// the cause itself when no message before it did; and always exactly one log
// line naming the cause.
void refuseModule(const wchar_t* path, KmLoadFailure failure, const std::wstring& detail, bool printIt) {
  if (printIt) {
    bool named = true;
    if (failure == KmLoadFailure::kNotFound)
      kmrxShowMessage(KmRxMsg::kNotFound, path);
    else if (failure == KmLoadFailure::kMissingDependency)
      kmrxShowMessage(KmRxMsg::kDependencyMissing, path, detail.c_str());
    else if (failure == KmLoadFailure::kMissingExport && detail.find(L"ycrxGetApiVersion") == std::wstring::npos)
      kmrxShowMessage(KmRxMsg::kNoEntryPoint, path);
    else if (failure == KmLoadFailure::kMissingExport ||
             kmLoadFailureCode(failure) == KmKernel32::kErrorBadExeFormat)
      kmrxShowMessage(KmRxMsg::kNotAModule, fullPath(path).c_str(), detail.c_str());
    else
      named = false;
    kmrxShowMessage(KmRxMsg::kLoadFailed, path, named ? nullptr : detail.c_str());
  }
  kmrxLog(L"yrx " + std::wstring(path) + L" load failure: " + detail);
}

}  // namespace

YcRxDynLoadModuleProxy* YcRxDynamicLinkerImp::verifyModule(const YcRxString& path, bool printIt,
                                                           bool asCmd) {
  // Looked up, deliberately unused; under the key the load already made.
  const KmRxContext* context = kmrxContext();
  const bool keyed = context && !context->loadsInProgress.empty() &&
                     context->loadsInProgress.back().file == path.rawString();
  (void)mpModules->at(keyed ? context->loadsInProgress.back().key.c_str()
                            : kmrxModuleKey(path.rawString()).c_str());
  // The file is looked at before it is mapped, exports included: a file that
  // would be refused never runs its static constructors (a library that is no
  // module may do anything there), and a truncated one would fault the loader.
  KmModuleCheck check;
  if (!kmCheckModuleFile(path.rawString(), kRequiredExports, 2, check)) {
    refuseModule(path.rawString(), check.failure, check.detail, printIt);
    return nullptr;
  }
  YcRxDynLoadModuleProxy* record = YcRxDynLoadModuleProxy::createRxModuleProxy(nullptr);
  if (record) record->setFileName(path.rawString());
  if (!record || !record->fileName()) {
    delete record;
    refuseModule(path.rawString(), KmLoadFailure::kLoaderFailure, L"there was no memory for its record", printIt);
    return nullptr;
  }
  if (record->loadModule() != 0) {
    // Copied now: loading the message texts below resets the loader's account.
    const KmKernel32::KmLoadFailureInfo failure = KmKernel32::GetLastLoadFailure();
    const std::wstring detail(failure.detail ? failure.detail : L"");
    delete record;
    refuseModule(path.rawString(), static_cast<KmLoadFailure>(failure.kind), detail, printIt);
    return nullptr;
  }
  record->setModuleType(asCmd ? 1 : 2);
  // Looked at before mapping already; the loader's own look-up decides.
  for (const char* name : kRequiredExports) {
    if (record->getSymbolAddr(name)) continue;
    delete record;
    refuseModule(path.rawString(), KmLoadFailure::kMissingExport,
                 L"it does not export " + std::wstring(name, name + std::strlen(name)), printIt);
    return nullptr;
  }
  if (!yrxKeyCheck(record, printIt)) {
    delete record;
    return nullptr;
  }
  record->addModuleRef();
  return record;
}

// A notice, never a refusal: a module of another API version still loads.
bool YcRxDynamicLinkerImp::yrxKeyCheck(YcRxDynLoadModuleProxy* record, bool) {
  YcadHostApplication* app = kmrxHostApp();
  if (!app) return true;
  YcadVariableBuffer notify;
  app->getVariable(L"YRXCHECKNOTIFY", notify);
  if (notify.shortValue == 0) return true;
  auto version = reinterpret_cast<YcRxApiVersionFunc>(record->getSymbolAddr("ycrxGetApiVersion"));
  if (!version) return true;
  const std::uint32_t v = version(0);
  const unsigned major = v >> 16;
  const unsigned minor = v & 0xFFFFu;
  // Shown whatever printIt says: the user should know the module may misbehave.
  if (major < kApiMajor)
    kmrxShowMessage(KmRxMsg::kOlderApi, record->fileName());
  else if (major > kApiMajor)
    kmrxShowMessage(KmRxMsg::kNewerApi, record->fileName());
  else if (minor < kApiMinor)
    kmrxShowMessage(KmRxMsg::kOlderApi, record->fileName());
  else if (minor > kApiMinor)
    kmrxShowMessage(KmRxMsg::kNewerApi, record->fileName());
  return true;
}

bool YcRxDynamicLinkerImp::startYrxLoadProtocol(YcRxDynLoadModuleProxy* record, bool printIt) {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  YcadHostApplication* app = services ? services->application() : nullptr;
  if (!app) return false;
  // Taken now: a forced unload below deletes the record.
  const std::wstring fileName(record->fileName() ? record->fileName() : L"");

  sendBeginYrxLoading(fileName.c_str());
  bool initialised;
  {
    CurrentLoadingModuleSwitcher loading(record);
    record->setAppInLoaded(true);
    initialised = record->sendMessageToApp(YcRx::kAppInitMsg, record);
  }
  if (!initialised) {
    sendAbortYrxLoading(fileName.c_str());
    record->setAppInLoaded(false);
    const KmRxContext::MessageFault fault =
        kmrxContext() ? kmrxContext()->takeMessageFault(record) : KmRxContext::MessageFault();
    if (fault.threw) {
      kmrxShowMessage(KmRxMsg::kInitThrew, fileName.c_str(), fault.text.c_str());
      kmrxLog(L"yrx " + fileName + L" load failure: its initialisation threw " + fault.text);
    } else {
      kmrxShowMessage(KmRxMsg::kInitFailed, fileName.c_str());
      kmrxLog(L"yrx " + fileName + L" load failure: its initialisation failed" +
              (fault.text.empty() ? L"" : L" (" + fault.text + L")"));
    }
    kmrxShowMessage(KmRxMsg::kLoadFailed, fileName.c_str());
    startYrxUnloadProtocol(record, true);
    return false;
  }
  // A module the host cannot keep now is unloaded and reported aborted, and
  // the steps below still run and the load still yields true: hosts rely on
  // this sequence.
  bool recordGone = false;
  if (!record->isMDIAware() && !app->acceptsNonMdiAwareModules()) {
    startYrxUnloadProtocol(record, true);
    recordGone = true;
    sendAbortYrxLoading(fileName.c_str());
  }
  ycrxBuildClassHierarchy();
  sendEndYrxLoading(fileName.c_str());
  if (!recordGone) record->setAppInLoaded(false);
  kmrxLogLine(L"yrx %s load success", fileName.c_str());
  if (printIt) kmrxShowMessage(KmRxMsg::kLoaded, fileName.c_str());
  return true;
}


