// Internal helpers shared by the dynamic linker's sources.
#pragma once
#include <string>

#include "KmRxMessageIds.h"
#include "core/KmRxContext.h"
#include "core/KmRxReports.h"

class YcadHostApplication;
class YcRxDictionary;
class YcRxDynamicLinkerImp;
class YcRxDynLoadModuleProxy;

// The module dictionary key of a path: the platform module name of its full path.
std::wstring kmrxModuleKey(const wchar_t* path);
