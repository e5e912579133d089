// The factory service "KernelServices": containers as interfaces.
#pragma once
#include "YcRxService.h"

class YcRxClass;
class YcRxDictionary;
class YcRxGenericCollection;
class YcRxGenericMap;

class KMRX_API YcRxKernel : public YcRxService {
public:
  YCRX_DECLARE_MEMBERS(YcRxKernel);

  virtual YcRxDictionary* newYcRxDictionary(bool sorted, bool ignoreCase) = 0;
  virtual YcRxDictionary* newYcRxDictionary(unsigned int length, bool deletesObjects, bool sorted,
                                            bool ignoreCase) = 0;
  virtual YcRxDictionary* newYcRxDictionary(const YcRxClass* filter) = 0;
  virtual YcRxGenericCollection* newYcRxGenericCollection() = 0;
  virtual YcRxGenericMap* newYcRxGenericMap() = 0;
};
