// The runtime's own classes, registered at start-up in this order. Parents are
// linked afterwards, so the order need not follow the class tree.
#include "KmRx.h"
#include "core/YcRxInternal.h"

namespace {

struct RuntimeClass {
  const wchar_t* name;
  void (*rxInit)();
  YcRxClass* (*desc)();
};

#define KMRX_RUNTIME_CLASS(C) {L## #C, &C::rxInit, &C::desc}
const RuntimeClass kRuntimeClasses[] = {
    KMRX_RUNTIME_CLASS(YcRxClass),
    KMRX_RUNTIME_CLASS(YcRxClassImp),
    KMRX_RUNTIME_CLASS(YcRxString),
    KMRX_RUNTIME_CLASS(YcRxDictionary),
    KMRX_RUNTIME_CLASS(YcRxDictionaryImp),
    KMRX_RUNTIME_CLASS(YcRxIterator),
    KMRX_RUNTIME_CLASS(YcRxDictionaryIterator),
    KMRX_RUNTIME_CLASS(YcRxDictionaryImpIterator),
    KMRX_RUNTIME_CLASS(YcRxService),
    KMRX_RUNTIME_CLASS(YcRxKernel),
    KMRX_RUNTIME_CLASS(YcRxKernelServiceImp),
    KMRX_RUNTIME_CLASS(YcRxDynLoadModuleProxy),
    KMRX_RUNTIME_CLASS(YcRxDynamicLinker),
    KMRX_RUNTIME_CLASS(YcRxDynamicLinkerImp),
    KMRX_RUNTIME_CLASS(YcRxDLinkerReactor),
    KMRX_RUNTIME_CLASS(YcRxIterable),
    KMRX_RUNTIME_CLASS(YcRxGenericCollection),
    KMRX_RUNTIME_CLASS(YcRxLinkedList),
    KMRX_RUNTIME_CLASS(YcRxLinkedListIterator),
    KMRX_RUNTIME_CLASS(YcRxGenericMap),
    KMRX_RUNTIME_CLASS(YcRxGenericMapIterator),
    KMRX_RUNTIME_CLASS(YcRxMap),
    KMRX_RUNTIME_CLASS(YcRxMapIterator),
    KMRX_RUNTIME_CLASS(YcRxPEClassMap),
    KMRX_RUNTIME_CLASS(YcRxPEClassMapIterator),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorManagerFactory),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorManager),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorList),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorListIterator),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactor),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorIterator),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorManagerFactoryImp),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorManagerImp),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorListImp),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorListIteratorImp),
    KMRX_RUNTIME_CLASS(YcRxProtocolReactorIteratorImp),
};
#undef KMRX_RUNTIME_CLASS

}  // namespace

void kmrxRegisterRuntimeClasses() {
  for (const RuntimeClass& cls : kRuntimeClasses) cls.rxInit();
}

const wchar_t* kmrxMissingRuntimeClass() {
  for (const RuntimeClass& cls : kRuntimeClasses)
    if (!cls.desc()) return cls.name;
  return nullptr;
}

const wchar_t* kmrxUnlinkedRuntimeClass() {
  for (const RuntimeClass& cls : kRuntimeClasses)
    if (!cls.desc() || !cls.desc()->myParent()) return cls.name;
  return nullptr;
}
