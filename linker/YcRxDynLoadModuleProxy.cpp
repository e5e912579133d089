// The module record: platform load and release, flags, reference count,
// symbol look-up and message delivery through the linker.
#include "YcRxDynLoadModuleProxy.h"

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <exception>

#include "KmHeap.h"
#include "KmKernel32.h"
#include "KmPathMaker.h"
#include "KmWideText.h"
#include "YcDbHostApplicationServices.h"
#include "YcRxDictionary.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxModuleGlobal.h"
#include "YcRxString.h"
#include "core/KmRxContext.h"
#include "core/KmRxReports.h"
#include "core/YcRxInternal.h"

YCRX_DEFINE_MEMBERS(YcRxDynLoadModuleProxy, L"AcRxGenHand", L"AcRxObject")

// Plain updates with differing return conventions (new value here, the old
// one from Increment and Decrement); modules rely on them.
int KmInterlockedExchangeAdd(volatile int* p, int v) {
  *p = *p + v;
  return *p;
}

int KmInterlockedIncrement(volatile int* p) {
  const int old = *p;
  *p = old + 1;
  return old;
}

int KmInterlockedDecrement(volatile int* p) {
  const int old = *p;
  *p = old - 1;
  return old;
}

YcRxDynLoadModuleProxy::YcRxDynLoadModuleProxy() : YcRxDynLoadModuleProxy(nullptr) {}

YcRxDynLoadModuleProxy::YcRxDynLoadModuleProxy(void* handle)
    : mpAppData(nullptr),
      mpHandle(handle),
      mpFileName(nullptr),
      mpAppName(nullptr),
      mLoadReason(YcadApp::kLoadDisabled),
      mModuleRefCount(0),
      mLocked(false),
      mSendingMessage(false),
      mMDIAware(false),
      mHandleOwned(false),
      mBusy(false),
      mModuleType(0),
      mAppInLoaded(false) {}

YcRxDynLoadModuleProxy::~YcRxDynLoadModuleProxy() {
  if (KmRxContext* context = kmrxContext()) context->forgetModule(this);
  unloadModule();
  delete mpAppData;
  _kmStrdupFree(mpFileName);
  _kmStrdupFree(mpAppName);
}

YcRxDynLoadModuleProxy* YcRxDynLoadModuleProxy::createRxModuleProxy(void* handle) {
  return new YcRxDynLoadModuleProxy(handle);
}

void YcRxDynLoadModuleProxy::setFileName(const wchar_t* name) {
  _kmStrdupFree(mpFileName);
  mpFileName = name ? _kmStrdup(name) : nullptr;
  if (mpAppData) mpAppData->fileName = mpFileName;  // keep the borrowed pointer valid
}

void YcRxDynLoadModuleProxy::setAppName(const wchar_t* name) {
  _kmStrdupFree(mpAppName);
  mpAppName = name ? _kmStrdup(name) : nullptr;
}

unsigned int YcRxDynLoadModuleProxy::loadModule() {
  if (mpHandle) return 0;
  if (!mpFileName || !*mpFileName) return 0xFFFFFFFFu;
  wchar_t drive[kKmTextBuffer], dir[kKmTextBuffer], base[kKmTextBuffer], ext[kKmTextBuffer];
  _wsplitpath(mpFileName, drive, dir, base, ext);
  wchar_t saved[kKmTextBuffer] = {0};
  wchar_t moduleDir[2 * kKmTextBuffer] = {0};
  const bool switchDir = drive[0] != 0 && dir[0] != 0;
  if (switchDir) {
    KmKernel32::GetCurrentDirectoryW(kKmTextBuffer, saved);
    std::wcscpy(moduleDir, drive);
    std::wcscat(moduleDir, dir);
  }
  KmKernel32::SetLastError(0);
  if (switchDir) KmKernel32::SetCurrentDirectoryW(moduleDir);
  mpHandle = KmKernel32::LoadLibraryExW(mpFileName, nullptr, 0);
  if (switchDir) KmKernel32::SetCurrentDirectoryW(saved);
  if (mpHandle) {
    mHandleOwned = true;
    if (KmRxContext* context = kmrxContext()) context->noteModuleMapped(this, mpHandle);
    return 0;
  }
  return KmKernel32::GetLastError();
}

