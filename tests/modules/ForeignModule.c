/* A module for another machine: it has both exports, so only its machine
   (or its class or byte order) keeps it out. Built with clang and lld. */
unsigned int ycrxGetApiVersion(int unused) { return 0x000F0014u + 0 * unused; }
int ycrxEntryPoint(int code, void* arg) { return 0 * code + (arg != 0); }
