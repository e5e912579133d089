// A registered application with its command groups.
#include "YcadRegisterYrxInfo.h"

#include "YcRxGenericCollection.h"
#include "YcRxIterator.h"
#include "YcadRegistryInternal.h"
#include "YcadYrxRegCmdGroup.h"
#include "YcadYrxRegCommand.h"

// Registered under the parent name "YcadAppInfo" (the record itself registers
// as "AcadAppInfo"), so it is not registered by itself; see YcadYrxRegCommand.cpp.
YCRX_DEFINE_MEMBERS(YcadRegisterYrxInfo, L"YcadRegisterYrxInfo", L"YcadAppInfo")

YcadRegisterYrxInfo::YcadRegisterYrxInfo(const wchar_t* appName, const wchar_t* moduleName,
                                         const wchar_t* description, YcadApp::LoadReasons reasons,
                                         YcadYrxRegCmdGroup* group)
    : mpGroups(nullptr) {
  setAppName(appName);
  setModuleName(moduleName);
  setAppDesc(description);
  setLoadReason(reasons);
  mpGroups = kmrxNewRegistryList();
  if (group) insertGroup(group);
}

YcadRegisterYrxInfo::~YcadRegisterYrxInfo() {
  kmrxDemandLoadChanged();
  removeAllGroups();
  delete mpGroups;
}

YcadYrxRegCmdGroup* YcadRegisterYrxInfo::findGroupByName(const wchar_t* name) const {
  if (!name || !*name) return nullptr;
  return kmrxFindNamed<YcadYrxRegCmdGroup>(mpGroups, name,
                                           [](YcadYrxRegCmdGroup* group) { return group->name(); });
}

YcadYrxRegCommand* YcadRegisterYrxInfo::findCommandByName(const wchar_t* group,
                                                          const wchar_t* command) const {
  YcadYrxRegCommand* found = nullptr;
  kmrxFindInCollection(mpGroups, [&](YcRxObject* object) {
    auto* candidate = static_cast<YcadYrxRegCmdGroup*>(object);
    if (!candidate || (group && !kmrxSameNameNoCase(candidate->name(), group))) return false;
    if (!candidate->lookupCmd(command, true, 0, found)) candidate->lookupCmd(command, false, 0, found);
    return found != nullptr;
  });
  return found;
}

void YcadRegisterYrxInfo::insertGroup(YcadYrxRegCmdGroup* group) {
  kmrxDemandLoadChanged();
  kmrxAddOwnedFront(mpGroups, group);
}

void YcadRegisterYrxInfo::combineYrxInfo(YcadRegisterYrxInfo* other) {
  kmrxDemandLoadChanged();
  if (!other || other == this) return;
  while (YcadYrxRegCmdGroup* group = other->removeFrontGroup()) {
    if (YcadYrxRegCmdGroup* held = findGroupByName(group->name())) {
      held->combineGroup(group);
      delete group;
    } else {
      insertGroup(group);
    }
  }
}

YcadYrxRegCmdGroup* YcadRegisterYrxInfo::removeFrontGroup() {
  kmrxDemandLoadChanged();
  return mpGroups ? static_cast<YcadYrxRegCmdGroup*>(mpGroups->removeFront()) : nullptr;
}

void YcadRegisterYrxInfo::removeAllGroups() {
  kmrxDemandLoadChanged();
  kmrxDeleteListed(mpGroups);
}

YcRxIterator* YcadRegisterYrxInfo::newIterator() const {
  return mpGroups ? mpGroups->newIterator() : nullptr;
}
