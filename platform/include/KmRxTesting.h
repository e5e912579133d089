// For host test suites, not for a host's own code: stand in for the OS and
// make its calls fail. Every OS call the platform layer makes goes through
// this table, so a test can replace an entry or make the Nth call of a kind
// fail. KmRx.h does not include this header.
#pragma once
#include <cstddef>
#include "KmRxExport.h"

struct KmOsTable {
  void* (*alloc)(std::size_t bytes);
  void (*release)(void* block);
  // Dynamic loader. flags: 0 load, 1 only find a module already loaded.
  void* (*openModule)(const char* path, int flags);
  void* (*findSymbol)(void* handle, const char* name);
  int (*closeModule)(void* handle);
  const char* (*moduleError)();
  // Path of a loaded module (the program's own for the program handle).
  const char* (*modulePath)(void* handle);
  // Path of the module that holds an address, or null.
  const char* (*addressModulePath)(const void* address);
  // Files and directories.
  int (*fileAccess)(const char* path, int mode);
  int (*isRegularFile)(const char* path);  // 1 yes, 0 no or missing
  long long (*fileSize)(const char* path);  // -1 when it cannot be told
  char* (*currentDirectory)(char* buffer, std::size_t size);
  int (*changeDirectory)(const char* path);
  void* (*openFile)(const char* path, const char* mode);  // a FILE*
  std::size_t (*readFile)(void* buffer, std::size_t bytes, void* file);
  int (*closeFile)(void* file);
};

enum class KmOsCall { Alloc, OpenModule, OpenFile, Count };

// The table in force; assign to its entries to stand in for the OS.
KMRX_API KmOsTable& kmOsTable();
// The table of real OS calls.
KMRX_API const KmOsTable& kmOsDefaults();
// Puts the real calls back and disarms every fault.
KMRX_API void kmOsReset();
// The nth call of this kind from now on (1 = the next one) fails; 0 disarms.
KMRX_API void kmOsFailNth(KmOsCall call, long nth);
// Calls of this kind made since the last reset.
KMRX_API long kmOsCallCount(KmOsCall call);
