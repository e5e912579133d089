// The runtime's global objects (system registry, class dictionary, service
// dictionary, kernel service, dynamic linker), start-up, teardown and the
// fatal-error routines every part of the runtime reports through.
#pragma once
#include <cstdarg>
#include "KmErrorStatus.h"
#include "KmRxExport.h"

class YcRxDictionary;
class YcRxDynamicLinker;
class YcRxKernel;
class YcRxObject;

class KMRX_API YcRxModuleGlobal {
public:
  YcRxModuleGlobal();
  ~YcRxModuleGlobal();
  YcRxModuleGlobal(const YcRxModuleGlobal&) = delete;
  YcRxModuleGlobal& operator=(const YcRxModuleGlobal&) = delete;

  static YcRxModuleGlobal* GetInstance();
  // Builds the global objects; returns the result of the last registry insertion.
  static YcRxObject* Initialize();
  // Tears them down (the spelling is part of the interface).
  static void Unitialize();

  YcRxDictionary* getSysRegistry() const { return mpSysRegistry; }
  YcRxDictionary* getRxClasses() const { return mpRxClasses; }
  YcRxDictionary* getRxServices() const { return mpRxServices; }
  YcRxKernel* getRxKernel() const { return mpRxKernel; }
  YcRxDynamicLinker* getRxDynamicLinker() const { return mpRxDynamicLinker; }

  YcRxDictionary* createSysRegistry();
  YcRxDictionary* createRxClasses();
  YcRxDictionary* createRxServices();
  YcRxKernel* createRxKernel();
  YcRxDynamicLinker* createRxDynamicLinker();

  void rxInitialize();
  void InitRxRootObject();

  void moduleFatalError(int code);
  void moduleFatalError(const wchar_t* format, ...);
  void moduleFatalError(const wchar_t* format, va_list args);

private:
  YcRxDictionary* mpSysRegistry;
  YcRxDictionary* mpRxClasses;
  YcRxDictionary* mpRxServices;
  YcRxKernel* mpRxKernel;
  YcRxDynamicLinker* mpRxDynamicLinker;
};

KMRX_API YcRxObject* InitializeYcRxSystem();
KMRX_API void UninitializeYcRxSystem();
KMRX_API YcRxModuleGlobal* ycrxGetModule();
KMRX_API YcRxDictionary* ycrxSysRegistry();
KMRX_API YcRxDictionary* ycrxInternalGetClassDic();
// Formats the message and hands it to the host's crash recorder; returns.
KMRX_API void ycrx_abort(const wchar_t* format, ...);
KMRX_API void ycrx_abort_v(const wchar_t* format, va_list args);
