// Base of the observer objects modules attach to runtime classes by kind.
#pragma once
#include "YcRxMacros.h"
#include "YcRxObject.h"

class KMRX_API YcRxProtocolReactor : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactor);
};
