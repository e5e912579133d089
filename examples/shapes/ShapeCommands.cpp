// The commands of shapes.yrx: SHAPES lists the shape kinds, AREA computes an
// area through the area protocol, converting units with units.yrx.
#include <sstream>
#include <string>

#include "Shapes.h"

namespace {

// The signature units.yrx exports as "unitsPerMillimetre": how many of a unit
// make one millimetre, 0 for an unknown unit. Nothing checks it: it must
// match the exporting module's definition.
typedef double (*UnitsPerMillimetreFunc)(const wchar_t* unit);

struct Kind {
  const wchar_t* name;    // as typed after AREA
  YcRxClass* (*desc)();   // the class it makes
};

const Kind kKinds[] = {
    {L"circle", &ExCircle::desc},
    {L"square", &ExSquare::desc},
    {L"shape", &ExShape::desc},
};

const Kind* findKind(const std::wstring& name) {
  for (const Kind& k : kKinds) {
    if (name == k.name) return &k;
  }
  return nullptr;
}

// The area extension that obj's class carries, or null: one look-up, whatever
// the class.
const ExAreaProtocol* areaProtocolOf(const YcRxObject* obj) {
  return ExAreaProtocol::cast(obj->queryX(ExAreaProtocol::desc()));
}

// Found through the service on every call rather than kept: if units.yrx
// went away, this gives null instead of a dangling pointer.
UnitsPerMillimetreFunc unitsPerMillimetre() {
  return reinterpret_cast<UnitsPerMillimetreFunc>(
      ycrxGetServiceSymbolAddr(L"UnitsService", "unitsPerMillimetre"));
}

void print(YrxHostCommands* host, const std::wostringstream& text) {
  host->print(text.str().c_str());
}

}  // namespace

int shapesCommand(const wchar_t*, YrxHostCommands* host) {
  host->print(L"Shape kinds (class <- parent: area by the class's ExAreaProtocol extension):");
  for (const Kind& k : kKinds) {
    YcRxClass* cls = k.desc();
    YcRxClass* parent = cls->myParent();
    // An object is not needed to reach a class's extension: the class has it.
    const ExAreaProtocol* area = ExAreaProtocol::cast(cls->queryX(ExAreaProtocol::desc()));
    std::wostringstream line;
    line << L"  " << k.name << L"\t" << cls->name() << L" <- " << (parent ? parent->name() : L"-")
         << L"\t" << (area ? area->formula() : L"no extension");
    print(host, line);
  }
  return 0;
}

int areaCommand(const wchar_t* args, YrxHostCommands* host) {
  std::wistringstream in(args);
  std::wstring kindName;
  std::wstring unit = L"mm";
  double size = 0.0;
  in >> kindName >> size;
  const Kind* kind = findKind(kindName);
  if (!kind || in.fail() || size <= 0.0) {
    host->print(L"usage: AREA circle|square|shape <size> [unit]   e.g. AREA circle 2 cm");
    host->print(L"       (a circle's size is its radius, a square's its side; units as UNITS lists them)");
    return 1;
  }
  in >> unit;

  UnitsPerMillimetreFunc perMillimetre = unitsPerMillimetre();
  if (!perMillimetre) {
    host->print(L"AREA: UnitsService (units.yrx) is not loaded.");
    return 1;
  }
  const double factor = perMillimetre(unit.c_str());
  if (factor <= 0.0) {
    std::wostringstream text;
    text << L"AREA: unknown unit \"" << unit << L"\"; UNITS lists the known ones.";
    print(host, text);
    return 1;
  }

  // Made through the class's pseudo-constructor, as a host would make an
  // object of a class it knows only by name.
  YcRxObject* object = kind->desc()->create();
  ExShape* shape = ExShape::cast(object);
  if (!shape) {
    delete object;
    return 1;
  }
  shape->size = size / factor;  // shapes keep millimetres

  const ExAreaProtocol* protocol = areaProtocolOf(shape);
  const double squareMillimetres = protocol ? protocol->area(shape) : -1.0;
  std::wostringstream text;
  text << kind->name << L" (" << shape->isA()->name() << L"), size " << size << L" " << unit;
  if (squareMillimetres < 0.0) {
    text << L": no area; its class has only the default extension.";
  } else {
    text << L": area " << protocol->formula() << L" = " << squareMillimetres * factor * factor
         << L" " << unit << L"^2";
    if (factor != 1.0) text << L" (" << squareMillimetres << L" mm^2)";
  }
  print(host, text);
  delete object;
  return 0;
}
