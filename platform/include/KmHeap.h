// The platform allocator used for runtime objects and strings.
#pragma once
#include <cstddef>
#include "KmRxExport.h"

KMRX_API void* _kmMalloc(std::size_t bytes);
KMRX_API void _kmFree(void* block);
// Copy of a wide string from _kmMalloc; null for null or when memory runs out.
KMRX_API wchar_t* _kmStrdup(const wchar_t* text);
KMRX_API void _kmStrdupFree(wchar_t* text);
