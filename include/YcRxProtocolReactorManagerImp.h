// A reactor manager: owns its reactor lists, found by identity of the reactor class.
#pragma once
#include "YcRxLinkedList.h"
#include "YcRxProtocolReactorListImp.h"
#include "YcRxProtocolReactorManager.h"

class KMRX_API YcRxProtocolReactorManagerImp : public YcRxProtocolReactorManager {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorManagerImp);

  YcRxProtocolReactorManagerImp();
  ~YcRxProtocolReactorManagerImp() override;

  YcRxProtocolReactorList* createReactorList(YcRxClass* reactorClass) override;
  YcRxProtocolReactorListIterator* newIterator() const override;

  YcRxProtocolReactorListImp* findReactorList(YcRxClass* reactorClass) const;
  void clearAllList();
  YcRxIterator* internalIterator() const { return mLists.newIterator(); }

private:
  YcRxLinkedList mLists;
};
