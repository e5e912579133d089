// Protocol reactors: per-class managers (kept as protocol extensions) holding
// one reactor list per reactor class.
#include "YcArray.h"
#include "YcRxClass.h"
#include "YcRxProtocolReactorIteratorImp.h"
#include "YcRxProtocolReactorListIteratorImp.h"
#include "YcRxProtocolReactorManagerFactoryImp.h"
#include "YcRxProtocolReactorManagerImp.h"
#include "core/KmRxContext.h"
#include "core/YcRxInternal.h"

YCRX_DEFINE_MEMBERS(YcRxProtocolReactor, L"AcRxProtocolReactor", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorIterator, L"AcRxProtocolReactorIterator", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorIteratorImp, L"YcRxProtocolReactorIteratorImp",
                    L"AcRxProtocolReactorIterator")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorList, L"AcRxProtocolReactorList", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorListImp, L"YcRxProtocolReactorListImp",
                    L"AcRxProtocolReactorList")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorListIterator, L"AcRxProtocolReactorListIterator",
                    L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorListIteratorImp, L"YcRxProtocolReactorListIteratorImp",
                    L"AcRxProtocolReactorListIterator")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorManager, L"AcRxProtocolReactorManager", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorManagerImp, L"YcRxProtocolReactorManagerImp",
                    L"AcRxProtocolReactorManager")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorManagerFactory, L"AcRxProtocolReactorManagerFactory",
                    L"AcRxService")
YCRX_DEFINE_MEMBERS(YcRxProtocolReactorManagerFactoryImp, L"YcRxProtocolReactorManagerFactoryImp",
                    L"AcRxProtocolReactorManagerFactory")

// --- factory ------------------------------------------------------------------

YcRxProtocolReactorManagerFactoryImp::~YcRxProtocolReactorManagerFactoryImp() {
  KmRxContext* context = kmrxContext();
  if (!context) return;
  // Each leaves the list before it goes, so its destructor finds nothing to take off.
  YcArray<YcRxProtocolReactorManagerImp*>& managers = context->createdManagers;
  while (!managers.isEmpty()) {
    YcRxProtocolReactorManagerImp* manager = managers.last();
    managers.removeLast();
    delete manager;
  }
}

YcRxProtocolReactorManager* YcRxProtocolReactorManagerFactoryImp::createReactorManager(
    YcRxClass* cls) const {
  if (!cls) return nullptr;
  if (YcRxProtocolReactorManager* found =
          YcRxProtocolReactorManager::cast(cls->queryX(YcRxProtocolReactorManager::desc())))
    return found;
  auto* manager = new YcRxProtocolReactorManagerImp();
  KmRxContext* context = kmrxContext();
  if (!manager || !context ||
      !kmrxTry(L"a protocol reactor manager", [&] { context->createdManagers.append(manager); })) {
    delete manager;
    return nullptr;
  }
  // The runtime's own extension, not the requesting module's: its ledger
  // does not list it.
  KmRxRunningModuleScope runtimeWork(nullptr);
  YcRxObject* previous = cls->addX(YcRxProtocolReactorManager::desc(), manager);
  if (previous && previous != manager) delete previous;
  // Not attached (no memory for the extension): the class cannot find it
  // again, so it is no manager of the class's.
  if (cls->queryX(YcRxProtocolReactorManager::desc()) != manager) {
    delete manager;  // leaves createdManagers itself
    return nullptr;
  }
  return manager;
}

// --- manager ---------------------------------------------------------------------

YcRxProtocolReactorManagerImp::YcRxProtocolReactorManagerImp() = default;

YcRxProtocolReactorManagerImp::~YcRxProtocolReactorManagerImp() {
  // A manager its class gave back (delX) and its caller deleted is not the
  // factory's to delete again.
  if (KmRxContext* context = kmrxContext()) context->createdManagers.remove(this);
  clearAllList();
}

YcRxProtocolReactorList* YcRxProtocolReactorManagerImp::createReactorList(YcRxClass* reactorClass) {
  if (!reactorClass) return nullptr;
  if (YcRxProtocolReactorListImp* found = findReactorList(reactorClass)) return found;
  auto* list = new YcRxProtocolReactorListImp(reactorClass);
  if (!list) return nullptr;
  const int before = mLists.count();
  mLists.addTail(list);
  // No node for it: the manager does not hold it, so it is not handed out.
  if (mLists.count() == before) {
    delete list;
    return nullptr;
  }
  return list;
}

YcRxProtocolReactorListIterator* YcRxProtocolReactorManagerImp::newIterator() const {
  return new YcRxProtocolReactorListIteratorImp(this);
}

