// The reactor lists of one runtime class, one per reactor class, kept on the
// class as its protocol extension.
#pragma once
#include "YcRxProtocolReactorListIterator.h"

class KMRX_API YcRxProtocolReactorManager : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorManager);

  // The list for reactorClass, created when there is none; the manager keeps it.
  virtual YcRxProtocolReactorList* createReactorList(YcRxClass* reactorClass) = 0;
  virtual YcRxProtocolReactorListIterator* newIterator() const = 0;
};
