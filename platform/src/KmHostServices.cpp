// The slot for the host's services object and the defaults of its optional operations.
#include "YcDbHostApplicationServices.h"

// Exported so the runtime's message delivery reads it without a call.
KMRX_API YcDbHostApplicationServices* gpKmHostServices = nullptr;

YcadHostLog::~YcadHostLog() = default;

YcRxDynLoadModuleProxy* YcadHostApplication::setModuleBeingLoaded(YcRxDynLoadModuleProxy* module) {
  YcRxDynLoadModuleProxy* previous = mModuleBeingLoaded;
  mModuleBeingLoaded = module;
  return previous;
}
YcRxDynLoadModuleProxy* YcadHostApplication::moduleBeingLoaded() const { return mModuleBeingLoaded; }
bool YcadHostApplication::getVariable(const wchar_t*, YcadVariableBuffer&) { return false; }
YcadHostLog* YcadHostApplication::logObject() { return nullptr; }
YcadHostApplication::~YcadHostApplication() = default;

YcadHostApplication* YcDbHostApplicationServices::application() { return nullptr; }
bool YcDbHostApplicationServices::isURL(const wchar_t*) { return false; }
Ycad::ErrorStatus YcDbHostApplicationServices::getRemoteFile(const wchar_t*, wchar_t* localFile,
                                                            int length, bool) {
  if (localFile && length > 0) localFile[0] = 0;
  return Ycad::eNotImplementedYet;
}
const wchar_t* YcDbHostApplicationServices::productKey() { return L""; }
unsigned int YcDbHostApplicationServices::productLcid() { return 0; }
YcDbHostApplicationServices::~YcDbHostApplicationServices() = default;

YcDbHostApplicationServices* ycdbSetHostApplicationServices(YcDbHostApplicationServices* services) {
  YcDbHostApplicationServices* previous = gpKmHostServices;
  gpKmHostServices = services;
  return previous;
}

YcDbHostApplicationServices* ycdbHostApplicationServices() { return gpKmHostServices; }
