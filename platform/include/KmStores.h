// Where the registry-style store and the host configuration store come from.
//
// Each store is a UTF-8 text file in the registry export format, meant to be
// edited by hand:
//
//   ; a comment
//   [Software\Maker\Product\Applications\MyApp]
//   "LOADER"="myapp.yrx"
//   "LOADCTRLS"=dword:0000000d
//   @="the key's unnamed value"
//
// A "[key\path]" line opens a key (its parents exist with it); the value
// lines below it belong to that key. Strings are in double quotes, with \" and
// \\ for a quote and a backslash (any other backslash is kept as it stands);
// numbers are "dword:" and one to eight hexadecimal digits. Blank lines and
// lines starting with ";" are skipped; leading and trailing blanks do not
// matter. A value given twice keeps the later one.
//
// Registry files (one per root): key paths are relative to the root, and may
// start with the root's own name ("HKEY_CURRENT_USER" or "HKCU",
// "HKEY_LOCAL_MACHINE" or "HKLM"), which is dropped. Key names compare
// without regard to ASCII case.
//
// The configuration file: the first key of every section names the store's
// path; "Applications" is path 5 (TesselConfig::kApplications). Below it,
// "[Applications\MyApp\Commands]" is the item the store's API calls
// "MyApp/Commands": "/" in the API stands for "\" in the file, so key and
// value names in this file may not hold "/". Names here are exact: "MyApp" and
// "MYAPP" are two items.
//
// A line that cannot be read is reported through the diagnostics sink as
// "<file>:<line>: <problem>" and skipped (after a bad section line, its value
// lines are skipped with it); the rest of the file is read. Lines are at most
// 8192 bytes, files at most 8 MiB (the rest is ignored, with a message),
// bytes that are not UTF-8 read as U+FFFD. A missing file leaves its store
// empty (a registry root) or absent (the configuration store) without a
// message.
#pragma once
#include "KmRegistry.h"
#include "KmRxExport.h"

// Reads a registry file into root (HKEY_CURRENT_USER or HKEY_LOCAL_MACHINE),
// replacing what the root held. False when the file could not be read; the
// root is then empty.
KMRX_API bool kmStoreOpenRegistryFile(HKEY root, const wchar_t* path);
// Reads the configuration file; ycadConfig() gives it from now on. False when
// it could not be read; there is then no configuration store.
KMRX_API bool kmStoreOpenConfigFile(const wchar_t* path);
// Reads HKCU.reg, HKLM.reg and config.reg of directory; true when any was read.
KMRX_API bool kmStoreOpenDirectory(const wchar_t* directory);
// kmStoreOpenDirectory on the directory named by KMRX_STORE_DIR; false when
// it is not set. Done by itself when a store is first used and none has been
// opened or closed before.
KMRX_API bool kmStoreOpenFromEnvironment();
// Empties both roots and drops the configuration store.
KMRX_API void kmStoreCloseAll();

// Receives each problem found in a store file; the default writes a line to
// standard error.
typedef void (*KmStoreDiagnosticSink)(const wchar_t* message, void* context);
// Installs sink (null puts the default back).
KMRX_API void kmStoreSetDiagnosticSink(KmStoreDiagnosticSink sink, void* context);
