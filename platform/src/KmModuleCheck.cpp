// Looking at a module file without mapping it: the loader would run a
// library's static constructors before anyone could ask for its exports, and
// a truncated file makes it fault. Everything is read through the OS table,
// a piece at a time, and nothing the file says is trusted.
#include "KmModuleCheck.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "KmModuleFile.h"
#include "KmOsCalls.h"
#include "KmUtf8.h"

namespace {

constexpr unsigned char kClass32 = 1, kClass64 = 2, kLittleEndian = 1, kBigEndian = 2;
constexpr std::uint16_t kTypeRelocatable = 1, kTypeExecutable = 2, kTypeShared = 3, kTypeCore = 4;
constexpr std::uint32_t kSegmentLoad = 1, kSegmentDynamic = 2;
constexpr std::size_t kHeaderSize = 64, kProgramHeaderSize = 56, kMaxProgramHeaders = 4096;
constexpr std::int64_t kTagHash = 4, kTagStrtab = 5, kTagSymtab = 6, kTagStrsz = 10, kTagSyment = 11;
constexpr std::int64_t kTagGnuHash = 0x6ffffef5, kTagFlags1 = 0x6ffffffb;
// What the loader refuses to open as a library; a library that can also be
// run (an interpreter segment without this flag) still loads.
constexpr std::uint64_t kFlag1Pie = 0x08000000;
constexpr std::size_t kMaxDynamicEntries = 4096, kSymbolSize = 24;
constexpr std::uint32_t kMaxChain = 1u << 20;

template <typename T>
T field(const unsigned char* p, std::size_t offset) {
  T value;
  std::memcpy(&value, p + offset, sizeof(T));
  return value;
}

std::uint16_t thisMachine() {
#if defined(__aarch64__)
  return 183;
#else
  return 62;
#endif
}

std::wstring machineName(std::uint16_t machine) {
  switch (machine) {
    case 3: return L"i386";
    case 8: return L"MIPS";
    case 20: return L"PowerPC";
    case 21: return L"PowerPC64";
    case 22: return L"s390x";
    case 40: return L"ARM";
    case 62: return L"x86-64";
    case 183: return L"AArch64";
    case 243: return L"RISC-V";
    case 258: return L"LoongArch";
    default: return L"machine " + std::to_wstring(machine);
  }
}

std::wstring fileKind(int type) {
  switch (type) {
    case 0040000: return L"a directory";
    case 0010000: return L"a FIFO (named pipe)";
    case 0140000: return L"a socket";
    case 0020000: return L"a character device";
    case 0060000: return L"a block device";
    default: return L"not a regular file";
  }
}

bool fail(KmModuleCheck& result, KmLoadFailure failure, std::wstring detail) {
  result.failure = failure;
  result.detail = std::move(detail);
  return false;
}

std::wstring errorText(int error) {
  const char* text = std::strerror(error);
  return kmFromUtf8(text ? text : "unknown error");
}

struct Segment {
  std::uint32_t type;
  std::uint64_t offset, vaddr, fileSize;
};

// Positioned reads within the file's size.
// The file, read from its start in one piece: the headers, dynamic section,
// symbols and hash tables of a shared object come first, so a look at a
// module costs one read. What lies past that piece is read when asked for.
class ModuleFile {
public:
  static constexpr std::size_t kHead = 64 * 1024;

  ModuleFile(void* file, std::uint64_t size) : mpFile(file), mSize(size) {
    try {
      mHead.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size, kHead)));
    } catch (const std::bad_alloc&) {
      mHead.clear();  // every read goes to the file
    }
    const long long got = mHead.empty() ? 0 : kmOsReadFileAt(mpFile, 0, mHead.data(), mHead.size());
    if (got != static_cast<long long>(mHead.size())) {
      mHeadError = got < 0 ? errno : 0;
      mHead.clear();
    }
  }
  std::uint64_t size() const { return mSize; }
  // Why the first read failed (an errno), or 0.
  int headError() const { return mHeadError; }
  bool read(std::uint64_t offset, void* out, std::size_t bytes) const {
    if (offset > mSize || bytes > mSize - offset) return false;
    if (offset + bytes <= mHead.size()) {
      std::memcpy(out, mHead.data() + offset, bytes);
      return true;
    }
    return kmOsReadFileAt(mpFile, static_cast<long long>(offset), out, bytes) ==
           static_cast<long long>(bytes);
  }
  template <typename T>
  bool read(std::uint64_t offset, T& value) const {
    return read(offset, &value, sizeof(T));
  }

private:
  void* mpFile;
  std::uint64_t mSize;
  std::vector<unsigned char> mHead;
  int mHeadError = 0;
};

