// Bounded wide copies and wide formatting with the host's conventions:
// in a wide format "%s" and "%c" take wide arguments ("%hs"/"%S" and "%hc"/"%C"
// take narrow ones), unlike the C library, which reads "%s" as narrow.
#pragma once
#include <cstdarg>
#include <cstddef>
#include <cwchar>
#include "KmRxExport.h"

// Characters in the runtime's text buffers (paths, names, messages): 1023 and a terminator.
constexpr int kKmTextBuffer = 1024;

// Return 0 on success; 22 for a null pointer, 34 when dst is too small
// (dst is then emptied when it has room for a terminator).
KMRX_API int wmemcpy_s(wchar_t* dst, std::size_t dstCount, const wchar_t* src, std::size_t count);
KMRX_API int _tarmcscpy_s(wchar_t* dst, std::size_t dstCount, const wchar_t* src);

// Number of characters the formatted text needs, without the terminator; -1 for a null format.
KMRX_API int _vscwprintf(const wchar_t* format, va_list args);
// Unbounded formatting into buf, which must have room for _vscwprintf + 1 characters.
KMRX_API int vswprintf(wchar_t* buf, const wchar_t* format, va_list args);
// Bounded formatting: writes at most count - 1 characters and a terminator;
// returns the characters written, or -1 when the text did not fit or count is 0.
KMRX_API int kmVswprintf(wchar_t* buf, std::size_t count, const wchar_t* format, va_list args);
KMRX_API int kmSwprintf(wchar_t* buf, std::size_t count, const wchar_t* format, ...);