void YcRxDynLoadModuleProxy::unloadModule() {
  if (mHandleOwned && mpHandle) {
    (void)canUnload();  // the release does not depend on it
    if (KmRxContext* context = kmrxContext()) context->forgetEntryPoint(this);
    KmKernel32::FreeLibrary(mpHandle);
    mpHandle = nullptr;
  }
}

bool YcRxDynLoadModuleProxy::canUnload() const {
  return !mLocked && !mSendingMessage && moduleRefCount() == 0;
}

void* YcRxDynLoadModuleProxy::getSymbolAddr(const char* name) const {
  return mpHandle ? KmKernel32::GetProcAddress(mpHandle, name) : nullptr;
}

int YcRxDynLoadModuleProxy::addModuleRef() { return KmInterlockedIncrement(&mModuleRefCount); }

int YcRxDynLoadModuleProxy::releaseModuleRef() { return KmInterlockedDecrement(&mModuleRefCount); }

int YcRxDynLoadModuleProxy::moduleRefCount() const {
  return KmInterlockedExchangeAdd(const_cast<volatile int*>(&mModuleRefCount), 0);
}

RxYDSAppTableEntryType* YcRxDynLoadModuleProxy::ydsAppData() {
  if (!mpAppData) {
    mpAppData = new RxYDSAppTableEntryType();
    std::memset(static_cast<void*>(mpAppData), 0, sizeof(*mpAppData));
    mpAppData->fileName = mpFileName;
    mpAppData->owner = this;
  }
  return mpAppData;
}

bool YcRxDynLoadModuleProxy::sendMessageToApp(YcRx::AppMsgCode code, void* arg) {
  setSendingMessage(true);
  if (code == YcRx::kAppInitMsg) ydsAppData()->owner = this;
  KmRxContext* context = kmrxContext();
  if (context) context->messageFaults.erase(this);
  bool result = false;
  // Found by name, as the record's delivery is defined.
  YcRxDynamicLinkerImp* linker = kmrxRegisteredLinkerImp();
  if (linker) result = linker->sendMessageToApp(this, code, arg);
  setSendingMessage(false);
  return result;
}

bool YcRxDynLoadModuleProxy::isEqualTo(const YcRxObject* other) const {
  if (!other) return false;
  const YcRxDynLoadModuleProxy* theirs = YcRxDynLoadModuleProxy::cast(other);
  if (!theirs) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return false;
  }
  return mpHandle == theirs->mpHandle;
}

YcRx::Ordering YcRxDynLoadModuleProxy::comparedTo(const YcRxObject* other) const {
  if (!other) return YcRx::kGreaterThan;
  const YcRxDynLoadModuleProxy* theirs = YcRxDynLoadModuleProxy::cast(other);
  if (!theirs) {
    kmrxFatalCode(Ycad::eWrongObjectClass);
    return YcRx::kNotOrderable;
  }
  const auto mine = reinterpret_cast<std::uintptr_t>(mpHandle);
  const auto their = reinterpret_cast<std::uintptr_t>(theirs->mpHandle);
  return mine < their ? YcRx::kLessThan : (mine > their ? YcRx::kGreaterThan : YcRx::kEqual);
}

void* YcRxDynLoadModuleProxy::getHRXModuleByName(const wchar_t* name) {
  if (!name || !*name) return nullptr;
  return KmKernel32::GetModuleHandleW(name);
}

bool YcRxDynLoadModuleProxy::getModuleFileNameByHRXModule(void* handle, YcRxString& out) {
  if (!handle) return false;
  wchar_t* buffer = out.getBuffer(kKmTextBuffer);
  const bool found = buffer && KmKernel32::GetModuleFileNameW(handle, buffer, kKmTextBuffer) != 0;
  out.releaseBuffer(found ? -1 : 0);
  return found;
}

void* YcRxDynLoadModuleProxy::getCurrentHRXModule() { return KmKernel32::GetModuleHandleW(nullptr); }

// --- module being loaded ------------------------------------------------------

CurrentLoadingModuleSwitcher::CurrentLoadingModuleSwitcher(YcRxDynLoadModuleProxy* module)
    : mpPrevious(nullptr) {
  if (YcadHostApplication* app = kmrxHostApp()) mpPrevious = app->setModuleBeingLoaded(module);
}

CurrentLoadingModuleSwitcher::~CurrentLoadingModuleSwitcher() {
  if (YcadHostApplication* app = kmrxHostApp()) app->setModuleBeingLoaded(mpPrevious);
  mpPrevious = nullptr;
}
