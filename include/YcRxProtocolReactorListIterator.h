// Walks the reactor lists of one reactor manager.
#pragma once
#include "YcRxProtocolReactorList.h"

class KMRX_API YcRxProtocolReactorListIterator : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorListIterator);

  virtual void start() = 0;
  virtual bool next() = 0;
  virtual bool done() const = 0;
  virtual YcRxProtocolReactorList* object() const = 0;
};