bool checkHeader(const unsigned char* h, std::size_t got, KmModuleCheck& result) {
  if (got < 4 || std::memcmp(h, "\x7f" "ELF", 4) != 0) return fail(result, KmLoadFailure::kNotElf, L"it is not an ELF file");
  if (got < kHeaderSize)
    return fail(result, KmLoadFailure::kTruncated,
                L"it is truncated: its ELF header ends after " + std::to_wstring(got) + L" bytes");
  if (h[4] == kClass32)
    return fail(result, KmLoadFailure::kWrongClass, L"it is a 32-bit ELF file; this host loads 64-bit modules");
  if (h[4] != kClass64) return fail(result, KmLoadFailure::kNotElf, L"its ELF class is damaged");
  if (h[5] == kBigEndian)
    return fail(result, KmLoadFailure::kWrongByteOrder, L"it is big-endian; this host is little-endian");
  if (h[5] != kLittleEndian) return fail(result, KmLoadFailure::kNotElf, L"its ELF byte order is damaged");
  const auto machine = field<std::uint16_t>(h, 18);
  if (machine != thisMachine())
    return fail(result, KmLoadFailure::kWrongMachine,
                L"it is built for " + machineName(machine) + L" (machine " + std::to_wstring(machine) +
                    L"); this host is " + machineName(thisMachine()));
  switch (field<std::uint16_t>(h, 16)) {
    case kTypeShared: return true;
    case kTypeExecutable: return fail(result, KmLoadFailure::kNotSharedObject, L"it is a program, not a library");
    case kTypeRelocatable:
      return fail(result, KmLoadFailure::kNotSharedObject,
                  L"it is an object file (.o), not a library; link it into a shared object");
    case kTypeCore: return fail(result, KmLoadFailure::kNotSharedObject, L"it is a core dump");
    default: return fail(result, KmLoadFailure::kNotSharedObject, L"it is not a shared object");
  }
}

bool readSegments(const ModuleFile& file, const unsigned char* h, std::vector<Segment>& segments,
                  KmModuleCheck& result) {
  const auto offset = field<std::uint64_t>(h, 32);
  const auto entrySize = field<std::uint16_t>(h, 54);
  const auto count = field<std::uint16_t>(h, 56);
  if (entrySize != kProgramHeaderSize || count == 0 || count > kMaxProgramHeaders)
    return fail(result, KmLoadFailure::kNotElf, L"its program headers are damaged");
  std::vector<unsigned char> table(std::size_t{count} * kProgramHeaderSize);
  if (!file.read(offset, table.data(), table.size()))
    return fail(result, KmLoadFailure::kTruncated, L"it is truncated: its program headers lie past its end");
  bool hasLoad = false, hasDynamic = false;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned char* ph = table.data() + i * kProgramHeaderSize;
    const Segment s{field<std::uint32_t>(ph, 0), field<std::uint64_t>(ph, 8), field<std::uint64_t>(ph, 16),
                    field<std::uint64_t>(ph, 32)};
    if (s.type != kSegmentLoad && s.type != kSegmentDynamic) continue;
    if (s.offset > file.size() || s.fileSize > file.size() - s.offset)
      return fail(result, KmLoadFailure::kTruncated,
                  L"it is truncated: its segment " + std::to_wstring(i) + L" ends at byte " +
                      std::to_wstring(s.offset + s.fileSize) + L" of a " + std::to_wstring(file.size()) +
                      L"-byte file");
    hasLoad |= s.type == kSegmentLoad;
    hasDynamic |= s.type == kSegmentDynamic;
    segments.push_back(s);
  }
  if (!hasLoad || !hasDynamic)
    return fail(result, KmLoadFailure::kNotSharedObject, L"it has no dynamic section, so it is no shared library");
  return true;
}

// The file offset of a virtual address, through the segment that maps it.
bool fileOffset(const std::vector<Segment>& segments, std::uint64_t address, std::uint64_t& offset) {
  for (const Segment& s : segments) {
    if (s.type != kSegmentLoad || address < s.vaddr || address - s.vaddr >= s.fileSize) continue;
    offset = s.offset + (address - s.vaddr);
    return true;
  }
  return false;
}

}  // namespace

// --- symbol look-up through the hash tables ---------------------------------------

