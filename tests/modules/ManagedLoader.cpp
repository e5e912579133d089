// Stands in for the managed-code loader ("KmManaged.dll"): it remembers what
// it was asked to load and refuses names that contain "refuse".
#include <string>

#include "KmRxExport.h"

namespace {
std::wstring gLastName;
int gCalls = 0;
}  // namespace

KMRX_MODULE_EXPORT int LoadManagedDll(const wchar_t* moduleName) {
  ++gCalls;
  gLastName = moduleName ? moduleName : L"<null>";
  return gLastName.find(L"refuse") == std::wstring::npos ? 0 : 1;
}

KMRX_MODULE_EXPORT int ManagedLoaderCalls() { return gCalls; }
KMRX_MODULE_EXPORT const wchar_t* ManagedLoaderLastName() { return gLastName.c_str(); }
