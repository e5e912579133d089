// A named object a module publishes in "ServiceDictionary". It knows the
// module that registered it, so others can depend on that module and reach
// its symbols, and so it leaves when the module is unloaded.
#pragma once
#include "YcRxMacros.h"
#include "YcRxObject.h"

class YcRxDynLoadModuleProxy;

class KMRX_API YcRxServiceData {
public:
  YcRxDynLoadModuleProxy* dlmObject() const { return mpModule; }
  void setDLMObject(YcRxDynLoadModuleProxy* module) { mpModule = module; }

private:
  YcRxDynLoadModuleProxy* mpModule = nullptr;
};

class KMRX_API YcRxService : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxService);

  YcRxService();
  ~YcRxService() override;
  YcRxService(const YcRxService&) = delete;
  YcRxService& operator=(const YcRxService&) = delete;

  // The record of the module that registered the service, or null.
  YcRxObject* getSysInfo() const;
  void setSysInfo(YcRxObject* object);
  // Declares a dependency on the service's module; the first one tells the module.
  bool addDependency();
  bool removeDependency();
  bool unloadable() const;
  YcRxEntryPointFunc dependencyFunctionPtr() const { return nullptr; }
  void setDependencyFunctionPtr(YcRxEntryPointFunc) {}

private:
  YcRxServiceData* mpData;
};

// Creates a service and registers it under name with the dynamic linker.
KMRX_API YcRxService* ycrxRegisterService(const wchar_t* name);
KMRX_API bool ycrxServiceIsRegistered(const wchar_t* name);
// A symbol of the module that registered the service.
KMRX_API void* ycrxGetServiceSymbolAddr(const wchar_t* serviceName, const char* symbol);
