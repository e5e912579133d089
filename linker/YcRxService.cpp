// Services: named objects published by modules, with dependency counting,
// and their registration with the linker.
#include "YcRxService.h"

#include "YcRxDictionary.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxDynamicLinkerImp.h"
#include "core/YcRxInternal.h"
#include "linker/YcRxLinkerInternal.h"

YCRX_DEFINE_MEMBERS(YcRxService, L"AcRxService", L"AcRxObject")

YcRxService::YcRxService() : mpData(nullptr) {}

YcRxService::~YcRxService() {
  if (KmRxContext* context = kmrxContext()) context->services.forget(this);
  delete mpData;
}

YcRxObject* YcRxService::getSysInfo() const { return mpData ? mpData->dlmObject() : nullptr; }

void YcRxService::setSysInfo(YcRxObject* object) {
  if (!object) return;
  if (!mpData) mpData = new YcRxServiceData();
  mpData->setDLMObject(YcRxDynLoadModuleProxy::cast(object));
  // The ledger credits the service to the module its system information names.
  if (KmRxContext* context = kmrxContext()) context->services.credit(this, mpData->dlmObject());
}

bool YcRxService::addDependency() {
  YcRxDynLoadModuleProxy* record = mpData ? mpData->dlmObject() : nullptr;
  if (!record) return false;
  // 1 before: the first dependent after the module's own load reference.
  if (record->addModuleRef() == 1) return record->sendMessageToApp(YcRx::kAppDependencyMsg, this);
  return false;
}

bool YcRxService::removeDependency() {
  YcRxDynLoadModuleProxy* record = mpData ? mpData->dlmObject() : nullptr;
  if (!record) return false;
  // Not the mirror of addDependency: the message goes when the count was 0 before.
  if (record->releaseModuleRef() == 0) return record->sendMessageToApp(YcRx::kAppNoDependencyMsg, this);
  return false;
}

bool YcRxService::unloadable() const {
  YcRxDynLoadModuleProxy* record = mpData ? mpData->dlmObject() : nullptr;
  return record ? record->canUnload() : true;
}

YcRxObject* YcRxDynamicLinkerImp::registerService(const wchar_t* name, YcRxService* service) {
  if (!name || !*name || !service || !mpCurrentModule) return nullptr;
  YcRxDictionary* services = kmrxRegisteredServiceDictionary();
  if (!services) return nullptr;
  if (services->has(name)) {
    kmrxFatal(L"Register service : \"%s\" repeatedly!", name);
    return nullptr;
  }
  // Credited to the module whose message is running now.
  YcRxDynLoadModuleProxy* owner = (spMySelf && mpCurrentModule == spMySelf->rxModuleHandle())
                                      ? spMySelf
                                      : findRxModuleProxyByHRXMod(mpCurrentModule);
  service->setSysInfo(owner);
  services->atPut(name, service);
  return nullptr;
}

YcRxService* ycrxRegisterService(const wchar_t* name) {
  auto* service = new YcRxService();
  // By name, as module authors do: a linker a host put in its place is used.
  if (YcRxDynamicLinker* linker = kmrxRegisteredLinker()) linker->registerService(name, service);
  return service;
}

bool ycrxServiceIsRegistered(const wchar_t* name) {
  if (!name || !*name) return false;
  YcRxDictionary* services = kmrxRegisteredServiceDictionary();
  return services && services->has(name);
}

void* ycrxGetServiceSymbolAddr(const wchar_t* serviceName, const char* symbol) {
  YcRxDynamicLinker* linker = kmrxRegisteredLinker();
  return linker ? linker->getSymbolAddress(serviceName, symbol) : nullptr;
}
