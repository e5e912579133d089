// The functions through which hosts and modules use the dynamic linker
// without holding it: loading and unloading by module or application name,
// application registration, locking and MDI state, product key and locale.
// They require a started runtime.
#pragma once
#include "YcArray.h"
#include "YcRxTypes.h"
#include "KmRxExport.h"

KMRX_API bool ycrxLoadModule(const wchar_t* name, bool printIt, bool asCmd = false);
KMRX_API bool ycrxLoadApp(const wchar_t* appName, bool printIt);
KMRX_API bool ycrxUnloadModule(const wchar_t* name, bool flag = false);
KMRX_API bool ycrxUnloadApp(const wchar_t* appName, bool flag = false);
// Base name and extension of every loaded module; the caller deletes each
// string (delete[]) and the array.
KMRX_API YcArray<const wchar_t*>* ycrxLoadedApps();
KMRX_API bool ycrxAppIsLoaded(const wchar_t* name);
KMRX_API const wchar_t* ycrxProductKey();
KMRX_API unsigned int ycrxProductLCID();
KMRX_API const wchar_t* ycrxObjectDBXRegistryKey();
KMRX_API int ycrxRegisterApp(YcadApp::LoadReasons reasons, const wchar_t* appName, bool flag);
KMRX_API int ycrxUnregisterApp(const wchar_t* appName, bool flag);
KMRX_API bool ycrxLockApplication(void* appHandle);
KMRX_API bool ycrxUnlockApplication(void* appHandle);
KMRX_API bool ycrxApplicationIsLocked(const wchar_t* name);
KMRX_API bool ycrxIsAppMDIAware(const wchar_t* name);
KMRX_API bool ycrxRegisterAppMDIAware(void* appHandle);
KMRX_API bool ycrxRegisterAppNotMDIAware(void* appHandle);

// Reads message text id of the runtime's resource module into buffer; false
// (with the text cut to length - 1 characters) when it does not fit.
KMRX_API bool KmRxGetResString(int id, wchar_t* buffer, int length);
