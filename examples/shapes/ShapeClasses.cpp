// Registering and retiring the runtime classes of shapes.yrx.
#include "Shapes.h"

// Each pair gives a class its desc(), isA(), cast() and rxInit(). The
// _WITH_CONS form also registers a pseudo-constructor, so that
// ExCircle::desc()->create() makes an ExCircle; the protocol class has none
// (it is abstract: its objects come from AreaProtocol.cpp).
YCRX_DEFINE_MEMBERS_WITH_CONS(ExShape, L"ExShape", L"AcRxObject")
YCRX_DEFINE_MEMBERS_WITH_CONS(ExCircle, L"ExCircle", L"ExShape")
YCRX_DEFINE_MEMBERS_WITH_CONS(ExSquare, L"ExSquare", L"ExShape")
YCRX_DEFINE_MEMBERS(ExAreaProtocol, L"ExAreaProtocol", L"AcRxObject")

void registerShapeClasses() {
  // Called from the init message: the linker stamps every class registered
  // now with this module, which is how hosts show who brought a class.
  ExAreaProtocol::rxInit();
  ExShape::rxInit();
  ExCircle::rxInit();
  ExSquare::rxInit();
  // A new class joins the class tree when the tree is next built. The linker
  // builds it after a successful init; building it now already links the
  // classes, so the extensions attached next flow down the tree at once.
  ycrxBuildClassHierarchy();
}

void condemnShapeClasses() {
  // Condemned classes stay usable until the outermost unload ends, then they
  // are destroyed in the order condemned, so children go first. A class left
  // registered would keep a constructor pointing into an unloaded module.
  deleteYcRxClass(ExCircle::desc());
  deleteYcRxClass(ExSquare::desc());
  deleteYcRxClass(ExShape::desc());
  deleteYcRxClass(ExAreaProtocol::desc());
}