namespace {

struct DynamicTables {
  std::uint64_t symtab = 0, strtab = 0, strsz = 0, syment = kSymbolSize, hash = 0, gnuHash = 0, flags1 = 0;
  bool hasSymtab = false, hasStrtab = false, hasHash = false, hasGnuHash = false;
};

bool readDynamic(const ModuleFile& file, const std::vector<Segment>& segments, DynamicTables& t) {
  for (const Segment& s : segments) {
    if (s.type != kSegmentDynamic) continue;
    const std::size_t count = std::min<std::uint64_t>(s.fileSize / 16, kMaxDynamicEntries);
    for (std::size_t i = 0; i < count; ++i) {
      std::int64_t tag;
      std::uint64_t value;
      if (!file.read(s.offset + i * 16, tag) || !file.read(s.offset + i * 16 + 8, value)) return false;
      if (tag == 0) break;
      auto address = [&](std::uint64_t& out, bool& present) { present = fileOffset(segments, value, out); };
      if (tag == kTagSymtab) address(t.symtab, t.hasSymtab);
      if (tag == kTagStrtab) address(t.strtab, t.hasStrtab);
      if (tag == kTagHash) address(t.hash, t.hasHash);
      if (tag == kTagGnuHash) address(t.gnuHash, t.hasGnuHash);
      if (tag == kTagStrsz) t.strsz = value;
      if (tag == kTagFlags1) t.flags1 = value;
      if (tag == kTagSyment && value >= kSymbolSize && value <= 64) t.syment = value;
    }
    return true;
  }
  return false;
}

// Whether symbol index names name and is defined.
bool definesAt(const ModuleFile& file, const DynamicTables& t, std::uint32_t index, const std::string& name) {
  unsigned char symbol[kSymbolSize];
  if (!file.read(t.symtab + std::uint64_t{index} * t.syment, symbol, kSymbolSize)) return false;
  const auto nameOffset = field<std::uint32_t>(symbol, 0);
  if (field<std::uint16_t>(symbol, 6) == 0 || nameOffset > t.strsz || name.size() + 1 > t.strsz - nameOffset)
    return false;
  std::vector<char> stored(name.size() + 1);
  return file.read(t.strtab + nameOffset, stored.data(), stored.size()) &&
         std::memcmp(stored.data(), name.c_str(), stored.size()) == 0;
}

bool gnuLookUp(const ModuleFile& file, const DynamicTables& t, const std::string& name) {
  std::uint32_t header[4];
  if (!file.read(t.gnuHash, header, sizeof header) || header[0] == 0) return false;
  const std::uint32_t buckets = header[0], symbolBase = header[1], bloomWords = header[2];
  std::uint32_t h = 5381;
  for (unsigned char c : name) h = h * 33 + c;
  const std::uint64_t bucketTable = t.gnuHash + 16 + std::uint64_t{bloomWords} * 8;
  const std::uint64_t chainTable = bucketTable + std::uint64_t{buckets} * 4;
  std::uint32_t index;
  if (!file.read(bucketTable + (h % buckets) * 4ull, index) || index < symbolBase) return false;
  for (std::uint32_t steps = 0; steps < kMaxChain; ++steps, ++index) {
    std::uint32_t chained;
    if (!file.read(chainTable + std::uint64_t{index - symbolBase} * 4, chained)) return false;
    if ((chained | 1) == (h | 1) && definesAt(file, t, index, name)) return true;
    if (chained & 1) return false;
  }
  return false;
}

bool sysvLookUp(const ModuleFile& file, const DynamicTables& t, const std::string& name) {
  std::uint32_t header[2];
  if (!file.read(t.hash, header, sizeof header) || header[0] == 0) return false;
  const std::uint32_t buckets = header[0], chains = header[1];
  std::uint32_t h = 0;
  for (unsigned char c : name) {
    h = (h << 4) + c;
    const std::uint32_t high = h & 0xf0000000u;
    if (high) h ^= high >> 24;
    h &= ~high;
  }
  std::uint32_t index;
  if (!file.read(t.hash + 8 + (h % buckets) * 4ull, index)) return false;
  for (std::uint32_t steps = 0; index != 0 && index < chains && steps < kMaxChain; ++steps) {
    if (definesAt(file, t, index, name)) return true;
    if (!file.read(t.hash + 8 + std::uint64_t{buckets} * 4 + std::uint64_t{index} * 4, index)) return false;
  }
  return false;
}

bool checkDynamic(const ModuleFile& file, const std::vector<Segment>& segments, const char* const* names,
                  int count, KmModuleCheck& result) {
  DynamicTables t;
  const bool readable = readDynamic(file, segments, t);
  if (readable && (t.flags1 & kFlag1Pie))
    return fail(result, KmLoadFailure::kNotSharedObject,
                L"it is a program (a position-independent executable), not a library");
  // Without tables to look in, the loader's own look-up decides later.
  if (count <= 0 || !readable || !t.hasSymtab || !t.hasStrtab || (!t.hasHash && !t.hasGnuHash)) return true;
  std::wstring missing;
  for (int i = 0; i < count; ++i) {
    const std::string name = names[i] ? names[i] : "";
    const bool found = t.hasGnuHash ? gnuLookUp(file, t, name) : sysvLookUp(file, t, name);
    if (!found) missing += (missing.empty() ? L"" : L" or ") + kmFromUtf8(name);
  }
  if (missing.empty()) return true;
  return fail(result, KmLoadFailure::kMissingExport, L"it does not export " + missing);
}

}  // namespace

