// Resource modules: numbered texts in a loadable module's string table.
#include "KmResource.h"

#include <cstring>
#include <cwchar>
#include <string>

#include "KmOsCalls.h"
#include "KmUtf8.h"

HMODULE loadResourceDll(const wchar_t* name) {
  if (!name || !*name) return nullptr;
  // Beside this library first: that is where the package installs them.
  if (const char* self = kmOsAddressModulePath(reinterpret_cast<const void*>(&loadResourceDll))) {
    std::string dir(self);
    const std::size_t slash = dir.rfind('/');
    if (slash != std::string::npos) {
      const std::wstring path = kmPathFromBytes(dir.substr(0, slash + 1).c_str()) + name;
      if (HMODULE module = KmKernel32::LoadLibraryExW(path.c_str(), nullptr, 0)) return module;
    }
  }
  return KmKernel32::LoadLibraryExW(name, nullptr, 0);
}

int LoadStringW(HMODULE module, unsigned int id, wchar_t* buffer, int bufferMax) {
  if (!buffer || bufferMax <= 0) return 0;
  buffer[0] = 0;
  if (!module || id == 0) return 0;
  const auto* table =
      static_cast<const KmResourceString*>(KmKernel32::GetProcAddress(module, "kmResourceStrings"));
  if (!table) return 0;
  for (; table->id != 0; ++table) {
    if (table->id != id || !table->text) continue;
    std::size_t n = std::wcslen(table->text);
    if (n > static_cast<std::size_t>(bufferMax - 1)) n = static_cast<std::size_t>(bufferMax - 1);
    std::wmemcpy(buffer, table->text, n);
    buffer[n] = 0;
    return static_cast<int>(n);
  }
  return 0;
}
