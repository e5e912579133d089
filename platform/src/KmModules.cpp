// Module loading over the dynamic loader, with the Windows-style error codes
// the runtime relies on. The loader does not set errno, so a failure is
// classified by looking at the file first: missing, not a module for this
// machine, or (a loadable file that still failed) a missing dependency.
#include "KmKernel32.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "KmOsCalls.h"
#include "KmUtf8.h"

namespace {

DWORD gLastError = 0;
std::wstring gLastLoadError;

constexpr unsigned char kElfClass64 = 2;
constexpr unsigned char kElfLittleEndian = 1;
constexpr unsigned short kElfSharedObject = 3;
[[maybe_unused]] constexpr unsigned short kElfMachineX86_64 = 62;
[[maybe_unused]] constexpr unsigned short kElfMachineAArch64 = 183;
constexpr std::uint32_t kSegmentLoad = 1, kSegmentDynamic = 2, kSegmentInterp = 3;
constexpr std::size_t kElfHeaderSize = 64, kProgramHeaderSize = 56, kMaxProgramHeaders = 256;
constexpr std::size_t kPathBytes = 4096;

unsigned short thisMachine() {
#if defined(__aarch64__)
  return kElfMachineAArch64;
#else
  return kElfMachineX86_64;
#endif
}

template <typename T>
T readAt(const unsigned char* p, std::size_t offset) {
  T value;
  std::memcpy(&value, p + offset, sizeof(T));
  return value;
}

// What the look at a file found.
struct FileVerdict {
  DWORD error = 0;         // 0: an ELF shared object for this machine whose segments are all there
  bool hasInterp = false;  // it names a program interpreter: a program, not a library
};

// The file's size and its first bytes: the header and the program headers
// that can follow it. kErrorAccessDenied when it cannot be read.
DWORD readHead(const std::string& path, long long& size, std::vector<unsigned char>& head) {
  size = kmOsFileSize(path.c_str());
  void* file = size < 0 ? nullptr : kmOsOpenFile(path.c_str(), "rb");
  if (!file) return KmKernel32::kErrorAccessDenied;
  head.resize(kElfHeaderSize + kProgramHeaderSize * kMaxProgramHeaders);
  const long long got = kmOsReadFile(head.data(), head.size(), file);
  kmOsCloseFile(file);
  if (got < 0) return KmKernel32::kErrorAccessDenied;
  head.resize(static_cast<std::size_t>(got));
  return 0;
}

// The loader maps segments straight from the file, so a truncated file would
// fault inside it: every segment it will map must lie within the file.
void checkElf(const std::vector<unsigned char>& head, long long size, FileVerdict& verdict) {
  const std::size_t got = head.size();
  verdict.error = KmKernel32::kErrorBadExeFormat;
  if (got < kElfHeaderSize || size < static_cast<long long>(got)) return;
  const unsigned char* h = head.data();
  if (std::memcmp(h, "\x7f" "ELF", 4) != 0 || h[4] != kElfClass64 || h[5] != kElfLittleEndian ||
      readAt<std::uint16_t>(h, 16) != kElfSharedObject || readAt<std::uint16_t>(h, 18) != thisMachine())
    return;
  const auto phoff = readAt<std::uint64_t>(h, 32);
  const auto phentsize = readAt<std::uint16_t>(h, 54);
  const auto phnum = readAt<std::uint16_t>(h, 56);
  if (phentsize != kProgramHeaderSize || phnum == 0 || phnum > kMaxProgramHeaders ||
      phoff > got || phnum * kProgramHeaderSize > got - phoff)
    return;
  bool hasLoad = false, hasDynamic = false;
  for (std::size_t i = 0; i < phnum; ++i) {
    const unsigned char* ph = h + phoff + i * kProgramHeaderSize;
    const auto type = readAt<std::uint32_t>(ph, 0);
    const auto offset = readAt<std::uint64_t>(ph, 8);
    const auto fileSize = readAt<std::uint64_t>(ph, 32);
    if (type == kSegmentInterp) verdict.hasInterp = true;
    if (type != kSegmentLoad && type != kSegmentDynamic) continue;
    if (offset > static_cast<std::uint64_t>(size) || fileSize > static_cast<std::uint64_t>(size) - offset)
      return;
    hasLoad |= type == kSegmentLoad;
    hasDynamic |= type == kSegmentDynamic;
  }
  if (hasLoad && hasDynamic) verdict.error = 0;
}

FileVerdict classifyFile(const std::string& path) {
  FileVerdict verdict;
  const int regular = kmOsIsRegularFile(path.c_str());
  if (regular != 1) {
    // A file that is there but cannot be looked at is unreadable, not foreign.
    verdict.error = kmOsFileAccess(path.c_str(), 0) != 0 ? KmKernel32::kErrorModNotFound
                    : regular == 0                       ? KmKernel32::kErrorBadExeFormat
                                                         : KmKernel32::kErrorAccessDenied;
    return verdict;
  }
  long long size = -1;
  std::vector<unsigned char> head;
  verdict.error = readHead(path, size, head);
  if (!verdict.error) checkElf(head, size, verdict);
  return verdict;
}

}  // namespace

