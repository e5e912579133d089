// Wide text <-> UTF-8, for OS paths, files and terminals.
#pragma once
#include <cstddef>
#include <string>

#include "KmRxExport.h"

KMRX_API std::string kmToUtf8(const wchar_t* text);
inline std::string kmToUtf8(const std::wstring& text) { return kmToUtf8(text.c_str()); }
// Each maximal invalid piece (a bad byte, or the start of a sequence that
// breaks off) becomes one U+FFFD.
KMRX_API std::wstring kmFromUtf8(const char* text, std::size_t length);
inline std::wstring kmFromUtf8(const std::string& text) { return kmFromUtf8(text.data(), text.size()); }

// Decodes UTF-8 from a stream's buffer [from, fromEnd) into [to, toEnd) the
// way kmFromUtf8 does, advancing both. It stops when the output is full, or
// before a sequence that fromEnd cuts short while still valid (the rest may
// come with the next read); true in that last case.
KMRX_API bool kmDecodeUtf8Chunk(const char*& from, const char* fromEnd, wchar_t*& to, wchar_t* toEnd);

// Paths are bytes on this platform, and need not be UTF-8. These two convert
// them both ways without loss: valid UTF-8 decodes as usual, and each byte of
// an invalid piece becomes the lone surrogate U+DC80 + byte, which converts
// back to that byte. Text that is not a path uses the two functions above.
KMRX_API std::wstring kmPathFromBytes(const char* bytes);
KMRX_API std::string kmPathToBytes(const wchar_t* path);
inline std::string kmPathToBytes(const std::wstring& path) { return kmPathToBytes(path.c_str()); }
