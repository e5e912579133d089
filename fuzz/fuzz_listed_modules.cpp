// Any bytes as the host's list of modules, through the linker's start-up list
// loading: every name is looked for, and what is found is looked at and
// refused (none of the files here is a module), without fault or leak.
#include <cstddef>
#include <cstdint>

#include "FuzzSupport.h"
#include "KmRx.h"

namespace {

const std::uint8_t kText[] = "not a module\n";
const std::uint8_t kElfStart[] = {0x7f, 'E', 'L', 'F', 2, 1, 1, 0};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzzStartRuntime();
  // Files a list may name: empty, text, the start of an ELF header.
  fuzzWriteFile("empty.yrx", nullptr, 0);
  fuzzWriteFile("text.yrx", kText, sizeof kText - 1);
  fuzzWriteFile("cut.yrx", kElfStart, sizeof kElfStart);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzWriteFile("in.lst", data, size);
  auto* linker = YcRxDynamicLinkerImp::cast(ycrxSysRegistry()->at(L"DynamicLinker"));
  if (!linker) __builtin_trap();
  linker->initListedModules(L"in.lst");
  if (linker->loadedModuleCount() != 0) __builtin_trap();
  return 0;
}
