// The runtime API version a module is built against. A module returns
// KMRX_API_VERSION from its "ycrxGetApiVersion"; the linker compares it with
// its own and tells the user when they differ (the module still loads).
#pragma once

#define KMRX_API_VERSION_MAJOR 15
#define KMRX_API_VERSION_MINOR 20
// Major in the high 16 bits, minor in the low 16.
#define KMRX_API_VERSION ((KMRX_API_VERSION_MAJOR << 16) | KMRX_API_VERSION_MINOR)
