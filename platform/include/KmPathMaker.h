// Path helpers. Output buffers are counted in characters; every function
// returns false (and leaves an empty string where there is room) when the
// input is null or the result does not fit.
#pragma once
#include <cstddef>
#include "KmRxExport.h"
#include "KmWideText.h"

class KMRX_API KmPathMaker {
public:
  // Absolute, normalised path ("." and ".." resolved, symbolic links kept).
  static bool getFullFileName(const wchar_t* path, wchar_t* out, std::size_t outCount);
  // Base name without directory and extension.
  static bool getFileName(const wchar_t* path, wchar_t* out, std::size_t outCount);
  // Extension with its dot, or empty.
  static bool getExtFileName(const wchar_t* path, wchar_t* out, std::size_t outCount);
  // Base name followed by its extension: getFileName and getExtFileName joined.
  static bool getFileNameWithExt(const wchar_t* path, wchar_t* out, std::size_t outCount);
  // The key under which this platform knows a module: "\" becomes "/".
  static bool ToPlatformModuleName(const wchar_t* name, wchar_t* out, std::size_t outCount);
};

class KMRX_API KmFileSystem {
public:
  // True for an existing regular file.
  static bool isFileExisting(const wchar_t* path);
};

// Splits a path into drive (always empty here), directory (with its trailing
// separator), base name and extension (with its dot). Any output may be null;
// each must hold kKmTextBuffer characters (longer pieces are cut).
KMRX_API void _wsplitpath(const wchar_t* path, wchar_t* drive, wchar_t* dir, wchar_t* fname,
                          wchar_t* ext);
// 0 when path exists and allows mode (0 exists, 2 write, 4 read, 6 both), else -1.
KMRX_API int _waccess(const wchar_t* path, int mode);
