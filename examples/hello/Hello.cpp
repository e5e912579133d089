// hello.yrx: the smallest useful module, one command. Copy it to start yours.
//
// The linker needs two exported functions, found by name:
//   ycrxGetApiVersion  the runtime API the module was built for;
//   ycrxEntryPoint     every message to the module; kAppRetOk accepts it.
// KMRX_MODULE_EXPORT makes a function visible (modules are built with hidden
// symbols) and extern "C" (so its name is exactly the one written here).
#include <cstdint>
#include <string>

#include "KmRx.h"
#include "YrxHostApi.h"

namespace {

YcRxDynLoadModuleProxy* gSelf = nullptr;  // our record, for the file name

// A command gets the rest of the command line and prints through the host.
int helloCommand(const wchar_t* args, YrxHostCommands* host) {
  std::wstring text = L"Hello";
  text += *args ? std::wstring(L", ") + args : std::wstring(L" from a module");
  text += L"! (";
  text += gSelf && gSelf->fileName() ? gSelf->fileName() : L"hello.yrx";
  text += L")";
  host->print(text.c_str());
  return 0;
}

}  // namespace

KMRX_MODULE_EXPORT YcRx::AppRetCode ycrxEntryPoint(YcRx::AppMsgCode code, void* arg) {
  switch (code) {
    case YcRx::kAppInitMsg:
      // arg is our record in the linker, also our "application handle".
      gSelf = static_cast<YcRxDynLoadModuleProxy*>(arg);
      ycrxRegisterAppMDIAware(arg);
      if (YrxHostCommands* host = yrxHostCommands())
        host->addCommand(L"HELLO", L"HELLO", L"hello", &helloCommand);
      return YcRx::kAppRetOk;
    case YcRx::kAppUnloadMsg:
      // Take back everything the init message gave out.
      if (YrxHostCommands* host = yrxHostCommands()) host->removeGroup(L"HELLO");
      gSelf = nullptr;
      return YcRx::kAppRetOk;
    default:
      return YcRx::kAppRetOk;
  }
}

KMRX_MODULE_EXPORT std::uint32_t ycrxGetApiVersion(int) { return KMRX_API_VERSION; }
