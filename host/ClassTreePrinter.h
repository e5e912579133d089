// Prints the runtime's class tree: each class indented under its parent.
#pragma once
#include <cstdio>

class YcRxClass;

// Writes the tree below root (the whole tree for the root descriptor) to out.
void printClassTree(std::FILE* out, YcRxClass* root);
