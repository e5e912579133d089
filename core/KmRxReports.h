// How the runtime tells the host and the user what happened: message texts
// from the resource module shown through the host, lines in the host's log,
// and names for the objects a report is about.
#pragma once
#include <exception>
#include <string>

class YcRxDynLoadModuleProxy;
class YcRxObject;

// Shows resource message id with its one "%s" filled in, and the detail after
// it when given. Nothing without a host services object.
void kmrxShowMessage(int id, const wchar_t* arg, const wchar_t* detail = nullptr);
// Shows resource message id that takes two "%s".
void kmrxShowMessage2(int id, const wchar_t* first, const wchar_t* second);
// Writes a line to the host's log: a format with one %s, or a finished line.
void kmrxLogLine(const wchar_t* format, const wchar_t* fileName);
void kmrxLog(const std::wstring& line);
// What an object is, for a report: its C++ type (a module's own class name),
// else its registered class name.
std::wstring kmrxTypeName(const YcRxObject* object);
// What an exception is and says, e.g. "std::runtime_error: no units table".
std::wstring kmrxExceptionText(const std::exception& e);
// A module as the user knows it: its file's name with extension.
std::wstring kmrxModuleName(const YcRxDynLoadModuleProxy* module);
std::wstring kmrxModuleName(const wchar_t* fileName);
