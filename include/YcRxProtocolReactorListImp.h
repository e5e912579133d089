// A reactor list over an embedded linked list; it never owns its reactors.
#pragma once
#include "YcRxLinkedList.h"
#include "YcRxProtocolReactorList.h"

class KMRX_API YcRxProtocolReactorListImp : public YcRxProtocolReactorList {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorListImp);

  explicit YcRxProtocolReactorListImp(YcRxClass* reactorClass);
  ~YcRxProtocolReactorListImp() override;

  YcRxClass* reactorClass() const override { return mpReactorClass; }
  Ycad::ErrorStatus addReactor(YcRxProtocolReactor* reactor) override;
  Ycad::ErrorStatus removeReactor(YcRxProtocolReactor* reactor) override;
  YcRxProtocolReactorIterator* newIterator() const override;

  YcRxIterator* internalIterator() const { return mReactors.newIterator(); }

private:
  YcRxClass* mpReactorClass;
  YcRxLinkedList mReactors;
};
