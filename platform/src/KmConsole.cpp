#include "KmConsole.h"
#include "KmOsCalls.h"

namespace {
constexpr int kStandardInput = 0;
}

bool kmIsInteractiveInput() { return kmOsIsTerminal(kStandardInput) == 1; }
