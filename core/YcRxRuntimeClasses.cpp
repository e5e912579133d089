// The runtime's own classes, registered at start-up in this order. Parents are
// linked afterwards, so the order need not follow the class tree.
#include "KmRx.h"
#include "core/YcRxInternal.h"

void kmrxRegisterRuntimeClasses() {
  YcRxClass::rxInit();
  YcRxClassImp::rxInit();
  YcRxString::rxInit();
  YcRxDictionary::rxInit();
  YcRxDictionaryImp::rxInit();
  YcRxIterator::rxInit();
  YcRxDictionaryIterator::rxInit();
  YcRxDictionaryImpIterator::rxInit();
  YcRxService::rxInit();
  YcRxKernel::rxInit();
  YcRxKernelServiceImp::rxInit();
  YcRxDynLoadModuleProxy::rxInit();
  YcRxDynamicLinker::rxInit();
  YcRxDynamicLinkerImp::rxInit();
  YcRxDLinkerReactor::rxInit();
  YcRxIterable::rxInit();
  YcRxGenericCollection::rxInit();
  YcRxLinkedList::rxInit();
  YcRxLinkedListIterator::rxInit();
  YcRxGenericMap::rxInit();
  YcRxGenericMapIterator::rxInit();
  YcRxMap::rxInit();
  YcRxMapIterator::rxInit();
  YcRxPEClassMap::rxInit();
  YcRxPEClassMapIterator::rxInit();
  YcRxProtocolReactorManagerFactory::rxInit();
  YcRxProtocolReactorManager::rxInit();
  YcRxProtocolReactorList::rxInit();
  YcRxProtocolReactorListIterator::rxInit();
  YcRxProtocolReactor::rxInit();
  YcRxProtocolReactorIterator::rxInit();
  YcRxProtocolReactorManagerFactoryImp::rxInit();
  YcRxProtocolReactorManagerImp::rxInit();
  YcRxProtocolReactorListImp::rxInit();
  YcRxProtocolReactorListIteratorImp::rxInit();
  YcRxProtocolReactorIteratorImp::rxInit();
}
