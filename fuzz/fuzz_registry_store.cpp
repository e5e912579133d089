// Any bytes as the registry store of the current user: every key the store
// lists opens and lists its own sub-keys without fault, and the start-up
// loading that walks the host's applications key runs through it.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "KmRegistry.h"
#include "KmRx.h"
#include "KmStores.h"

namespace {

// Enumerated names open again; the walk stays bounded.
void walk(HKEY key, int depth) {
  if (depth > 40) return;
  DWORD count = 0, longest = 0, values = 0;
  if (RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &count, &longest, nullptr, &values, nullptr, nullptr,
                       nullptr, nullptr) != ERROR_SUCCESS)
    __builtin_trap();
  std::vector<wchar_t> name(longest + 1);
  for (DWORD i = 0; i < count && i < 64; ++i) {
    if (RegEnumKeyW(key, i, name.data(), longest + 1) != ERROR_SUCCESS) __builtin_trap();
    HKEY sub = nullptr;
    if (RegOpenKeyExW(key, name.data(), 0, KEY_READ, &sub) != ERROR_SUCCESS) __builtin_trap();
    walk(sub, depth + 1);
    RegCloseKey(sub);
  }
  // One past the end is the end.
  if (longest < 4096 && RegEnumKeyW(key, count, name.data(), longest + 1) != ERROR_NO_MORE_ITEMS) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzzStartRuntime();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::wstring path = fuzzWriteFile("HKCU.reg", data, size);
  if (kmStoreOpenRegistryFile(HKEY_CURRENT_USER, path.c_str())) {
    HKEY root = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, nullptr, 0, KEY_READ, &root) == ERROR_SUCCESS) {
      walk(root, 0);
      RegCloseKey(root);
    }
    // What a write asks for is refused.
    HKEY written = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, nullptr, 0, 0x20006, &written) != ERROR_ACCESS_DENIED) __builtin_trap();
  }
  // The applications registered for start-up under the host's key: found by
  // name, none of them exist here, so nothing is loaded.
  if (auto* linker = YcRxDynamicLinkerImp::cast(ycrxSysRegistry()->at(L"DynamicLinker"))) linker->loadStarupApps();
  kmStoreCloseAll();
  return 0;
}
