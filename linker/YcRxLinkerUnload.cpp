// The unload protocol: the module is asked to let go, loses its services and
// classes, observers are told, and it is released in queue order when the
// outermost unload ends.
#include "YcDbHostApplicationServices.h"
#include "YcRxClassImp.h"
#include "YcRxDictionaryImp.h"
#include "YcRxDictionaryWalker.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxLinkedList.h"
#include "YcRxModuleGlobal.h"
#include "YcRxService.h"
#include "containers/KmRxVisit.h"
#include "linker/YcRxLinkerInternal.h"
#include "linker/YcRxLinkerLeftovers.h"

#include <string>

namespace {

// Shared by nested runs: a refusal anywhere makes the outer run report failure too.
bool bUnloadSucceed = true;
bool bNeedManageMDIMode = false;

struct DelAllDynModuleProxy {
  bool operator()(YcRxObject* value, int) const {
    _safeDeleteModuleObjectCE(value, YcRxDynamicLinkerImp::mySelf());
    return false;
  }
};

}  // namespace

void _safeDeleteModuleObjectSE(YcRxObject* object, YcRxObject* self) {
  if (object && object != self) delete object;
}

void _safeDeleteModuleObjectCE(YcRxObject* object, YcRxObject* self) {
  try {
    _safeDeleteModuleObjectSE(object, self);
  } catch (...) {
    // A record whose module throws while going away must not stop the clean-up.
  }
}

namespace {
// Whether record's unload was accepted already and waits for the outermost run to end.
bool isQueued(const YcRxLinkedList* queue, const YcRxDynLoadModuleProxy* record) {
  for (const YcRxLinkedNode* n = queue->frontNode(); n; n = n->next())
    if (n->object() == record) return true;
  return false;
}
}  // namespace

bool YcRxDynamicLinkerImp::unloadModule(const wchar_t* name, bool flag) {
  if (!name || !*name) return false;
  YcRxDynLoadModuleProxy* record = findRxModuleProxyByModuleName(name, false);
  // A module already on its way out is not unloaded a second time.
  if (!record || isQueued(mpUnloadQueue, record)) return false;
  if (record->isLocked() || record->sendingMessage()) {
    kmrxShowMessage(KmRxMsg::kCannotUnload, record->fileName());
    return false;
  }
  // The count before the release: a single load leaves 1, so the first call
  // only lowers it and the second one unloads. Callers pair them so.
  if (record->releaseModuleRef() > 0) return !flag;
  return startYrxUnloadProtocol(record, true);
}

bool YcRxDynamicLinkerImp::unloadApp(const wchar_t* appName, bool flag) {
  if (!appName || !*appName) return false;
  YcRxDynLoadModuleProxy* record = findRxModuleProxyByAppName(appName);
  if (!record) return false;
  return unloadModule(record->fileName(), flag);
}

namespace {

// A module that fails or throws out of its unload message: a forced unload
// goes on, a polite one is abandoned; either way the log says why.
void reportUnloadRefused(YcRxDynLoadModuleProxy* record, const std::wstring& fileName, bool force) {
  KmRxContext* context = kmrxContext();
  const KmRxContext::MessageFault fault = context ? context->takeMessageFault(record) : KmRxContext::MessageFault();
  const std::wstring why = fault.threw ? L"its unload message threw " + fault.text
                                       : fault.text.empty() ? L"it refused" : fault.text;
  kmrxLog(L"yrx " + fileName + L" unload: " + why + (force ? L"; it is unloaded all the same" : L"; it stays loaded"));
}

}  // namespace

bool YcRxDynamicLinkerImp::startYrxUnloadProtocol(YcRxDynLoadModuleProxy* record, bool force) {
  if (!record || isQueued(mpUnloadQueue, record)) return false;
  // Taken now: the record may be released and deleted before the end.
  const std::wstring fileName(record->fileName() ? record->fileName() : L"");
  record->releaseModuleRef();
  kmrxLogLine(L"yrx %s unload", fileName.c_str());
  beginUnloadYrxModule();
  sendBeginYrxUnloading(fileName.c_str());
  const bool accepted = record->sendMessageToApp(YcRx::kAppUnloadMsg, record);
  if (!accepted) reportUnloadRefused(record, fileName, force);
  if (accepted || force) {
    notifyYrxUnloadingToEdSys(record);
    unloadRegistedServices(record);
    // Not part of the protocol as defined: without it the next call into a
    // leftover runs unmapped code.
    kmrxDetachLeftovers(*this, record);
    resetRegistedClassesbyModule(record);
    sendEndYrxUnloading(fileName.c_str());
    if (!bNeedManageMDIMode) bNeedManageMDIMode = !record->isMDIAware();
    mpUnloadQueue->addTail(record);
    if (doPhysicalUnload()) physicallyUnloadModulesInQueueOrder();
  } else {
    record->addModuleRef();
    bUnloadSucceed = false;
    sendAbortYrxUnloading(fileName.c_str());
  }
  if (bNeedManageMDIMode && !hasNoMDIAwareModule()) {
    if (YcadHostApplication* app = kmrxHostApp()) app->resumeMultiDocument();
    bNeedManageMDIMode = false;
  }
  endUnloadYrxModule();
  const bool result = bUnloadSucceed;
  bUnloadSucceed = true;
  return result;
}

