// UNFINISHED: start-up application loading and application registration
// arrive with the configuration stores.
#include "YcRxDynamicLinkerImp.h"
#include "YcRxModuleFunctions.h"

bool YcRxDynamicLinkerImp::initListedModules(const wchar_t*) { return false; }
bool YcRxDynamicLinkerImp::loadApp(const wchar_t*, YcadApp::LoadReasons, bool, bool) { return false; }
bool YcRxDynamicLinkerImp::loadApp(YcadAppInfo*, YcadApp::LoadReasons, bool, bool) { return false; }
void YcRxDynamicLinkerImp::loadStarupApps() {}
int ycrxRegisterApp(YcadApp::LoadReasons, const wchar_t* appName, bool) { return appName && *appName ? 9 : 1; }
int ycrxUnregisterApp(const wchar_t* appName, bool) { return appName && *appName ? 9 : 1; }
