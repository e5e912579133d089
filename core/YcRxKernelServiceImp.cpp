// The kernel service: hands out containers as interfaces.
#include "YcRxKernelServiceImp.h"

#include "YcRxDictionaryImp.h"
#include "YcRxLinkedList.h"
#include "YcRxMap.h"

YCRX_DEFINE_MEMBERS(YcRxKernel, L"AcRxKernel", L"AcRxService")
YCRX_DEFINE_MEMBERS(YcRxKernelServiceImp, L"YcRxKernelServiceImp", L"AcRxKernel")

YcRxDictionary* YcRxKernelServiceImp::newYcRxDictionary(bool sorted, bool ignoreCase) {
  return newYcRxDictionary(0u, false, sorted, ignoreCase);
}

YcRxDictionary* YcRxKernelServiceImp::newYcRxDictionary(unsigned int length, bool deletesObjects,
                                                        bool sorted, bool ignoreCase) {
  return YcRxDictionaryImp::createDictionary(length, deletesObjects, sorted, ignoreCase, nullptr);
}

YcRxDictionary* YcRxKernelServiceImp::newYcRxDictionary(const YcRxClass* filter) {
  return YcRxDictionaryImp::createDictionary(0, false, false, false, filter);
}

YcRxGenericCollection* YcRxKernelServiceImp::newYcRxGenericCollection() { return new YcRxLinkedList(); }

YcRxGenericMap* YcRxKernelServiceImp::newYcRxGenericMap() { return new YcRxMap(); }
