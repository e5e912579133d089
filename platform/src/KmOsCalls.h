// Internal to the platform layer: counts a call of a kind and says whether
// the test switches want it to fail.
#pragma once
#include "KmRxTesting.h"

bool kmOsCallFails(KmOsCall call);
