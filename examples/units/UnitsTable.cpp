// The units units.yrx knows, the function it exports for other modules, and
// its UNITS command.
#include <cwctype>
#include <sstream>

#include "Units.h"

namespace {

struct Unit {
  const wchar_t* name;
  const wchar_t* description;
  double perMillimetre;  // how many of this unit make one millimetre
};

const Unit kUnits[] = {
    {L"mm", L"millimetre", 1.0},
    {L"cm", L"centimetre", 0.1},
    {L"m", L"metre", 0.001},
    {L"in", L"inch", 1.0 / 25.4},
    {L"ft", L"foot", 1.0 / 304.8},
};

bool sameName(const wchar_t* a, const wchar_t* b) {
  for (; *a && *b; ++a, ++b) {
    if (std::towlower(static_cast<std::wint_t>(*a)) != std::towlower(static_cast<std::wint_t>(*b)))
      return false;
  }
  return *a == *b;
}

}  // namespace

// Exported: other modules find it by name through the service,
//   ycrxGetServiceSymbolAddr(L"UnitsService", "unitsPerMillimetre")
// so they need neither this module's headers nor to link against it. Keep
// such functions extern "C" (KMRX_MODULE_EXPORT does that) so the name looked
// up is the name written here, and keep their signatures stable: callers cast
// the address to the type they expect and nothing checks it.
//
// Returns how many of unit make one millimetre, or 0 for a unit it does not
// know (names are matched without regard to case).
KMRX_MODULE_EXPORT double unitsPerMillimetre(const wchar_t* unit) {
  if (!unit) return 0.0;
  for (const Unit& u : kUnits) {
    if (sameName(unit, u.name)) {
      if (gUnitsService) ++gUnitsService->conversions;
      return u.perMillimetre;
    }
  }
  return 0.0;
}

int unitsCommand(const wchar_t*, YrxHostCommands* host) {
  host->print(L"Units known to units.yrx (1 mm in each):");
  for (const Unit& u : kUnits) {
    std::wostringstream line;
    line << L"  " << u.name << L"\t" << u.description << L"\t" << u.perMillimetre;
    host->print(line.str().c_str());
  }
  std::wostringstream count;
  count << L"Conversions asked for since units.yrx was loaded: "
        << (gUnitsService ? gUnitsService->conversions : 0);
  host->print(count.str().c_str());
  return 0;
}
