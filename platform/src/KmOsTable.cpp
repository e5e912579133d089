// The real OS calls behind the platform layer, and the fault switches tests use.
#include "KmRxTesting.h"
#include "KmOsCalls.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void* openModuleImpl(const char* path, int flags) {
  return ::dlopen(path, flags == 1 ? (RTLD_NOW | RTLD_NOLOAD) : RTLD_NOW);
}

const char* moduleErrorImpl() { return ::dlerror(); }

const char* modulePathImpl(void* handle) {
  struct link_map* map = nullptr;
  if (!handle || ::dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || !map) return nullptr;
  if (map->l_name && map->l_name[0]) return map->l_name;
  // The program itself has an empty name in the loader's list.
  static char self[PATH_MAX];
  const ssize_t n = ::readlink("/proc/self/exe", self, sizeof(self) - 1);
  if (n <= 0) return nullptr;
  self[n] = 0;
  return self;
}

const char* addressModulePathImpl(const void* address) {
  Dl_info info;
  if (!::dladdr(address, &info) || !info.dli_fname) return nullptr;
  return info.dli_fname;
}

int isRegularFileImpl(const char* path) {
  struct stat st;
  return (path && ::stat(path, &st) == 0 && S_ISREG(st.st_mode)) ? 1 : 0;
}

long long fileSizeImpl(const char* path) {
  struct stat st;
  return (path && ::stat(path, &st) == 0) ? static_cast<long long>(st.st_size) : -1;
}

void* openFileImpl(const char* path, const char* mode) { return std::fopen(path, mode); }
std::size_t readFileImpl(void* buffer, std::size_t bytes, void* file) {
  return std::fread(buffer, 1, bytes, static_cast<std::FILE*>(file));
}
int closeFileImpl(void* file) { return std::fclose(static_cast<std::FILE*>(file)); }

const KmOsTable kDefaults = {
    &std::malloc,       &std::free,      &openModuleImpl,        &::dlsym,
    &::dlclose,         &moduleErrorImpl, &modulePathImpl,       &addressModulePathImpl,
    &::access,          &isRegularFileImpl, &fileSizeImpl,       &::getcwd,
    &::chdir,
    &openFileImpl,      &readFileImpl,      &closeFileImpl,
};

KmOsTable gTable = kDefaults;

struct Counter {
  long calls = 0;
  long failAt = 0;  // absolute call number that fails; 0 = none
};
Counter gCounters[static_cast<int>(KmOsCall::Count)];

}  // namespace

KmOsTable& kmOsTable() { return gTable; }
const KmOsTable& kmOsDefaults() { return kDefaults; }

void kmOsReset() {
  gTable = kDefaults;
  for (Counter& c : gCounters) c = Counter();
}

void kmOsFailNth(KmOsCall call, long nth) {
  Counter& c = gCounters[static_cast<int>(call)];
  c.failAt = nth > 0 ? c.calls + nth : 0;
}

long kmOsCallCount(KmOsCall call) { return gCounters[static_cast<int>(call)].calls; }

bool kmOsCallFails(KmOsCall call) {
  Counter& c = gCounters[static_cast<int>(call)];
  ++c.calls;
  if (c.failAt != 0 && c.calls == c.failAt) {
    c.failAt = 0;
    return true;
  }
  return false;
}
