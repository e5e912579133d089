// The extension module the linker benchmarks load: it publishes the service
// "BenchService" while loaded and exports "benchSymbol" for look-ups through it.
#include <cstdint>

#include "KmRx.h"

namespace {

YcRxService* gService = nullptr;

YcRx::AppRetCode onInit(void* appHandle) {
  ycrxRegisterAppMDIAware(appHandle);
  gService = ycrxRegisterService(L"BenchService");
  return YcRx::kAppRetOk;
}

YcRx::AppRetCode onUnload() {
  // Taken out and deleted here, so nothing of the module outlives its unmapping.
  if (YcRxDictionary* services =
          YcRxDictionary::cast(ycrxSysRegistry()->at(L"ServiceDictionary"))) {
    if (services->at(L"BenchService") == gService) services->remove(L"BenchService");
  }
  delete gService;
  gService = nullptr;
  return YcRx::kAppRetOk;
}

}  // namespace

KMRX_MODULE_EXPORT YcRx::AppRetCode ycrxEntryPoint(YcRx::AppMsgCode code, void* arg) {
  switch (code) {
    case YcRx::kAppInitMsg:
      return onInit(arg);
    case YcRx::kAppUnloadMsg:
      return onUnload();
    default:
      // Any other code (the benchmarks send 99) is accepted and ignored.
      return YcRx::kAppRetOk;
  }
}

KMRX_MODULE_EXPORT std::uint32_t ycrxGetApiVersion(int) { return KMRX_API_VERSION; }

KMRX_MODULE_EXPORT int benchSymbol() { return 42; }
