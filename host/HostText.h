// Small text helpers of the host: narrow/wide conversion, case-insensitive
// comparison, splitting a command line.
#pragma once
#include <string>

// UTF-8 to wide and back; bytes that are not UTF-8 survive the round trip,
// so a file name typed or given on the command line is found as it is.
std::wstring widen(const char* bytes);
std::string narrow(const std::wstring& wide);
std::wstring upper(std::wstring text);
bool equalNoCase(const std::wstring& a, const std::wstring& b);
std::wstring trim(const std::wstring& text);
// Splits "word rest of line" at the first blank.
void splitFirstWord(const std::wstring& line, std::wstring& word, std::wstring& rest);
