// Resource strings: numbered texts kept in a resource module.
#pragma once
#include "KmKernel32.h"

// Loads a resource module by name from beside the platform library, or from
// the loader's usual places; null when it cannot be found.
KMRX_API HMODULE loadResourceDll(const wchar_t* name);
// Copies text id of module into buffer (at most bufferMax - 1 characters and
// a terminator); returns the characters copied, 0 when there is no such text.
KMRX_API int LoadStringW(HMODULE module, unsigned int id, wchar_t* buffer, int bufferMax);

// What a resource module exports under "kmResourceStrings": a table of texts
// ended by an entry with id 0.
struct KmResourceString {
  unsigned int id;
  const wchar_t* text;
};
