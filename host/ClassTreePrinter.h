// The runtime's class tree as text: each class indented under its parent,
// with the module that registered it.
#pragma once
#include <string>
#include <vector>

class YcRxClass;

std::vector<std::wstring> classTreeLines(YcRxClass* root);
