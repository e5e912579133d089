// Walks the reactors of one reactor list.
#pragma once
#include "YcRxProtocolReactor.h"

class KMRX_API YcRxProtocolReactorIterator : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorIterator);

  virtual YcRxClass* reactorClass() const = 0;
  virtual void start() = 0;
  virtual bool next() = 0;
  virtual bool done() const = 0;
  virtual YcRxProtocolReactor* object() const = 0;
};
