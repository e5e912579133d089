// The runtime's user messages, kept in the resource module "KmRxRes.dll".
// Each text takes one "%s".
#include "KmResource.h"

KMRX_MODULE_EXPORT const KmResourceString kmResourceStrings[] = {
    {1001, L"Could not load the module \"%s\"; the host goes on without it. The lines above say why."},
    {1002, L"The module \"%s\" is already loaded."},
    {1003, L"The module \"%s\" has been unloaded."},
    {1004, L"\"%s\" does not export \"ycrxEntryPoint\", so it is not an extension module. "
           L"Export the entry point with KMRX_MODULE_EXPORT and rebuild it."},
    {1005, L"The module \"%s\" cannot be unloaded now: it is locked or is still handling a message. "
           L"Try again once it has finished, or unlock it first."},
    {1006, L"\"%s\" is not an extension module this host can load: it is not a shared object for "
           L"this machine, or it does not export \"ycrxGetApiVersion\"."},
    {1007, L"Loaded the module \"%s\"."},
    {1008, L"The module \"%s\" was found, but a module it depends on is missing. Install the "
           L"missing module beside it or on the library path"},
    {1009, L"The file \"%s\" could not be read; check its permissions."},
    {1010, L"The module file \"%s\" was not found. Check its name and the host's module search path."},
    {1011, L"Loading \"%s\" was cancelled."},
    {1012, L"No application is registered under the name \"%s\"."},
    {1013, L"The module \"%s\" was built for an older runtime API than this host's 15.20. It is "
           L"loaded, but rebuild it against the current headers if it misbehaves."},
    {1014, L"The module \"%s\" was built for a newer runtime API than this host's 15.20. It is "
           L"loaded, but it may rely on features this host lacks; update the host or rebuild it."},
    {0, nullptr},
};
