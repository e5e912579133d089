// Module loading over the dynamic loader, with the Windows-style error codes
// the runtime relies on and one exact cause for every failure: the file is
// looked at first (KmModuleCheck.cpp), and what the loader still refuses is
// read for the library or symbol it names.
#include "KmKernel32.h"

#include <cxxabi.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "KmModuleCheck.h"
#include "KmModuleFile.h"
#include "KmOsCalls.h"
#include "KmUtf8.h"

namespace {

DWORD gLastError = 0;
KmModuleCheck gLastFailure;
constexpr std::size_t kPathBytes = 4096;

void failed(KmLoadFailure failure, std::wstring detail) {
  gLastFailure.failure = failure;
  gLastFailure.detail = std::move(detail);
  KmKernel32::SetLastError(kmLoadFailureCode(failure));
}

// The loader's reason, read for what it names: a library it could not find,
// a symbol nothing defines; otherwise its own words.
void loaderRefused(const char* reason) {
  const std::string text = reason ? reason : "";
  const std::string cannotOpen = ": cannot open shared object file";
  const std::string undefined = "undefined symbol: ";
  const std::size_t open = text.find(cannotOpen);
  const std::size_t symbol = text.find(undefined);
  if (open != std::string::npos) {
    std::string library = text.substr(0, open);
    const std::size_t colon = library.rfind(": ");
    if (colon != std::string::npos) library.erase(0, colon + 2);
    failed(KmLoadFailure::kMissingDependency,
           L"it needs " + kmPathFromBytes(library.c_str()) +
               L", which is not in its run path or the loader's directories");
  } else if (symbol != std::string::npos) {
    std::string name = text.substr(symbol + undefined.size());
    const std::size_t end = name.find_first_of(" \t\n(,");
    if (end != std::string::npos) name.resize(end);
    int status = -1;
    char* readable = abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status);
    const std::wstring shown = kmFromUtf8(status == 0 && readable ? readable : name.c_str());
    std::free(readable);
    failed(KmLoadFailure::kUndefinedSymbol, L"it uses the symbol " + shown + L", which no loaded library defines");
  } else {
    failed(KmLoadFailure::kLoaderFailure,
           L"the loader refused it: " + (text.empty() ? std::wstring(L"module could not be opened") : kmFromUtf8(text)));
  }
}

}  // namespace

namespace KmKernel32 {

HMODULE LoadLibraryExW(const wchar_t* fileName, void*, DWORD) {
  gLastFailure = KmModuleCheck();
  if (!fileName || !*fileName) {
    failed(KmLoadFailure::kNotFound, L"there is no file name");
    return nullptr;
  }
  std::string path = kmPathToBytes(fileName);
  // A bare name is looked for in the current directory first, as the host
  // platform's loader does; otherwise the loader searches its usual places,
  // and only a path can be looked at before loading.
  if (path.find('/') == std::string::npos && kmOsFileType(path.c_str()) >= 0) path = "./" + path;
  KmModuleCheck check;
  const bool checked = kmModuleJustChecked(path);
  if (path.find('/') != std::string::npos && !checked && !kmCheckModuleBytes(path, nullptr, 0, check)) {
    failed(check.failure, check.detail);
    return nullptr;
  }
  const char* reason = nullptr;
  void* handle = kmOsOpenModule(path.c_str(), &reason);
  if (!handle) {
    loaderRefused(reason);
    return nullptr;
  }
  SetLastError(kErrorSuccess);
  return handle;
}

void* GetProcAddress(HMODULE module, const char* name) {
  // Values below 0x10000 are ordinals, which modules here do not have.
  if (!module || reinterpret_cast<std::uintptr_t>(name) < 0x10000) {
    SetLastError(kErrorProcNotFound);
    return nullptr;
  }
  void* symbol = kmOsFindSymbol(module, name);
  if (!symbol) SetLastError(kErrorProcNotFound);
  return symbol;
}

BOOL FreeLibrary(HMODULE module) {
  if (!module) return 0;
  return kmOsCloseModule(module) == 0 ? 1 : 0;
}

HMODULE GetModuleHandleW(const wchar_t* name) {
  const std::string path = name ? kmPathToBytes(name) : std::string();
  void* handle = kmOsFindModule(name ? path.c_str() : nullptr);
  // Finding it took a reference; give it back so this does not keep it loaded.
  if (handle) kmOsCloseModule(handle);
  return handle;
}

HMODULE GetModuleHandleFromAddress(const void* address) {
  const char* path = kmOsAddressModulePath(address);
  if (!path) return nullptr;
  void* handle = kmOsFindModule(path);
  if (handle) {
    kmOsCloseModule(handle);
    return handle;
  }
  // The program is not found by its path; an address of its own (a runtime
  // linked into it statically) names the program's handle.
  HMODULE program = GetModuleHandleW(nullptr);
  const void* ranges[2 * 16];
  const auto* at = static_cast<const char*>(address);
  for (int i = 0, n = GetModuleAddressRanges(program, ranges, 16); i < n; ++i)
    if (at >= static_cast<const char*>(ranges[2 * i]) && at < static_cast<const char*>(ranges[2 * i + 1]))
      return program;
  return nullptr;
}

int GetModuleAddressRanges(HMODULE module, const void** ranges, int max) {
  if (!module || !ranges || max <= 0) return -1;
  return kmOsModuleRanges(module, ranges, max);
}

DWORD GetModuleFileNameW(HMODULE module, wchar_t* buffer, DWORD size) {
  if (!buffer || size == 0) return 0;
  buffer[0] = 0;
  const char* path = kmOsModulePath(module);
  if (!path) return 0;
  char self[kPathBytes];
  // The program itself has an empty name in the loader's list.
  if (!*path) {
    if (kmOsProgramPath(self, sizeof(self)) < 0) return 0;
    path = self;
  }
  const std::wstring wide = kmPathFromBytes(path);
  if (wide.size() >= size) return 0;
  std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
  return static_cast<DWORD>(wide.size());
}

DWORD GetCurrentDirectoryW(DWORD size, wchar_t* buffer) {
  char path[kPathBytes];
  if (!kmOsCurrentDirectory(path, sizeof(path))) return 0;
  const std::wstring wide = kmPathFromBytes(path);
  if (!buffer || wide.size() >= size) return static_cast<DWORD>(wide.size() + 1);
  std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
  return static_cast<DWORD>(wide.size());
}

BOOL SetCurrentDirectoryW(const wchar_t* path) {
  if (!path) return 0;
  return kmOsChangeDirectory(kmPathToBytes(path).c_str()) == 0 ? 1 : 0;
}

DWORD GetLastError() { return gLastError; }

void SetLastError(DWORD code) { gLastError = code; }

const wchar_t* GetLastLoadErrorText() { return gLastFailure.detail.c_str(); }

KmLoadFailureInfo GetLastLoadFailure() {
  return KmLoadFailureInfo{static_cast<int>(gLastFailure.failure), gLastFailure.detail.c_str()};
}

}  // namespace KmKernel32
