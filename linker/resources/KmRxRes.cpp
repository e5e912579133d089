// The runtime's user messages, kept in the resource module "KmRxRes.dll".
// Each text takes one "%s".
#include "KmResource.h"
#include "KmRxMessageIds.h"
#include "KmRxVersion.h"

#define KMRX_RES_STR2(x) #x
#define KMRX_RES_STR(x) KMRX_RES_STR2(x)
#define KMRX_RES_API \
  KMRX_RES_STR(KMRX_API_VERSION_MAJOR) "." KMRX_RES_STR(KMRX_API_VERSION_MINOR)

using namespace KmRxMsg;

KMRX_MODULE_EXPORT const KmResourceString kmResourceStrings[] = {
    {kLoadFailed, L"Could not load the module \"%s\"; the host goes on without it. The lines above say why."},
    {kAlreadyLoaded, L"The module \"%s\" is already loaded."},
    {kUnloaded, L"The module \"%s\" has been unloaded."},
    {kNoEntryPoint, L"\"%s\" does not export \"ycrxEntryPoint\", so it is not an extension module. "
                    L"Export the entry point with KMRX_MODULE_EXPORT and rebuild it."},
    {kCannotUnload, L"The module \"%s\" cannot be unloaded now: it is locked or is still handling a "
                    L"message. Try again once it has finished, or unlock it first."},
    {kNotAModule, L"\"%s\" is not an extension module this host can load: it is not a shared object "
                  L"for this machine, or it does not export \"ycrxGetApiVersion\"."},
    {kLoaded, L"Loaded the module \"%s\"."},
    {kDependencyMissing, L"The module \"%s\" was found, but a module it depends on is missing. "
                         L"Install the missing module beside it or on the library path"},
    {kUnreadable, L"The file \"%s\" could not be read; check its permissions."},
    {kNotFound, L"The module file \"%s\" was not found. Check its name and the host's module search path."},
    {kCancelled, L"Loading \"%s\" was cancelled."},
    {kNoSuchApplication, L"No application is registered under the name \"%s\"."},
    {kOlderApi, L"The module \"%s\" was built for an older runtime API than this host's " KMRX_RES_API
                L". It is loaded, but rebuild it against the current headers if it misbehaves."},
    {kNewerApi, L"The module \"%s\" was built for a newer runtime API than this host's " KMRX_RES_API
                L". It is loaded, but it may rely on features this host lacks; update the host or "
                L"rebuild it."},
    {0, nullptr},
};
