// The fault switches and the wrappers every OS call goes through, so that no
// call site can forget to count a call or let an armed fault pass.
#include "KmOsCalls.h"

#include <cerrno>

#include "KmRxTesting.h"

namespace {

struct Counter {
  long calls = 0;
  long failAt = 0;  // absolute call number that fails; 0 = none
};
Counter gCounters[static_cast<int>(KmOsCall::Count)];

bool fails(KmOsCall call) {
  Counter& c = gCounters[static_cast<int>(call)];
  ++c.calls;
  if (c.failAt == 0 || c.calls != c.failAt) return false;
  c.failAt = 0;
  return true;
}

// For the calls that report through errno.
bool failsWith(KmOsCall call, int error) {
  if (!fails(call)) return false;
  errno = error;
  return true;
}

}  // namespace

void kmOsReset() {
  kmOsTable() = kmOsDefaults();
  for (Counter& c : gCounters) c = Counter();
}

void kmOsFailNth(KmOsCall call, long nth) {
  Counter& c = gCounters[static_cast<int>(call)];
  c.failAt = nth > 0 ? c.calls + nth : 0;
}

long kmOsCallCount(KmOsCall call) { return gCounters[static_cast<int>(call)].calls; }

void* kmOsAlloc(std::size_t bytes) {
  return failsWith(KmOsCall::Alloc, ENOMEM) ? nullptr : kmOsTable().alloc(bytes);
}

void kmOsRelease(void* block) {
  if (!fails(KmOsCall::Release)) kmOsTable().release(block);
}

void* kmOsOpenModule(const char* path, const char** error) {
  if (fails(KmOsCall::OpenModule)) {
    if (error) *error = nullptr;
    return nullptr;
  }
  return kmOsTable().openModule(path, error);
}

void* kmOsFindModule(const char* path) {
  return fails(KmOsCall::FindModule) ? nullptr : kmOsTable().findModule(path);
}

void* kmOsFindSymbol(void* handle, const char* name) {
  return fails(KmOsCall::FindSymbol) ? nullptr : kmOsTable().findSymbol(handle, name);
}

int kmOsCloseModule(void* handle) {
  return fails(KmOsCall::CloseModule) ? -1 : kmOsTable().closeModule(handle);
}

const char* kmOsModulePath(void* handle) {
  return fails(KmOsCall::ModulePath) ? nullptr : kmOsTable().modulePath(handle);
}

const char* kmOsAddressModulePath(const void* address) {
  return fails(KmOsCall::AddressModulePath) ? nullptr : kmOsTable().addressModulePath(address);
}

long kmOsProgramPath(char* buffer, std::size_t size) {
  return failsWith(KmOsCall::ProgramPath, EACCES) ? -1 : kmOsTable().programPath(buffer, size);
}

int kmOsFileAccess(const char* path, int mode) {
  return failsWith(KmOsCall::FileAccess, EACCES) ? -1 : kmOsTable().fileAccess(path, mode);
}

int kmOsIsRegularFile(const char* path) {
  return failsWith(KmOsCall::IsRegularFile, EACCES) ? -1 : kmOsTable().isRegularFile(path);
}

int kmOsFileStatus(void* file, int* type, long long* size) {
  return failsWith(KmOsCall::FileStatus, EACCES) ? -1 : kmOsTable().fileStatus(file, type, size);
}

char* kmOsCurrentDirectory(char* buffer, std::size_t size) {
  if (failsWith(KmOsCall::CurrentDirectory, EACCES)) return nullptr;
  return kmOsTable().currentDirectory(buffer, size);
}

int kmOsChangeDirectory(const char* path) {
  return failsWith(KmOsCall::ChangeDirectory, EACCES) ? -1 : kmOsTable().changeDirectory(path);
}

void* kmOsOpenFile(const char* path, const char* mode) {
  return failsWith(KmOsCall::OpenFile, EACCES) ? nullptr : kmOsTable().openFile(path, mode);
}

long long kmOsReadFile(void* buffer, std::size_t bytes, void* file) {
  return failsWith(KmOsCall::ReadFile, EIO) ? -1 : kmOsTable().readFile(buffer, bytes, file);
}

int kmOsCloseFile(void* file) {
  if (!fails(KmOsCall::CloseFile)) return kmOsTable().closeFile(file);
  // The C library closes the file even when closing fails.
  kmOsTable().closeFile(file);
  errno = EIO;
  return -1;
}

long kmOsWrite(int descriptor, const void* bytes, std::size_t count) {
  return failsWith(KmOsCall::Write, EIO) ? -1 : kmOsTable().write(descriptor, bytes, count);
}

int kmOsIsTerminal(int descriptor) {
  return failsWith(KmOsCall::IsTerminal, ENOTTY) ? 0 : kmOsTable().isTerminal(descriptor);
}

const char* kmOsEnvironmentVariable(const char* name) {
  return fails(KmOsCall::EnvironmentVariable) ? nullptr : kmOsTable().environmentVariable(name);
}

int kmOsFileType(const char* path) {
  return failsWith(KmOsCall::FileType, EACCES) ? -1 : kmOsTable().fileType(path);
}

long long kmOsReadFileAt(void* file, long long offset, void* buffer, std::size_t bytes) {
  if (failsWith(KmOsCall::ReadFileAt, EIO)) return -1;
  return kmOsTable().readFileAt(file, offset, buffer, bytes);
}

int kmOsModuleRanges(void* handle, const void** ranges, int max) {
  return fails(KmOsCall::ModuleRanges) ? -1 : kmOsTable().moduleRanges(handle, ranges, max);
}
