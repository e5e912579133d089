// The service "ProtocolReactorManager": finds or creates a class's reactor manager.
#pragma once
#include "YcRxProtocolReactorManager.h"
#include "YcRxService.h"

class KMRX_API YcRxProtocolReactorManagerFactory : public YcRxService {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorManagerFactory);

  virtual YcRxProtocolReactorManager* createReactorManager(YcRxClass* cls) const = 0;
};
