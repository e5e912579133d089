// A forward cursor over a runtime container.
#pragma once
#include "YcRxMacros.h"
#include "YcRxObject.h"

class KMRX_API YcRxIterator : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxIterator);

  virtual bool done() const = 0;
  virtual bool next() = 0;
  virtual YcRxObject* object() const = 0;
};
