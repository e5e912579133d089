#include "KmConsole.h"

#include <unistd.h>

bool kmIsInteractiveInput() { return ::isatty(0) != 0; }
