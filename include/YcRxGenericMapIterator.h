// A cursor over a generic map that also yields each entry's key.
#pragma once
#include "YcRxIterator.h"

class KMRX_API YcRxGenericMapIterator : public YcRxIterator {
public:
  YCRX_DECLARE_MEMBERS(YcRxGenericMapIterator);

  virtual const YcRxObject* key() const = 0;
};
