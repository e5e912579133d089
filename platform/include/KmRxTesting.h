// For host test suites, not for a host's own code: stand in for the OS and
// make its calls fail. Every OS call the platform layer makes goes through
// this table, so a test can replace an entry or make the Nth call of a kind
// fail. KmRx.h does not include this header.
//
// A call failed by kmOsFailNth does not reach its entry (closeFile aside): it
// returns the failure value noted at the entry and, where the real call would,
// sets errno. The platform layer then behaves as when the OS itself refuses.
#pragma once
#include <cstddef>
#include "KmRxExport.h"

struct KmOsTable {
  // Memory. alloc fails with null (ENOMEM); a failed release keeps the block.
  void* (*alloc)(std::size_t bytes);
  void (*release)(void* block);

  // Dynamic loader: these report through their results, not errno.
  // Loads a module; null on failure, with the loader's reason in *error (null
  // when it gave none), valid until the next loader call.
  void* (*openModule)(const char* path, const char** error);
  // A module already loaded, without loading it (null path: the program);
  // it takes a reference like a load. Null when it is not loaded.
  void* (*findModule)(const char* path);
  void* (*findSymbol)(void* handle, const char* name);  // null when missing
  int (*closeModule)(void* handle);                     // 0, or nonzero when it fails
  // Path of a loaded module as the loader knows it: empty for the program
  // itself, null when the handle is unknown.
  const char* (*modulePath)(void* handle);
  // Path of the module that holds an address, or null.
  const char* (*addressModulePath)(const void* address);
  // The program's own path, terminated, into buffer; its length, or -1 with
  // errno set (EACCES when failed by a test), also when it does not fit.
  long (*programPath)(char* buffer, std::size_t size);

  // Files and directories. A failed call sets errno; one failed by a test
  // gets EACCES, or EIO for reading and closing.
  int (*fileAccess)(const char* path, int mode);  // 0, or -1
  int (*isRegularFile)(const char* path);         // 1 yes, 0 another kind, -1 missing or unknown
  // The kind (S_IFMT bits) and size of an open file: 0, or -1 with errno set.
  int (*fileStatus)(void* file, int* type, long long* size);
  char* (*currentDirectory)(char* buffer, std::size_t size);  // buffer, or null
  int (*changeDirectory)(const char* path);                   // 0, or -1
  // A FILE*, or null. Modes as fopen's, and "n": do not wait for a FIFO's writer.
  void* (*openFile)(const char* path, const char* mode);
  // Bytes read; 0 at the end, -1 when reading fails.
  long long (*readFile)(void* buffer, std::size_t bytes, void* file);
  // 0, or -1; the file is closed either way, as with the C library.
  int (*closeFile)(void* file);

  // The process. write gives the bytes written, or -1 (EIO).
  long (*write)(int descriptor, const void* bytes, std::size_t count);
  int (*isTerminal)(int descriptor);                     // 1 yes, 0 no (ENOTTY)
  const char* (*environmentVariable)(const char* name);  // null when unset

  // The kind of file at path (its S_IFMT bits), or -1 with errno set (EACCES
  // when failed by a test).
  int (*fileType)(const char* path);
  // Reads up to bytes at offset of an open file; bytes read, 0 past the end,
  // -1 when reading fails (EIO when failed by a test).
  long long (*readFileAt)(void* file, long long offset, void* buffer, std::size_t bytes);
  // The address ranges a loaded module's segments are mapped at, as begin and
  // end pairs in ranges[2 * i], ranges[2 * i + 1]; how many there are (at most
  // max), or -1 when the handle cannot be told.
  int (*moduleRanges)(void* handle, const void** ranges, int max);
};

// One kind per table entry, in the table's order.
enum class KmOsCall {
  Alloc,
  Release,
  OpenModule,
  FindModule,
  FindSymbol,
  CloseModule,
  ModulePath,
  AddressModulePath,
  ProgramPath,
  FileAccess,
  IsRegularFile,
  FileStatus,
  CurrentDirectory,
  ChangeDirectory,
  OpenFile,
  ReadFile,
  CloseFile,
  Write,
  IsTerminal,
  EnvironmentVariable,
  FileType,
  ReadFileAt,
  ModuleRanges,
  Count
};

// The table in force; assign to its entries to stand in for the OS. A
// stand-in is still counted and failed by the switches below.
KMRX_API KmOsTable& kmOsTable();
// The table of real OS calls.
KMRX_API const KmOsTable& kmOsDefaults();
// Puts the real calls back and disarms every fault.
KMRX_API void kmOsReset();
// The nth call of this kind from now on (1 = the next one) fails; 0 disarms.
KMRX_API void kmOsFailNth(KmOsCall call, long nth);
// Calls of this kind made since the last reset, failed ones included.
KMRX_API long kmOsCallCount(KmOsCall call);
