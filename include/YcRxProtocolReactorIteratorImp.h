// Iterator over a reactor list.
#pragma once
#include "YcRxProtocolReactorIterator.h"

class YcRxIterator;
class YcRxProtocolReactorListImp;

class KMRX_API YcRxProtocolReactorIteratorImp : public YcRxProtocolReactorIterator {
public:
  YCRX_DECLARE_MEMBERS(YcRxProtocolReactorIteratorImp);

  explicit YcRxProtocolReactorIteratorImp(const YcRxProtocolReactorListImp* list);
  ~YcRxProtocolReactorIteratorImp() override;
  YcRxProtocolReactorIteratorImp(const YcRxProtocolReactorIteratorImp&) = delete;
  YcRxProtocolReactorIteratorImp& operator=(const YcRxProtocolReactorIteratorImp&) = delete;

  YcRxClass* reactorClass() const override;
  void start() override;
  bool next() override;
  bool done() const override;
  YcRxProtocolReactor* object() const override;

private:
  const YcRxProtocolReactorListImp* mpList;
  YcRxIterator* mpCursor;
};
