// Internal to the platform layer: wide text <-> UTF-8 for OS paths and files.
#pragma once
#include <string>

std::string kmToUtf8(const wchar_t* text);
// Invalid sequences become U+FFFD.
std::wstring kmFromUtf8(const char* text, std::size_t length);
inline std::wstring kmFromUtf8(const std::string& text) { return kmFromUtf8(text.data(), text.size()); }
