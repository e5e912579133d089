// The one export macro: everything is hidden unless marked with it.
#pragma once

#define KMRX_API __attribute__((visibility("default")))

// For extension modules: marks the symbols the linker looks up in a module.
#define KMRX_MODULE_EXPORT extern "C" __attribute__((visibility("default")))
