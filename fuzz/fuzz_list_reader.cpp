// Any bytes in a list file must be read to the end, a line at a time, the
// way the linker reads its list of modules, without fault.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <random>
#include <string>

#include "YcadTextFileReader.h"

namespace {

std::filesystem::path gDir;

void removeDir() {
  std::error_code error;
  std::filesystem::current_path(std::filesystem::temp_directory_path(), error);
  std::filesystem::remove_all(gDir, error);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The reader opens only eight bytes of a path: work beside the file, in a
  // directory of this run's own.
  // A memory file system when there is one: a file is written for every input.
  std::random_device seed;
  std::error_code error;
  const std::filesystem::path base = std::filesystem::is_directory("/dev/shm", error)
                                         ? std::filesystem::path("/dev/shm")
                                         : std::filesystem::temp_directory_path();
  gDir = base / ("kmrx-fuzz-" + std::to_string(seed()));
  std::filesystem::create_directories(gDir);
  std::filesystem::current_path(gDir);
  std::atexit(&removeDir);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::FILE* file = std::fopen("in.lst", "wb");
  if (!file) __builtin_trap();
  if (size && std::fwrite(data, 1, size, file) != size) __builtin_trap();
  std::fclose(file);

  std::size_t lineEnds = 0;
  for (std::size_t i = 0; i < size; ++i) lineEnds += data[i] == '\n';

  YcadTextFileReader reader;
  if (!reader.open(L"in.lst")) __builtin_trap();
  std::size_t steps = 0;
  while (!reader.isEOF()) {
    // Every step must move on by at least a line, or the linker would never stop.
    if (++steps > lineEnds + 2) __builtin_trap();
    wchar_t line[1024];
    if (reader.skipSpecial(line, 1024, 1u, L";", 1u, L"", 2u, L"//", 0u) &&
        std::wcslen(line) > 1023)
      __builtin_trap();
  }
  return 0;
}
