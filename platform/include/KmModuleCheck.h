// Why a file cannot be loaded as a module, found by looking at it without
// mapping it (so none of its code runs), and the loader's own reasons after a
// load failed. Every failure has one kind and a detail that names what was
// found, as a clause that reads after "cannot be loaded: ", e.g. "it is a
// directory" or "it needs libunits-data.so.1, which is not in its run path or
// the loader's directories".
#pragma once
#include <string>

#include "KmKernel32.h"
#include "KmRxExport.h"

enum class KmLoadFailure : int {
  kNone = 0,
  kNotFound,           // no such path
  kNotRegularFile,     // a directory, FIFO, socket, device
  kUnreadable,         // permission denied, or another read error
  kNotElf,             // also empty and text files
  kWrongClass,         // a 32-bit ELF file
  kWrongByteOrder,     // big-endian
  kWrongMachine,       // built for another processor (named)
  kNotSharedObject,    // a program, a relocatable object, a core file
  kTruncated,          // program headers or a segment past the end of the file
  kMissingExport,      // a required export is not defined (each named)
  kMissingDependency,  // a library it needs cannot be found (named)
  kUndefinedSymbol,    // a symbol it uses is defined nowhere (named)
  kLoaderFailure,      // anything else the loader refused, in its words
};

struct KmModuleCheck {
  KmLoadFailure failure = KmLoadFailure::kNone;
  std::wstring detail;
};

// Looks at the module file at path: its kind, whether it can be read, its ELF
// header (class, byte order, machine, type), whether every segment the loader
// would map lies within the file, and which of the given exports its dynamic
// symbol table does not define. Maps nothing. True when nothing found keeps
// it from loading. Reads only what it needs and trusts nothing in the file.
KMRX_API bool kmCheckModuleFile(const wchar_t* path, const char* const* requiredExports, int count,
                                KmModuleCheck& result);

// The error code GetLastError gives for a kind: 126 not found, a missing
// dependency or another loader refusal, 5 unreadable, 127 an undefined
// symbol or a missing export, 193 every other file that is not a loadable
// module for this machine.
KMRX_API DWORD kmLoadFailureCode(KmLoadFailure failure);
