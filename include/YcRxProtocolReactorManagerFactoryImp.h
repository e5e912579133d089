// The reactor manager factory registered at start-up.
#pragma once
#include "YcRxProtocolReactorManagerFactory.h"

class KMRX_API YcRxProtocolReactorManagerFactoryImp : public YcRxProtocolReactorManagerFactory {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorManagerFactoryImp);

  YcRxProtocolReactorManagerFactoryImp() = default;
  // Managers live on their classes as extensions, which never own them; the
  // factory that made them deletes them when the service goes at teardown.
  ~YcRxProtocolReactorManagerFactoryImp() override;

  YcRxProtocolReactorManager* createReactorManager(YcRxClass* cls) const override;
};
