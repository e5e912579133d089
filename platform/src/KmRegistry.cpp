// The registry functions over the open store trees. A handle remembers its
// root and key path, not the tree, so it stays safe when a store is reopened.
#include "KmRegistry.h"

#include <cwchar>
#include <set>
#include <string>
#include <vector>

#include "KmStoreState.h"
#include "KmStoreTree.h"

struct KmRegKey {
  HKEY root;
  std::vector<std::wstring> path;
};

namespace {

constexpr REGSAM kWriteRights = KEY_SET_VALUE | KEY_CREATE_SUB_KEY | 0x0020 /* create link */ |
                                0x10000 /* delete */ | 0x40000 /* write DAC */ |
                                0x80000 /* write owner */;

std::set<HKEY>& openKeys() {
  static std::set<HKEY> keys;
  return keys;
}

bool isRoot(HKEY key) { return key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE; }

// Root and path of a root or an open handle; false for anything else.
bool describe(HKEY key, HKEY& root, std::vector<std::wstring>& path) {
  if (isRoot(key)) {
    root = key;
    path.clear();
    return true;
  }
  if (!key || openKeys().count(key) == 0) return false;
  root = key->root;
  path = key->path;
  return true;
}

const KmStoreNode* resolve(HKEY key, LONG& error) {
  HKEY root;
  std::vector<std::wstring> path;
  if (!describe(key, root, path)) {
    error = ERROR_INVALID_HANDLE;
    return nullptr;
  }
  const KmStoreNode* node = kmStoreRegistryRoot(root)->find(path);
  error = node ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
  return node;
}

void put(DWORD* out, std::size_t value) {
  if (out) *out = static_cast<DWORD>(value);
}

}  // namespace

LONG RegOpenKeyExW(HKEY key, const wchar_t* subKey, DWORD, REGSAM sam, HKEY* result) {
  if (!result) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  if (sam & kWriteRights) return ERROR_ACCESS_DENIED;
  HKEY root;
  std::vector<std::wstring> path;
  if (!describe(key, root, path)) return ERROR_INVALID_HANDLE;
  // Lenient: a leading, trailing or doubled separator is passed over.
  if (subKey) kmSplitKeyPath(subKey, KmKeyPathRules{L'\\', true, 0}, path);
  if (!kmStoreRegistryRoot(root)->find(path)) return ERROR_FILE_NOT_FOUND;
  HKEY opened = new KmRegKey{root, path};
  openKeys().insert(opened);
  *result = opened;
  return ERROR_SUCCESS;
}

LONG RegQueryInfoKeyW(HKEY key, wchar_t* className, DWORD* classNameLength, DWORD*, DWORD* subKeys,
                      DWORD* maxSubKeyLength, DWORD* maxClassLength, DWORD* values,
                      DWORD* maxValueNameLength, DWORD* maxValueLength,
                      DWORD* securityDescriptorLength, FILETIME* lastWriteTime) {
  LONG error;
  const KmStoreNode* node = resolve(key, error);
  if (!node) return error;
  if (className && classNameLength && *classNameLength > 0) className[0] = 0;
  put(classNameLength, 0);
  std::size_t longestKey = 0, longestName = 0, longestValue = 0;
  for (const auto& child : node->children())
    if (child->name().size() > longestKey) longestKey = child->name().size();
  for (const KmStoreValue& value : node->values()) {
    if (value.name.size() > longestName) longestName = value.name.size();
    const std::size_t bytes =
        value.type == KmStoreValue::kDWord ? 4 : (value.text.size() + 1) * sizeof(wchar_t);
    if (bytes > longestValue) longestValue = bytes;
  }
  put(subKeys, node->children().size());
  put(maxSubKeyLength, longestKey);
  put(maxClassLength, 0);
  put(values, node->values().size());
  put(maxValueNameLength, longestName);
  put(maxValueLength, longestValue);
  put(securityDescriptorLength, 0);
  if (lastWriteTime) *lastWriteTime = FILETIME{0, 0};
  return ERROR_SUCCESS;
}

LONG RegEnumKeyW(HKEY key, DWORD index, wchar_t* name, DWORD nameLength) {
  LONG error;
  const KmStoreNode* node = resolve(key, error);
  if (!node) return error;
  if (index >= node->children().size()) return ERROR_NO_MORE_ITEMS;
  if (!name) return ERROR_INVALID_PARAMETER;
  const std::wstring& childName = node->children()[index]->name();
  if (childName.size() + 1 > nameLength) return ERROR_MORE_DATA;
  std::wmemcpy(name, childName.c_str(), childName.size() + 1);
  return ERROR_SUCCESS;
}

LONG RegCloseKey(HKEY key) {
  if (isRoot(key)) return ERROR_SUCCESS;
  if (!key || openKeys().erase(key) == 0) return ERROR_INVALID_HANDLE;
  delete key;
  return ERROR_SUCCESS;
}
