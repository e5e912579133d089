// The area protocol's extension objects and attaching them to the shapes.
#include "Shapes.h"

namespace {

// The default for every shape: no formula. Attached to ExShape, so any shape
// class without an extension of its own answers with this one.
class ShapeArea : public ExAreaProtocol {
public:
  double area(const ExShape*) const override { return -1.0; }
  const wchar_t* formula() const override { return L"none (the default every shape inherits)"; }
};

class CircleArea : public ExAreaProtocol {
public:
  double area(const ExShape* s) const override { return 3.14159265358979323846 * s->size * s->size; }
  const wchar_t* formula() const override { return L"pi * r^2"; }
};

class SquareArea : public ExAreaProtocol {
public:
  double area(const ExShape* s) const override { return s->size * s->size; }
  const wchar_t* formula() const override { return L"s^2"; }
};

// Classes never own their extensions: the module creates them and deletes
// them again.
ShapeArea* gShapeArea = nullptr;
CircleArea* gCircleArea = nullptr;
SquareArea* gSquareArea = nullptr;

}  // namespace

void attachAreaExtensions() {
  gShapeArea = new ShapeArea();
  gCircleArea = new CircleArea();
  gSquareArea = new SquareArea();
  // The default first: addX pushes it down to ExCircle and ExSquare, then
  // their own extensions replace it there.
  ExShape::desc()->addX(ExAreaProtocol::desc(), gShapeArea);
  ExCircle::desc()->addX(ExAreaProtocol::desc(), gCircleArea);
  ExSquare::desc()->addX(ExAreaProtocol::desc(), gSquareArea);
}

void detachAreaExtensions() {
  // delX gives a class back what it inherits; on ExShape that is nothing,
  // since "AcRxObject" has no area extension. Only then delete the objects.
  ExCircle::desc()->delX(ExAreaProtocol::desc());
  ExSquare::desc()->delX(ExAreaProtocol::desc());
  ExShape::desc()->delX(ExAreaProtocol::desc());
  delete gSquareArea;
  delete gCircleArea;
  delete gShapeArea;
  gSquareArea = nullptr;
  gCircleArea = nullptr;
  gShapeArea = nullptr;
}
