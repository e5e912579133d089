// The runtime classes of shapes.yrx, the protocol they answer, and what the
// module's source files share.
#pragma once
#include "KmRx.h"
#include "YrxHostApi.h"

// A shape with one size in millimetres: a circle's radius, a square's side.
// Registered as "ExShape" under the root class "AcRxObject". Registered
// names are global to the host: prefix yours so they cannot meet another
// module's (a second class under a taken name silently replaces the first).
class ExShape : public YcRxObject {
  YCRX_DECLARE_MEMBERS(ExShape);
  double size = 0.0;
};

class ExCircle : public ExShape {
  YCRX_DECLARE_MEMBERS(ExCircle);
};

class ExSquare : public ExShape {
  YCRX_DECLARE_MEMBERS(ExSquare);
};

// A protocol: behaviour added to classes from outside them. One object of it
// (an extension) is attached to a class with addX, every sub-class without
// one of its own inherits it, and obj->queryX(ExAreaProtocol::desc()) finds
// the one for obj's class. The shape classes know nothing about areas.
class ExAreaProtocol : public YcRxObject {
  YCRX_DECLARE_MEMBERS(ExAreaProtocol);
  // The area of shape in square millimetres; negative when unknown.
  virtual double area(const ExShape* shape) const = 0;
  // How it is computed, for the SHAPES listing.
  virtual const wchar_t* formula() const = 0;
};

// ShapeClasses.cpp: register the four classes / condemn them again.
void registerShapeClasses();
void condemnShapeClasses();

// AreaProtocol.cpp: attach the area extensions to the shape classes / take
// them off again and delete them.
void attachAreaExtensions();
void detachAreaExtensions();

// ShapeCommands.cpp: the commands SHAPES and AREA (group "SHAPES").
int shapesCommand(const wchar_t* args, YrxHostCommands* host);
int areaCommand(const wchar_t* args, YrxHostCommands* host);