void YcRxDynamicLinkerImp::notifyYrxUnloadingToEdSys(YcRxDynLoadModuleProxy*) {
  // The place to tell the host's editor system; it has nothing to hear yet.
}

void YcRxDynamicLinkerImp::unloadRegistedServices(YcRxDynLoadModuleProxy* record) {
  if (!record) return;
  // Looked up by name, as the protocol is defined.
  YcRxDictionary* services = kmrxRegisteredServiceDictionary();
  if (!services) return;
  // Walked without an iterator to allocate: a service left behind would be
  // deleted twice, by its module and at teardown.
  kmrxVisitEntries(services, YcRx::kDictIdOrder, [&](YcRxDictionaryIterator& entry) {
    YcRxService* service = YcRxService::cast(entry.object());
    if (service && service->getSysInfo() == record) services->remove(entry.id());
  });
}

void YcRxDynamicLinkerImp::resetRegistedClassesbyModule(YcRxDynLoadModuleProxy* record) {
  if (!record) return;
  // Looked up by name, as the protocol is defined.
  YcRxDictionary* classes = kmrxRegisteredClassDictionary();
  if (!classes) return;
  // The ledger lists exactly the classes stamped with the record: those in
  // the dictionary, which the protocol walks the dictionary for, and those a
  // namesake displaced, which would keep a stamp of a record about to go.
  KmRxContext* context = kmrxContext();
  if (context && context->classes.complete()) {
    try {
      for (const auto& entry : context->classes.of(record))
        YcRxClassImp::getImplRxClass(entry.key)->setModuleProxy(nullptr);
      return;
    } catch (const std::bad_alloc&) {
      // The walk below does it without allocating.
    }
  }
  kmrxVisitEntries(classes, YcRx::kDictIdOrder, [&](YcRxDictionaryIterator& entry) {
    YcRxClassImp* cls = YcRxClassImp::getImplRxClass(static_cast<YcRxClass*>(entry.object()));
    if (cls && cls->moduleProxy() == record) cls->setModuleProxy(nullptr);
  });
  if (context)
    for (int i = 0; i < context->displacedClasses.length(); ++i) {
      YcRxClassImp* cls = YcRxClassImp::getImplRxClass(context->displacedClasses[i]);
      if (cls->moduleProxy() == record) cls->setModuleProxy(nullptr);
    }
}

void YcRxDynamicLinkerImp::beginUnloadYrxModule() { ++mUnloadDepth; }

void YcRxDynamicLinkerImp::endUnloadYrxModule() {
  if (--mUnloadDepth == 0) YcRxClassImp::destroyDoomedRxClasses(true);
}

bool YcRxDynamicLinkerImp::doPhysicalUnload() const { return mUnloadDepth == 1; }

void YcRxDynamicLinkerImp::physicallyUnloadModulesInQueueOrder() {
  while (mpUnloadQueue->count() != 0) {
    auto* record = static_cast<YcRxDynLoadModuleProxy*>(mpUnloadQueue->removeFront());
    if (!record) continue;
    record->unloadModule();
    const std::wstring key = kmrxModuleKey(record->fileName());
    // Only this record's own entry goes; a later load of the path may stand there.
    KmRxContext* context = kmrxContext();
    if (mpModules->at(key.c_str()) == record) {
      mpModules->remove(key.c_str());
      if (context) context->noteModuleKey(this, key.c_str(), false);
    }
    if (context) context->supersededRecords.remove(record);
    delete record;
  }
}

void YcRxDynamicLinkerImp::cleanUp() {
  if (!mpModules) return;  // construction ran out of memory before it
  // Every record goes, walked without an iterator to allocate.
  const DelAllDynModuleProxy deleteRecord;
  kmrxVisitEntries(mpModules, YcRx::kDictIdOrder, [&](YcRxDictionaryIterator& entry) {
    if (YcRxObject* record = entry.object()) deleteRecord(record, 0);
  });
  static_cast<YcRxDictionaryImp*>(mpModules)->clear(false);
  if (KmRxContext* context = kmrxContext()) {
    context->noteModulesCleared(this);
    YcArray<YcRxDynLoadModuleProxy*>& superseded = context->supersededRecords;
    for (int i = 0; i < superseded.length(); ++i) delete superseded[i];
    superseded.setLogicalLength(0);
  }
}
