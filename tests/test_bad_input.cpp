// The files users point a host at by mistake: the system's own libraries and
// programs, cut copies of a module, modules for other machines, empty and
// text files. Each is refused with its own cause in one log line, none of it
// is mapped (so none of its code runs), and a good module loads afterwards.
#include <elf.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "KmRxTesting.h"
#include "KmUtf8.h"
#include "LinkerTestSupport.h"
#include "StoreTestSupport.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<char>;

Bytes readAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

bool startsWith(const std::wstring& text, const std::wstring& prefix) { return text.rfind(prefix, 0) == 0; }

// Every step-th regular file of dir whose name passes keep, in name order, up to count.
std::vector<fs::path> sample(const fs::path& dir, bool (*keep)(const fs::path&), std::size_t count) {
  std::vector<fs::path> all;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(dir, error))
    if (entry.is_regular_file(error) && keep(entry.path())) all.push_back(entry.path());
  std::sort(all.begin(), all.end());
  std::vector<fs::path> picked;
  const std::size_t step = std::max<std::size_t>(1, all.size() / count);
  for (std::size_t i = 0; i < all.size() && picked.size() < count; i += step) picked.push_back(all[i]);
  return picked;
}

// The end of the last loaded segment's bytes: a copy cut before it is damaged.
std::size_t segmentsEnd(const Bytes& module) {
  Elf64_Ehdr header;
  std::memcpy(&header, module.data(), sizeof header);
  std::size_t end = 0;
  for (int i = 0; i < header.e_phnum; ++i) {
    Elf64_Phdr segment;
    std::memcpy(&segment, module.data() + header.e_phoff + i * sizeof segment, sizeof segment);
    if (segment.p_type == PT_LOAD || segment.p_type == PT_DYNAMIC)
      end = std::max<std::size_t>(end, segment.p_offset + segment.p_filesz);
  }
  return end;
}

class BadInput : public LinkerTest {
protected:
  // Loads path as a module and answers the cause its one log line gives.
  std::wstring refusalOf(const std::wstring& path) {
    host.clearRecords();
    const long opened = kmOsCallCount(KmOsCall::OpenModule);
    EXPECT_FALSE(ycrxLoadModule(path.c_str(), false));
    EXPECT_EQ(opened, kmOsCallCount(KmOsCall::OpenModule)) << "refused before it was mapped";
    EXPECT_EQ(0, linker()->loadedModuleCount());
    const std::wstring prefix = L"yrx " + path + L" load failure: ";
    const Lines lines = logWith(prefix);
    EXPECT_EQ(1u, lines.size()) << "one trace a refusal";
    return lines.empty() ? std::wstring() : lines.front().substr(prefix.size());
  }

  std::wstring refusalOf(const fs::path& path) { return refusalOf(kmPathFromBytes(path.c_str())); }

  void expectGoodModuleStillWorks() {
    ASSERT_NE(nullptr, load(L"tm_good"));
    EXPECT_TRUE(unload(L"tm_good"));
  }

  static bool isElf(const fs::path& path) {
    char magic[4] = {};
    std::ifstream(path, std::ios::binary).read(magic, 4);
    return std::memcmp(magic, ELFMAG, SELFMAG) == 0;
  }

  TempDir dir;
};

}  // namespace

TEST_F(BadInput, TheSystemsLibrariesAndProgramsAreRefusedUnmappedEachWithItsCause) {
  const auto libraries = sample(
      "/usr/lib/x86_64-linux-gnu", [](const fs::path& p) { return p.filename().string().find(".so") != std::string::npos; },
      150);
  const auto programs = sample("/usr/bin", [](const fs::path& p) { return ::access(p.c_str(), R_OK) == 0; }, 60);
  ASSERT_GE(libraries.size(), 100u) << "too few libraries on this machine to be a test";
  ASSERT_GE(programs.size(), 30u);
  for (const fs::path& library : libraries) {
    SCOPED_TRACE(library.string());
    const std::wstring cause = refusalOf(library);
    // A linker script stands in for some libraries (libc.so is one).
    EXPECT_EQ(isElf(library) ? L"it does not export ycrxGetApiVersion or ycrxEntryPoint" : L"it is not an ELF file",
              cause);
  }
  for (const fs::path& program : programs) {
    SCOPED_TRACE(program.string());
    const std::wstring cause = refusalOf(program);
    EXPECT_TRUE(isElf(program) ? startsWith(cause, L"it is a program") : cause == L"it is not an ELF file")
        << std::string(cause.begin(), cause.end());
  }
  expectGoodModuleStillWorks();
}

TEST_F(BadInput, ACutCopyOfARealModuleIsRefusedAsTruncatedWhereverItIsCut) {
  const Bytes module = readAll(kmPathToBytes(modulePath(L"tm_good")));
  const std::size_t end = segmentsEnd(module);
  ASSERT_GT(end, 4096u);
  std::vector<std::size_t> lengths = {0, 1, 3, 4, 5, 17, 63, 64, 65, 120, 64 + 56 * 3, 1000};
  for (std::size_t i = 1; i < 40; ++i) lengths.push_back(end * i / 40);
  lengths.push_back(end - 1);
  for (std::size_t length : lengths) {
    SCOPED_TRACE(length);
    const fs::path cut = dir.path() / ("cut-" + std::to_string(length) + ".yrx");
    std::ofstream(cut, std::ios::binary).write(module.data(), static_cast<std::streamsize>(length));
    const std::wstring cause = refusalOf(cut);
    if (length == 0)
      EXPECT_EQ(L"it is empty", cause);
    else if (length < SELFMAG)
      EXPECT_EQ(L"it is not an ELF file", cause);
    else
      EXPECT_TRUE(startsWith(cause, L"it is truncated")) << std::string(cause.begin(), cause.end());
  }
  expectGoodModuleStillWorks();
}

TEST_F(BadInput, EmptyAndTextFilesAreNoModules) {
  const fs::path empty = dir.path() / "empty.yrx";
  std::ofstream(empty).close();
  EXPECT_EQ(L"it is empty", refusalOf(empty));
  EXPECT_EQ(L"it is not an ELF file", refusalOf(modulePath(L"tm_text")));
  const fs::path script = dir.path() / "script.yrx";
  std::ofstream(script) << "#!/bin/sh\necho a module?\n";
  EXPECT_EQ(L"it is not an ELF file", refusalOf(script));
  expectGoodModuleStillWorks();
}

TEST_F(BadInput, AModuleForAnotherMachineIsRefusedNamingWhatItIsFor) {
  const fs::path foreign = fs::path(kmPathToBytes(testModulePath(L"foreign")));
  if (!fs::is_directory(foreign)) GTEST_SKIP() << "clang and lld build the foreign modules; neither is here";
  const std::vector<std::pair<const char*, std::wstring>> cases = {
      {"tm_aarch64-linux-gnu.yrx", L"it is built for AArch64 (machine 183); this host is x86-64"},
      {"tm_i686-linux-gnu.yrx", L"it is a 32-bit ELF file; this host loads 64-bit modules"},
      {"tm_riscv64-linux-gnu.yrx", L"it is built for RISC-V (machine 243); this host is x86-64"},
      {"tm_powerpc64-linux-gnu.yrx", L"it is big-endian"},
  };
  for (const auto& [file, cause] : cases) {
    SCOPED_TRACE(file);
    EXPECT_TRUE(startsWith(refusalOf(foreign / file), cause));
  }
  expectGoodModuleStillWorks();
}