namespace KmKernel32 {

HMODULE LoadLibraryExW(const wchar_t* fileName, void*, DWORD) {
  gLastLoadError.clear();
  if (!fileName || !*fileName) {
    SetLastError(kErrorModNotFound);
    return nullptr;
  }
  std::string path = kmToUtf8(fileName);
  // A bare name is looked for in the current directory first, as the host
  // platform's loader does; otherwise the loader searches its usual places,
  // and only a path can be looked at before loading.
  if (path.find('/') == std::string::npos && kmOsIsRegularFile(path.c_str()) == 1)
    path = "./" + path;
  const bool isPath = path.find('/') != std::string::npos;
  FileVerdict verdict;
  if (isPath) {
    verdict = classifyFile(path);
    if (verdict.error) {
      SetLastError(verdict.error);
      gLastLoadError = verdict.error == kErrorModNotFound   ? L"no such file"
                       : verdict.error == kErrorAccessDenied ? L"the file cannot be read"
                                                             : L"not a shared object for this machine";
      return nullptr;
    }
  }
  const char* reason = nullptr;
  void* handle = kmOsOpenModule(path.c_str(), &reason);
  if (!handle) {
    gLastLoadError =
        reason ? kmFromUtf8(reason, std::strlen(reason)) : std::wstring(L"module could not be opened");
    // A program is refused by the loader although it looks like a library.
    SetLastError(verdict.hasInterp ? kErrorBadExeFormat : kErrorModNotFound);
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
  const std::string path = name ? kmToUtf8(name) : std::string();
  void* handle = kmOsFindModule(name ? path.c_str() : nullptr);
  // Finding it took a reference; give it back so this does not keep it loaded.
  if (handle) kmOsCloseModule(handle);
  return handle;
}

HMODULE GetModuleHandleFromAddress(const void* address) {
  const char* path = kmOsAddressModulePath(address);
  if (!path) return nullptr;
  void* handle = kmOsFindModule(path);
  if (handle) kmOsCloseModule(handle);
  return handle;
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
  const std::wstring wide = kmFromUtf8(path, std::strlen(path));
  if (wide.size() >= size) return 0;
  std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
  return static_cast<DWORD>(wide.size());
}

DWORD GetCurrentDirectoryW(DWORD size, wchar_t* buffer) {
  char path[kPathBytes];
  if (!kmOsCurrentDirectory(path, sizeof(path))) return 0;
  const std::wstring wide = kmFromUtf8(path, std::strlen(path));
  if (!buffer || wide.size() >= size) return static_cast<DWORD>(wide.size() + 1);
  std::wmemcpy(buffer, wide.c_str(), wide.size() + 1);
  return static_cast<DWORD>(wide.size());
}

BOOL SetCurrentDirectoryW(const wchar_t* path) {
  if (!path) return 0;
  return kmOsChangeDirectory(kmToUtf8(path).c_str()) == 0 ? 1 : 0;
}

DWORD GetLastError() { return gLastError; }

void SetLastError(DWORD code) { gLastError = code; }

const wchar_t* GetLastLoadErrorText() { return gLastLoadError.c_str(); }

}  // namespace KmKernel32
