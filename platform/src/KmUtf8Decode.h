// Internal: the one UTF-8 decoder, behind kmFromUtf8 and the wide formatter's
// narrow arguments.
#pragma once

// Decodes the code point at p (which must be before end) and moves p past it.
// end bounds the text; null means it is terminated. Each maximal invalid
// piece becomes one U+FFFD, and no byte is read after one that cannot
// continue the sequence, so a terminator is never passed.
wchar_t kmDecodeUtf8(const unsigned char*& p, const unsigned char* end);
