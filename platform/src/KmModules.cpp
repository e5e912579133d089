// Module loading over the dynamic loader, with the Windows-style error codes
// the runtime relies on. The loader does not set errno, so a failure is
// classified by looking at the file first: missing, not a module for this
// machine, or (a loadable file that still failed) a missing dependency.
#include "KmKernel32.h"

#include <cstring>
#include <string>

#include "KmOsCalls.h"
#include "KmUtf8.h"

namespace {

DWORD gLastError = 0;
std::wstring gLastLoadError;

constexpr unsigned char kElfClass64 = 2;
constexpr unsigned short kElfSharedObject = 3;
constexpr unsigned short kElfMachineX86_64 = 62;
constexpr unsigned short kElfMachineAArch64 = 183;

unsigned short thisMachine() {
#if defined(__aarch64__)
  return kElfMachineAArch64;
#else
  return kElfMachineX86_64;
#endif
}

// 0 when path is an ELF shared object for this machine, else the error code.
DWORD classifyFile(const std::string& path) {
  KmOsTable& os = kmOsTable();
  if (!os.isRegularFile(path.c_str())) return os.fileAccess(path.c_str(), 0) == 0
                                                 ? KmKernel32::kErrorBadExeFormat
                                                 : KmKernel32::kErrorModNotFound;
  if (kmOsCallFails(KmOsCall::OpenFile)) return KmKernel32::kErrorAccessDenied;
  void* file = os.openFile(path.c_str(), "rb");
  if (!file) return KmKernel32::kErrorAccessDenied;
  unsigned char header[20] = {};
  const std::size_t got = os.readFile(header, sizeof(header), file);
  os.closeFile(file);
  if (got < sizeof(header) || std::memcmp(header, "\x7f" "ELF", 4) != 0)
    return KmKernel32::kErrorBadExeFormat;
  unsigned short type, machine;
  std::memcpy(&type, header + 16, 2);
  std::memcpy(&machine, header + 18, 2);
  if (header[4] != kElfClass64 || type != kElfSharedObject || machine != thisMachine())
    return KmKernel32::kErrorBadExeFormat;
  return 0;
}

}  // namespace

namespace KmKernel32 {

HMODULE LoadLibraryExW(const wchar_t* fileName, void*, DWORD) {
  gLastLoadError.clear();
  if (!fileName || !*fileName) {
    SetLastError(kErrorModNotFound);
    return nullptr;
  }
  const std::string path = kmToUtf8(fileName);
  // Names without a directory are searched for by the loader; only paths can be looked at first.
  const bool isPath = path.find('/') != std::string::npos;
  if (isPath) {
    if (DWORD bad = classifyFile(path)) {
      SetLastError(bad);
      gLastLoadError = bad == kErrorModNotFound ? L"no such file" : L"not a shared object for this machine";
      return nullptr;
    }
  }
  if (kmOsCallFails(KmOsCall::OpenModule)) {
    SetLastError(kErrorModNotFound);
    gLastLoadError = L"module could not be opened";
    return nullptr;
  }
  void* handle = kmOsTable().openModule(path.c_str(), 0);
  if (!handle) {
    const char* text = kmOsTable().moduleError();
    gLastLoadError = text ? kmFromUtf8(text, std::strlen(text)) : L"module could not be opened";
    SetLastError(kErrorModNotFound);
    return nullptr;
  }
  SetLastError(kErrorSuccess);
  return handle;
}

void* GetProcAddress(HMODULE module, const char* name) {
  if (!module || !name) return nullptr;
  void* symbol = kmOsTable().findSymbol(module, name);
  if (!symbol) SetLastError(kErrorProcNotFound);
  return symbol;
}

BOOL FreeLibrary(HMODULE module) {
  if (!module) return 0;
  return kmOsTable().closeModule(module) == 0 ? 1 : 0;
}

HMODULE GetModuleHandleW(const wchar_t* name) {
  KmOsTable& os = kmOsTable();
  const std::string path = name ? kmToUtf8(name) : std::string();
  void* handle = os.openModule(name ? path.c_str() : nullptr, 1);
  // Finding it took a reference; give it back so this does not keep it loaded.
  if (handle) os.closeModule(handle);
  return handle;
}

HMODULE GetModuleHandleFromAddress(const void* address) {
  const char* path = kmOsTable().addressModulePath(address);
  if (!path) return nullptr;
  void* handle = kmOsTable().openModule(path, 1);
  if (handle) kmOsTable().closeModule(handle);
  return handle;
}

DWORD GetModuleFileNameW(HMODULE module, wchar_t* buffer, DWORD size) {
  if (!buffer || size == 0) return 0;
  buffer[0] = 0;
  const char* path = kmOsTable().modulePath(module);
  if (!path) return 0;
  const std::wstring wide = kmFromUtf8(path, std::strlen(path));
  if (wide.size() >= size) return 0;
  std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
  return static_cast<DWORD>(wide.size());
}

DWORD GetCurrentDirectoryW(DWORD size, wchar_t* buffer) {
  char path[4096];
  if (!kmOsTable().currentDirectory(path, sizeof(path))) return 0;
  const std::wstring wide = kmFromUtf8(path, std::strlen(path));
  if (!buffer || wide.size() >= size) return static_cast<DWORD>(wide.size() + 1);
  std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
  return static_cast<DWORD>(wide.size());
}

BOOL SetCurrentDirectoryW(const wchar_t* path) {
  if (!path) return 0;
  return kmOsTable().changeDirectory(kmToUtf8(path).c_str()) == 0 ? 1 : 0;
}

DWORD GetLastError() { return gLastError; }

void SetLastError(DWORD code) { gLastError = code; }

const wchar_t* GetLastLoadErrorText() { return gLastLoadError.c_str(); }

}  // namespace KmKernel32
