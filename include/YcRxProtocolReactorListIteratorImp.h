// Iterator over a reactor manager's lists.
#pragma once
#include "YcRxProtocolReactorListIterator.h"

class YcRxIterator;
class YcRxProtocolReactorManagerImp;

class KMRX_API YcRxProtocolReactorListIteratorImp : public YcRxProtocolReactorListIterator {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorListIteratorImp);

  explicit YcRxProtocolReactorListIteratorImp(const YcRxProtocolReactorManagerImp* manager);
  ~YcRxProtocolReactorListIteratorImp() override;
  YcRxProtocolReactorListIteratorImp(const YcRxProtocolReactorListIteratorImp&) = delete;
  YcRxProtocolReactorListIteratorImp& operator=(const YcRxProtocolReactorListIteratorImp&) = delete;

  void start() override;
  bool next() override;
  bool done() const override;
  YcRxProtocolReactorList* object() const override;

private:
  const YcRxProtocolReactorManagerImp* mpManager;
  YcRxIterator* mpCursor;
};
