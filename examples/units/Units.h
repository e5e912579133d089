// What the two source files of units.yrx share. Nothing here is seen by other
// modules: they reach this module only through the service "UnitsService"
// and the functions it exports (see UnitsTable.cpp).
#pragma once
#include "KmRx.h"
#include "YrxHostApi.h"

// The service this module publishes. A module can publish a plain YcRxService
// (ycrxRegisterService does that); a subclass of its own is where a service
// keeps its state, here a counter that the UNITS command shows.
class UnitsService : public YcRxService {
public:
  int conversions = 0;  // factors handed out through unitsPerMillimetre
};

// The service while the module is loaded, else null.
extern UnitsService* gUnitsService;

// The command UNITS (group "UNITS"): lists the units this module knows.
int unitsCommand(const wchar_t* args, YrxHostCommands* host);
