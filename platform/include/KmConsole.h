// The terminal, for hosts with a prompt.
#pragma once
#include "KmRxExport.h"

// True when standard input is a terminal (a person typing), false for a pipe or file.
KMRX_API bool kmIsInteractiveInput();
