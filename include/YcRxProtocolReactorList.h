// The reactors of one kind (reactor class) attached to one runtime class, in
// the order they were first added; a reactor stands in it at most once.
#pragma once
#include "YcRxProtocolReactorIterator.h"

class KMRX_API YcRxProtocolReactorList : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorList);

  virtual YcRxClass* reactorClass() const = 0;
  // eWrongObjectClass when the reactor is not of the list's reactor class.
  virtual Ycad::ErrorStatus addReactor(YcRxProtocolReactor* reactor) = 0;
  virtual Ycad::ErrorStatus removeReactor(YcRxProtocolReactor* reactor) = 0;
  virtual YcRxProtocolReactorIterator* newIterator() const = 0;
};
