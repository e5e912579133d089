// The real OS calls behind the platform layer: the one file that includes the
// OS's own headers. Everything else reaches them through KmOsCalls.h.
#include "KmRxTesting.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

void* openModuleImpl(const char* path, const char** error) {
  void* handle = ::dlopen(path, RTLD_NOW);
  // Read at once: any later loader call replaces the reason.
  if (error) *error = handle ? nullptr : ::dlerror();
  return handle;
}

void* findModuleImpl(const char* path) { return ::dlopen(path, RTLD_NOW | RTLD_NOLOAD); }

const char* modulePathImpl(void* handle) {
  struct link_map* map = nullptr;
  if (!handle || ::dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || !map) return nullptr;
  return map->l_name ? map->l_name : "";
}

const char* addressModulePathImpl(const void* address) {
  Dl_info info;
  if (!::dladdr(address, &info) || !info.dli_fname) return nullptr;
  return info.dli_fname;
}

long programPathImpl(char* buffer, std::size_t size) {
  if (!buffer || size < 2) return -1;
  const ssize_t n = ::readlink("/proc/self/exe", buffer, size - 1);
  // A result that fills the buffer may have been cut.
  if (n <= 0 || static_cast<std::size_t>(n) >= size - 1) {
    if (n > 0) errno = ENAMETOOLONG;
    return -1;
  }
  buffer[n] = 0;
  return static_cast<long>(n);
}

int isRegularFileImpl(const char* path) {
  struct stat st;
  if (!path || ::stat(path, &st) != 0) return -1;
  return S_ISREG(st.st_mode) ? 1 : 0;
}

int fileStatusImpl(void* file, int* type, long long* size) {
  struct stat st;
  if (!file || ::fstat(::fileno(static_cast<std::FILE*>(file)), &st) != 0) return -1;
  if (type) *type = static_cast<int>(st.st_mode & S_IFMT);
  if (size) *size = static_cast<long long>(st.st_size);
  return 0;
}

void* openFileImpl(const char* path, const char* mode) {
  if (!path || !mode || !std::strchr(mode, 'n')) return std::fopen(path, mode);
  // For reading only: a FIFO must not hold the caller until a writer comes.
  const int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return nullptr;
  std::FILE* file = ::fdopen(fd, "rb");
  if (!file) ::close(fd);
  return file;
}

long long readFileImpl(void* buffer, std::size_t bytes, void* file) {
  auto* stream = static_cast<std::FILE*>(file);
  const std::size_t got = std::fread(buffer, 1, bytes, stream);
  return got == 0 && std::ferror(stream) ? -1 : static_cast<long long>(got);
}

int closeFileImpl(void* file) { return std::fclose(static_cast<std::FILE*>(file)) == 0 ? 0 : -1; }

long writeImpl(int descriptor, const void* bytes, std::size_t count) {
  return static_cast<long>(::write(descriptor, bytes, count));
}

const char* environmentVariableImpl(const char* name) { return std::getenv(name); }

int fileTypeImpl(const char* path) {
  struct stat st;
  if (!path || ::stat(path, &st) != 0) return -1;
  return static_cast<int>(st.st_mode & S_IFMT);
}

// One pread, past the stream's buffer: the file is looked at, not streamed.
long long readFileAtImpl(void* file, long long offset, void* buffer, std::size_t bytes) {
  if (!file || offset < 0) {
    errno = EINVAL;
    return -1;
  }
  const int fd = ::fileno(static_cast<std::FILE*>(file));
  std::size_t got = 0;
  while (got < bytes) {
    const ssize_t n = ::pread(fd, static_cast<char*>(buffer) + got, bytes - got,
                              static_cast<off_t>(offset + static_cast<long long>(got)));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return got ? static_cast<long long>(got) : -1;
    if (n == 0) break;
    got += static_cast<std::size_t>(n);
  }
  return static_cast<long long>(got);
}

int moduleRangesImpl(void* handle, const void** ranges, int max) {
  struct link_map* map = nullptr;
  if (!handle || ::dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || !map) return -1;
  struct Search {
    const struct link_map* map;
    const void** ranges;
    int max;
    int found;
  } search = {map, ranges, max, -1};
  ::dl_iterate_phdr(
      [](struct dl_phdr_info* info, std::size_t, void* data) {
        auto* s = static_cast<Search*>(data);
        // The same base and name as the handle's link map: that object.
        const char* name = info->dlpi_name ? info->dlpi_name : "";
        const char* wanted = s->map->l_name ? s->map->l_name : "";
        if (info->dlpi_addr != s->map->l_addr || std::strcmp(name, wanted) != 0) return 0;
        s->found = 0;
        for (int i = 0; i < info->dlpi_phnum && s->found < s->max; ++i) {
          const ElfW(Phdr)& segment = info->dlpi_phdr[i];
          if (segment.p_type != PT_LOAD) continue;
          const char* begin = reinterpret_cast<const char*>(info->dlpi_addr + segment.p_vaddr);
          s->ranges[2 * s->found] = begin;
          s->ranges[2 * s->found + 1] = begin + segment.p_memsz;
          ++s->found;
        }
        return 1;
      },
      &search);
  return search.found;
}

// Constant: the table must be in place before any static constructor allocates.
constexpr KmOsTable kDefaults = {
    &std::malloc,       &std::free,
    &openModuleImpl,    &findModuleImpl,      &::dlsym,       &::dlclose,
    &modulePathImpl,    &addressModulePathImpl, &programPathImpl,
    &::access,          &isRegularFileImpl,   &fileStatusImpl, &::getcwd,
    &::chdir,           &openFileImpl,        &readFileImpl,  &closeFileImpl,
    &writeImpl,         &::isatty,            &environmentVariableImpl,
    &fileTypeImpl,      &readFileAtImpl,      &moduleRangesImpl,
};

KmOsTable gTable = kDefaults;

}  // namespace

KmOsTable& kmOsTable() { return gTable; }
const KmOsTable& kmOsDefaults() { return kDefaults; }
