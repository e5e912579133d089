// Internal helpers shared by the dynamic linker's sources.
#pragma once
#include <string>

#include "KmRxMessageIds.h"
#include "core/KmRxContext.h"

class YcadHostApplication;
class YcRxDictionary;
class YcRxDynamicLinkerImp;
class YcRxDynLoadModuleProxy;

// Shows resource message id with one argument, and the detail after it when given.
void kmrxShowMessage(int id, const wchar_t* arg, const wchar_t* detail = nullptr);
// Writes a line to the host's log (a format with one %s).
void kmrxLogLine(const wchar_t* format, const wchar_t* fileName);
// The module dictionary key of a path: the platform module name of its full path.
std::wstring kmrxModuleKey(const wchar_t* path);
