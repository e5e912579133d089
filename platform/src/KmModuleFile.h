// Internal: the look at a module file, for a path already in the OS's bytes.
#pragma once
#include <string>

#include "KmModuleCheck.h"

bool kmCheckModuleBytes(const std::string& path, const char* const* requiredExports, int count,
                        KmModuleCheck& result);
// True once when path is the file the last check on this thread passed,
// exports included: the load that follows need not read it again.
bool kmModuleJustChecked(const std::string& path);