namespace {

// Why a file could not be opened: missing, not a regular file, or unreadable.
bool refuseUnopened(const char* path, KmModuleCheck& result) {
  const int openError = errno;
  if (openError == ENOENT || openError == ENOTDIR)
    return fail(result, KmLoadFailure::kNotFound, L"there is no such file");
  const int type = kmOsFileType(path);
  if (type >= 0 && type != 0100000) return fail(result, KmLoadFailure::kNotRegularFile, L"it is " + fileKind(type));
  return fail(result, KmLoadFailure::kUnreadable, L"it cannot be read: " + errorText(openError));
}

// The path that last passed a look with its exports; see kmModuleJustChecked.
thread_local std::string tJustChecked;

}  // namespace

bool kmCheckModuleBytes(const std::string& path, const char* const* requiredExports, int count,
                        KmModuleCheck& result) {
  result = KmModuleCheck();
  tJustChecked.clear();
  // One open, one fstat, one read of the head, one close in the usual case;
  // "n": a FIFO is opened without waiting for a writer, then refused.
  void* handle = kmOsOpenFile(path.c_str(), "rbn");
  if (!handle) return refuseUnopened(path.c_str(), result);
  int type = 0;
  long long size = -1;
  if (kmOsFileStatus(handle, &type, &size) != 0 || size < 0) {
    const int error = errno;
    kmOsCloseFile(handle);
    return fail(result, KmLoadFailure::kUnreadable, L"it cannot be read: " + errorText(error));
  }
  if (type != 0100000) {
    kmOsCloseFile(handle);
    return fail(result, KmLoadFailure::kNotRegularFile, L"it is " + fileKind(type));
  }
  const ModuleFile file(handle, static_cast<std::uint64_t>(size));
  unsigned char header[kHeaderSize] = {};
  const std::size_t got = std::min<std::uint64_t>(file.size(), kHeaderSize);
  bool ok = true;
  if (size == 0)
    ok = fail(result, KmLoadFailure::kNotElf, L"it is empty");
  else if (file.headError())
    ok = fail(result, KmLoadFailure::kUnreadable, L"it cannot be read: " + errorText(file.headError()));
  else if (!file.read(0, header, got))
    ok = fail(result, KmLoadFailure::kUnreadable, L"it cannot be read: " + errorText(errno));
  std::vector<Segment> segments;
  ok = ok && checkHeader(header, got, result) && readSegments(file, header, segments, result) &&
       checkDynamic(file, segments, requiredExports, count, result);
  kmOsCloseFile(handle);
  if (ok && count > 0) {
    try {
      tJustChecked = path;
    } catch (const std::bad_alloc&) {
      tJustChecked.clear();  // the load looks again
    }
  }
  return ok;
}

bool kmModuleJustChecked(const std::string& path) {
  const bool same = !tJustChecked.empty() && tJustChecked == path;
  tJustChecked.clear();
  return same;
}

bool kmCheckModuleFile(const wchar_t* path, const char* const* requiredExports, int count,
                       KmModuleCheck& result) {
  if (!path || !*path) {
    result = KmModuleCheck();
    return fail(result, KmLoadFailure::kNotFound, L"there is no file name");
  }
  return kmCheckModuleBytes(kmPathToBytes(path), requiredExports, count, result);
}

DWORD kmLoadFailureCode(KmLoadFailure failure) {
  switch (failure) {
    case KmLoadFailure::kNone: return KmKernel32::kErrorSuccess;
    case KmLoadFailure::kNotFound:
    case KmLoadFailure::kMissingDependency:
    case KmLoadFailure::kLoaderFailure: return KmKernel32::kErrorModNotFound;
    case KmLoadFailure::kUnreadable: return KmKernel32::kErrorAccessDenied;
    case KmLoadFailure::kMissingExport:
    case KmLoadFailure::kUndefinedSymbol: return KmKernel32::kErrorProcNotFound;
    default: return KmKernel32::kErrorBadExeFormat;
  }
}
