// What the targets that drive the whole runtime share: a scratch directory of
// their own, a quiet host whose file search looks only there (and at absolute
// paths), and the runtime started once for the process.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

// The scratch directory, made current; created on first use, removed at exit.
const std::string& fuzzScratchDir();
// Writes data to name in the scratch directory; the wide full path.
std::wstring fuzzWriteFile(const char* name, const std::uint8_t* data, std::size_t size);
// Starts the runtime with the quiet host installed; once per process.
void fuzzStartRuntime();
