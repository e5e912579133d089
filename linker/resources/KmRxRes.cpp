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
    {kLoadFailed, L"Could not load the module \"%s\"."},
    {kAlreadyLoaded, L"The module \"%s\" is already loaded."},
    {kUnloaded, L"The module \"%s\" has been unloaded."},
    {kNoEntryPoint, L"\"%s\" does not export \"ycrxEntryPoint\", so it is not an extension module. "
                    L"Export the entry point with KMRX_MODULE_EXPORT and rebuild it."},
    {kCannotUnload, L"The module \"%s\" cannot be unloaded now: it is locked or is still handling a "
                    L"message. Try again once it has finished, or unlock it first."},
    {kNotAModule, L"\"%s\" is not an extension module this host can load"},
    {kLoaded, L"Loaded the module \"%s\"."},
    {kDependencyMissing, L"The module \"%s\" was found, but a library it needs is missing. Install "
                         L"it beside the module or on the library path"},
    {kUnreadable, L"The file \"%s\" could not be read; check its permissions."},
    {kNotFound, L"The module file \"%s\" was not found. Check its name and the host's module search path."},
    {kCancelled, L"Loading \"%s\" was cancelled."},
    {kNoSuchApplication, L"No application is registered under the name \"%s\"."},
    {kOlderApi, L"The module \"%s\" was built for an older runtime API than this host's " KMRX_RES_API
                L". It is loaded, but rebuild it against the current headers if it misbehaves."},
    {kNewerApi, L"The module \"%s\" was built for a newer runtime API than this host's " KMRX_RES_API
                L". It is loaded, but it may rely on features this host lacks; update the host or "
                L"rebuild it."},
    {kInitFailed, L"The module \"%s\" refused its initialisation, so it was unloaded again. "
                  L"Its own messages or log say why."},
    {kInitThrew, L"The module \"%s\" threw an exception out of its initialisation, so it was "
                 L"unloaded again"},
    {kLoadCycle, L"\"%s\" is already being loaded; a module cannot be loaded again from inside "
                 L"its own initialisation. Load it once that has finished"},
    {kLeftBehind, L"The module \"%s\" left %s registered when it was unloaded; it was removed, so "
                  L"that nothing calls into the module once it is gone. Take it back in the "
                  L"module's unload message."},
    {kClassReplaced, L"The class \"%s\" was registered again %s. Give each class a name of its own, "
                     L"for example with the module's name in front."},
    {0, nullptr},
};