YcRxProtocolReactorListImp* YcRxProtocolReactorManagerImp::findReactorList(YcRxClass* reactorClass) const {
  if (!reactorClass) return nullptr;
  for (YcRxLinkedNode* n = mLists.frontNode(); n; n = n->next()) {
    auto* list = static_cast<YcRxProtocolReactorListImp*>(n->object());
    if (list && list->reactorClass() == reactorClass) return list;
  }
  return nullptr;
}

void YcRxProtocolReactorManagerImp::clearAllList() {
  for (YcRxLinkedNode* n = mLists.frontNode(); n; n = n->next()) delete n->object();
  mLists.removeAll();
}

// --- reactor list -------------------------------------------------------------------

YcRxProtocolReactorListImp::YcRxProtocolReactorListImp(YcRxClass* reactorClass)
    : mpReactorClass(reactorClass) {}

YcRxProtocolReactorListImp::~YcRxProtocolReactorListImp() {
  if (KmRxContext* context = kmrxContext())
    context->protocolReactors.forgetIf(
        [this](const KmRxProtocolReactorKey& key) { return key.first == this; });
}

Ycad::ErrorStatus YcRxProtocolReactorListImp::addReactor(YcRxProtocolReactor* reactor) {
  if (!reactor) return Ycad::eOk;
  YcRxClass* cls = reactor->isA();
  if (!cls || !cls->isDerivedFrom(mpReactorClass)) return Ycad::eWrongObjectClass;
  for (YcRxLinkedNode* n = mReactors.frontNode(); n; n = n->next())
    if (n->object() == reactor) return Ycad::eOk;
  mReactors.addTail(reactor);
  KmRxContext* context = kmrxContext();
  if (context && context->runningModule())
    context->protocolReactors.credit(KmRxProtocolReactorKey(this, reactor), context->runningModule());
  return Ycad::eOk;
}

Ycad::ErrorStatus YcRxProtocolReactorListImp::removeReactor(YcRxProtocolReactor* reactor) {
  if (mReactors.removeAt(static_cast<YcRxObject*>(reactor)))
    if (KmRxContext* context = kmrxContext())
      context->protocolReactors.forget(KmRxProtocolReactorKey(this, reactor));
  return Ycad::eOk;
}

YcRxProtocolReactorIterator* YcRxProtocolReactorListImp::newIterator() const {
  return new YcRxProtocolReactorIteratorImp(this);
}

// --- iterators -------------------------------------------------------------------------

namespace {

// Both iterators walk an embedded list through a cursor of their own; the
// list (or manager) hands out a fresh one on each start.
template <class Source>
YcRxIterator* freshCursor(YcRxIterator* old, const Source* source) {
  delete old;
  return source ? source->internalIterator() : nullptr;
}
bool cursorNext(YcRxIterator* cursor) { return cursor ? cursor->next() : false; }
bool cursorDone(const YcRxIterator* cursor) { return cursor ? cursor->done() : true; }
YcRxObject* cursorObject(const YcRxIterator* cursor) { return cursor ? cursor->object() : nullptr; }

}  // namespace

YcRxProtocolReactorIteratorImp::YcRxProtocolReactorIteratorImp(const YcRxProtocolReactorListImp* list)
    : mpList(list), mpCursor(freshCursor(nullptr, list)) {}

YcRxProtocolReactorIteratorImp::~YcRxProtocolReactorIteratorImp() { delete mpCursor; }

YcRxClass* YcRxProtocolReactorIteratorImp::reactorClass() const {
  return mpList ? mpList->reactorClass() : nullptr;
}

void YcRxProtocolReactorIteratorImp::start() { mpCursor = freshCursor(mpCursor, mpList); }
bool YcRxProtocolReactorIteratorImp::next() { return cursorNext(mpCursor); }
bool YcRxProtocolReactorIteratorImp::done() const { return cursorDone(mpCursor); }
YcRxProtocolReactor* YcRxProtocolReactorIteratorImp::object() const {
  return YcRxProtocolReactor::cast(cursorObject(mpCursor));
}

YcRxProtocolReactorListIteratorImp::YcRxProtocolReactorListIteratorImp(
    const YcRxProtocolReactorManagerImp* manager)
    : mpManager(manager), mpCursor(freshCursor(nullptr, manager)) {}

YcRxProtocolReactorListIteratorImp::~YcRxProtocolReactorListIteratorImp() { delete mpCursor; }

void YcRxProtocolReactorListIteratorImp::start() { mpCursor = freshCursor(mpCursor, mpManager); }
bool YcRxProtocolReactorListIteratorImp::next() { return cursorNext(mpCursor); }
bool YcRxProtocolReactorListIteratorImp::done() const { return cursorDone(mpCursor); }
YcRxProtocolReactorList* YcRxProtocolReactorListIteratorImp::object() const {
  return YcRxProtocolReactorList::cast(cursorObject(mpCursor));
}
