// Module loading, symbols and the current directory under the names the
// runtime is written against, over this platform's dynamic loader.
//
// Error codes left for GetLastError: 126 when the file or a module it depends
// on is missing, 193 when the file is not a loadable module for this machine,
// 5 when it cannot be read, 127 when a symbol is missing (one the module uses,
// or one looked up). GetLastLoadFailure names the exact cause.
#pragma once
#include <cstddef>
#include "KmRxExport.h"

typedef void* HMODULE;
typedef unsigned int DWORD;
typedef int BOOL;

namespace KmKernel32 {

enum : DWORD {
  kErrorSuccess = 0,
  kErrorFileNotFound = 2,
  kErrorAccessDenied = 5,
  kErrorModNotFound = 126,
  kErrorProcNotFound = 127,
  kErrorBadExeFormat = 193,
};

// A name without a directory is looked for in the current directory first,
// then where the dynamic loader looks.
KMRX_API HMODULE LoadLibraryExW(const wchar_t* fileName, void* reserved, DWORD flags);
KMRX_API void* GetProcAddress(HMODULE module, const char* name);
// Releases one load; true on success.
KMRX_API BOOL FreeLibrary(HMODULE module);
// The handle of a module already loaded (by path or file name), without
// loading or counting it; null names the host program itself.
KMRX_API HMODULE GetModuleHandleW(const wchar_t* name);
// The handle of the loaded module that holds address (a function or variable of it).
KMRX_API HMODULE GetModuleHandleFromAddress(const void* address);
// Where a loaded module's segments are mapped: begin and end of range i in
// ranges[2 * i] and ranges[2 * i + 1]; the number of ranges (at most max), or
// -1 when the handle cannot be told.
KMRX_API int GetModuleAddressRanges(HMODULE module, const void** ranges, int max);
// Full path of a loaded module into buffer; returns its length, 0 on failure.
KMRX_API DWORD GetModuleFileNameW(HMODULE module, wchar_t* buffer, DWORD size);
// Returns the length written, or the size needed when buffer is too small.
KMRX_API DWORD GetCurrentDirectoryW(DWORD size, wchar_t* buffer);
KMRX_API BOOL SetCurrentDirectoryW(const wchar_t* path);
KMRX_API DWORD GetLastError();
KMRX_API void SetLastError(DWORD code);
// The loader's own words for the last failed load (names a missing
// dependency or symbol); empty when the last load succeeded.
KMRX_API const wchar_t* GetLastLoadErrorText();

// The exact cause of the last failed load: a KmLoadFailure (KmModuleCheck.h)
// and its detail (the same text as GetLastLoadErrorText), valid until the
// next load. Kind 0 after a load that succeeded.
struct KmLoadFailureInfo {
  int kind;
  const wchar_t* detail;
};
KMRX_API KmLoadFailureInfo GetLastLoadFailure();

}  // namespace KmKernel32
