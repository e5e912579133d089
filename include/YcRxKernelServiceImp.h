// The kernel service registered at start-up.
#pragma once
#include "YcRxKernel.h"

class KMRX_API YcRxKernelServiceImp : public YcRxKernel {
public:
  YCRX_DECLARE_MEMBERS(YcRxKernelServiceImp);

  YcRxDictionary* newYcRxDictionary(bool sorted, bool ignoreCase) override;
  YcRxDictionary* newYcRxDictionary(unsigned int length, bool deletesObjects, bool sorted,
                                    bool ignoreCase) override;
  YcRxDictionary* newYcRxDictionary(const YcRxClass* filter) override;
  YcRxGenericCollection* newYcRxGenericCollection() override;
  YcRxGenericMap* newYcRxGenericMap() override;
};
