// Registered commands and command groups.
#include "YcadYrxRegCommand.h"

#include <cwchar>

#include "KmCharOp.h"
#include "YcRxDictionary.h"
#include "YcRxGenericCollection.h"
#include "YcRxKernel.h"
#include "YcRxLinkedList.h"
#include "YcRxModuleGlobal.h"
#include "YcadRegistryInternal.h"
#include "core/KmRxContext.h"
#include "YcadYrxRegCmdGroup.h"

// Neither class registers by itself: "YcRxObject" is no registered class, so
// registering them would upset every later class-tree build.
YCRX_DEFINE_MEMBERS(YcadYrxRegCommand, L"YcadYrxRegCommand", L"YcRxObject")
YCRX_DEFINE_MEMBERS(YcadYrxRegCmdGroup, L"YcadYrxRegCmdGroup", L"YcRxObject")

YcRxGenericCollection* kmrxNewRegistryList() {
  // The kernel service is looked up by name, as the registry's lists are defined.
  YcRxDictionary* services = kmrxRegisteredServiceDictionary();
  YcRxKernel* kernel = services ? YcRxKernel::cast(services->at(L"KernelServices")) : nullptr;
  YcRxGenericCollection* list = kernel ? kernel->newYcRxGenericCollection() : nullptr;
  return list ? list : new YcRxLinkedList();
}

void kmrxDeleteListed(YcRxGenericCollection* list) {
  if (!list) return;
  kmrxFindInCollection(list, [](YcRxObject* object) {
    delete object;
    return false;
  });
  while (!list->isEmpty()) list->removeFront();
}

bool kmrxAddOwnedFront(YcRxGenericCollection* list, YcRxObject* object) {
  if (!object) return false;
  const int before = list ? list->count() : 0;
  if (list) list->addFront(object);
  if (list && list->count() != before) return true;
  delete object;
  kmrxOutOfMemory(L"an entry of the demand-load registry");
  return false;
}

// --- YcadYrxRegCommand -------------------------------------------------------------------

YcadYrxRegCommand::YcadYrxRegCommand(const wchar_t* globalName, const wchar_t* localName)
    : mpGlobalName(globalName ? KmCharOp::clone(globalName) : nullptr),
      mpLocalName(localName ? KmCharOp::clone(localName) : nullptr) {}

YcadYrxRegCommand::~YcadYrxRegCommand() {
  KmCharOp::release(mpGlobalName);
  KmCharOp::release(mpLocalName);
}

const wchar_t* YcadYrxRegCommand::globalName() const { return mpGlobalName; }
const wchar_t* YcadYrxRegCommand::localName() const { return mpLocalName; }

// --- YcadYrxRegCmdGroup -----------------------------------------------------------------------

YcadYrxRegCmdGroup::YcadYrxRegCmdGroup(const wchar_t* name)
    : mpName(name ? KmCharOp::clone(name) : nullptr),
      mpCommands(kmrxNewRegistryList()),
      mCount(0) {}

YcadYrxRegCmdGroup::~YcadYrxRegCmdGroup() {
  kmrxDemandLoadChanged();
  removeAllCommands();
  delete mpCommands;
  KmCharOp::release(mpName);
}

void YcadYrxRegCmdGroup::insertCommand(YcadYrxRegCommand* command) {
  kmrxDemandLoadChanged();
  if (kmrxAddOwnedFront(mpCommands, command)) ++mCount;
}

bool YcadYrxRegCmdGroup::lookupCmd(const wchar_t* name, bool global, int,
                                   YcadYrxRegCommand*& out) const {
  out = kmrxFindNamed<YcadYrxRegCommand>(mpCommands, name, [global](YcadYrxRegCommand* command) {
    return global ? command->globalName() : command->localName();
  });
  return out != nullptr;
}

void YcadYrxRegCmdGroup::removeCommand(const wchar_t* name) {
  YcadYrxRegCommand* command = kmrxFindNamed<YcadYrxRegCommand>(
      mpCommands, name, [](YcadYrxRegCommand* c) { return c->globalName(); });
  if (!command) return;
  kmrxDemandLoadChanged();
  mpCommands->removeAt(static_cast<YcRxObject*>(command));  // the first node holding it
  delete command;
  --mCount;
}

void YcadYrxRegCmdGroup::removeAllCommands() {
  kmrxDemandLoadChanged();
  kmrxDeleteListed(mpCommands);
  mCount = 0;
}

YcadYrxRegCommand* YcadYrxRegCmdGroup::removeFrontCommand() {
  kmrxDemandLoadChanged();
  return mpCommands ? static_cast<YcadYrxRegCommand*>(mpCommands->removeFront()) : nullptr;
}

void YcadYrxRegCmdGroup::combineGroup(YcadYrxRegCmdGroup* other) {
  kmrxDemandLoadChanged();
  if (!other || other == this) return;
  while (YcadYrxRegCommand* command = other->removeFrontCommand()) {
    YcadYrxRegCommand* held = nullptr;
    if (lookupCmd(command->globalName(), true, 0, held))
      delete command;
    else
      insertCommand(command);
  }
}

YcRxIterator* YcadYrxRegCmdGroup::newIterator() const {
  return mpCommands ? mpCommands->newIterator() : nullptr;
}
