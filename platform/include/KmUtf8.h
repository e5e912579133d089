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
