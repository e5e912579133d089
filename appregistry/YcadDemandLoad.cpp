// The process's demand-load registry: building it from the configuration
// store and answering which applications provide a command.
#include "YcadDemandLoad.h"

#include <cwchar>
#include <memory>

#include "KmCharOp.h"
#include "KmWideText.h"
#include "TesselConfig.h"
#include "YcRxClassImp.h"
#include "YcRxDictionary.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxIterator.h"
#include "YcRxModuleGlobal.h"
#include "YcadRegisterYrxInfo.h"
#include "YcadRegisterYrxStack.h"
#include "YcadYrxRegCmdGroup.h"
#include "YcadRegistryInternal.h"
#include "YcadYrxRegCommand.h"
#include "core/KmRxContext.h"

YcadRegisterYrxStack* g_pRegYrxList = nullptr;

namespace {

constexpr TesselConfig::Path kApps = TesselConfig::kApplications;

// Reads one application's entry; null when it is incomplete or unreadable.
YcadRegisterYrxInfo* readApplication(TesselConfig* config, const wchar_t* name) {
  wchar_t groupsKey[kKmTextBuffer], commandsKey[kKmTextBuffer];
  kmrxAppKey(groupsKey, name, L"Groups");
  kmrxAppKey(commandsKey, name, L"Commands");
  if (!config->isItemExist(kApps, groupsKey) || !config->isItemExist(kApps, commandsKey))
    return nullptr;
  auto* info = new YcadRegisterYrxInfo(name, L" ", L" ", YcadApp::kOnLoadRequest, nullptr);
  if (!info) {
    kmrxOutOfMemory(L"an application of the demand-load registry");
    return nullptr;
  }
  if (info->readFromRegistry() != Ycad::eOk) {
    delete info;
    return nullptr;
  }
  return info;
}

// The first value key under "Groups" names the one group; the rest are ignored.
YcadYrxRegCmdGroup* readGroup(TesselConfig* config, const wchar_t* name) {
  wchar_t key[kKmTextBuffer], groupName[kKmTextBuffer];
  kmrxAppKey(key, name, L"Groups");
  TesselConfigValueIterator* groups = config->newValueIterator(kApps, key);
  const bool named = groups && groups->readKey(groupName, kKmTextBuffer);
  delete groups;
  if (!named) return nullptr;
  auto* group = new YcadYrxRegCmdGroup(groupName);
  if (!group) {
    kmrxOutOfMemory(L"a command group of the demand-load registry");
    return nullptr;
  }
  kmrxAppKey(key, name, L"Commands");
  if (TesselConfigValueIterator* commands = config->newValueIterator(kApps, key)) {
    for (; !commands->done(); commands->next()) {
      wchar_t globalName[kKmTextBuffer];
      YcadVariant localName;
      if (!commands->readKey(globalName, kKmTextBuffer) || !commands->readValue(localName)) continue;
      if (auto* command = new YcadYrxRegCommand(globalName, localName.getString()))
        group->insertCommand(command);
      else
        kmrxOutOfMemory(L"a command of the demand-load registry");
    }
    delete commands;
  }
  return group;
}

}  // namespace

bool getYrxAppInfoListFromRegister(YcArray<YcadRegisterYrxInfo*>& list) {
  TesselConfig* config = ycadConfig();
  if (!config) return false;
  list.removeAll();
  TesselConfigItemIterator* items = config->newItemIterator(kApps, L"");
  if (!items) return false;
  for (; !items->done(); items->next()) {
    wchar_t name[kKmTextBuffer];
    if (!items->readName(name, kKmTextBuffer) || !*name) continue;
    YcadRegisterYrxInfo* info = readApplication(config, name);
    if (!info) continue;
    if (!kmrxTry(L"the list of registered applications", [&] { list.append(info); })) {
      delete info;
      continue;
    }
    if (YcadYrxRegCmdGroup* group = readGroup(config, name)) info->insertGroup(group);
  }
  delete items;
  return !list.isEmpty();
}

bool initDemandLoadYrxList() {
  if (g_pRegYrxList) return true;
  // The record's parent class exists, so it can join the class tree; the
  // registry's own classes name parents that do not and stay unregistered.
  // Looked up by name: a descriptor cached before a restart of the runtime is gone.
  YcRxDictionary* classes = kmrxRegisteredClassDictionary();
  if (classes && !classes->at(L"AcadAppInfo")) {
    YcadAppInfo::rxInit();
    // Only this class is linked: a full build would report every class still
    // waiting for its parent.
    YcRxClassImp::initializeHierarchy(YcadAppInfo::desc(), classes);
  }
  g_pRegYrxList = new YcadRegisterYrxStack();
  if (!g_pRegYrxList) {
    kmrxOutOfMemory(L"the demand-load registry");
    return true;  // always true, as defined
  }
  g_pRegYrxList->initFromBuildinYrx();
  g_pRegYrxList->initFromRegister();
  return true;
}

bool uninitDemandLoadYrxList() {
  delete g_pRegYrxList;
  g_pRegYrxList = nullptr;
  return true;
}

void kmrxDemandLoadChanged() {
  if (KmRxContext* context = kmrxContext()) context->commandIndexValid = false;
}

namespace {

// Calls visit(object) for each object an iterator walks, then deletes it, also
// when visit throws; false when there was no iterator (no memory).
template <class Visit>
bool walkAll(YcRxIterator* iterator, Visit visit) {
  const std::unique_ptr<YcRxIterator> it(iterator);
  if (!it) return false;
  for (; !it->done(); it->next()) visit(it->object());
  return true;
}

// Makes the command index when it is not current; false when it cannot be
// had, and the look-up walks every record instead.
bool commandIndexReady(KmRxContext& context) {
  if (context.commandIndexOff) return false;
  if (context.commandIndexValid) return true;
  context.commandIndex.clear();
  bool whole = true;
  try {
    whole = walkAll(g_pRegYrxList->newIterator(), [&](YcRxObject* record) {
      auto* info = static_cast<YcadRegisterYrxInfo*>(record);
      whole = whole && walkAll(info->newIterator(), [&](YcRxObject* group) {
        if (!group) return;
        whole = whole && walkAll(static_cast<YcadYrxRegCmdGroup*>(group)->newIterator(), [&](YcRxObject* object) {
          auto* command = static_cast<YcadYrxRegCommand*>(object);
          for (const wchar_t* name : {command->globalName(), command->localName()}) {
            if (!name) continue;
            const KmRxContext::CommandHolder holder{record, group, static_cast<unsigned>(info->loadReason()), 0, true};
            const auto [at, added] = context.commandIndex.emplace(name, KmRxContext::CommandHolders{holder, {}});
            KmRxContext::CommandHolders& holders = *at;
            const KmRxContext::CommandHolder& last = holders[holders.size() - 1];
            if (!added && (last.record != record || last.group != group)) holders.more.push_back(holder);
          }
        });
      });
    }) && whole;
  } catch (const std::bad_alloc&) {
    whole = false;
  }
  if (!whole) {
    context.commandIndex.clear();
    return false;
  }
  context.commandIndexValid = true;
  return true;
}

}  // namespace

bool getRegisterYrxAppInfoList(const wchar_t* command, YcArray<YcadAppInfo*>& out,
                               bool onlyOnCommandBit) {
  out.removeAll();
  if (!g_pRegYrxList || !command) return false;
  int dot = -1;
  KmCharOp::find(command, L'.', 0, &dot);
  wchar_t* group = dot >= 1 ? KmCharOp::clone(command, static_cast<unsigned long>(dot)) : nullptr;
  const wchar_t* name = dot >= 0 ? command + dot + 1 : command;
  // By name, as the query is defined; asked only once a record needs it.
  YcRxDynamicLinkerImp* linker = nullptr;
  bool linkerAsked = false;
  const auto theLinker = [&] {
    if (!linkerAsked) linker = kmrxRegisteredLinkerImp();
    linkerAsked = true;
    return linker;
  };
  const auto admit = [&](YcadRegisterYrxInfo* info, unsigned reasons) {
    if (!onlyOnCommandBit || (reasons & YcadApp::kOnCommandInvocation))
      return kmrxTry(L"a demand-load look-up", [&] { out.append(info); });
    return true;
  };
  const auto consider = [&](YcRxObject* record) {
    auto* info = static_cast<YcadRegisterYrxInfo*>(record);
    if (!info->findCommandByName(group, name)) return true;
    if (theLinker() && linker->findRxModuleProxyByModuleName(info->moduleName(), false)) return true;
    return admit(info, static_cast<unsigned>(info->loadReason()));
  };
  // Only the pairs holding the name can match: a record answers when one of
  // its pairs is of the group asked for, and its module is not loaded.
  KmRxContext* context = kmrxContext();
  if (*name && (dot < 1 || group) && context && commandIndexReady(*context)) {
    bool whole = true;
    if (KmRxContext::CommandHolders* found = context->commandIndex.find(name)) {
      KmRxContext::CommandHolders& holders = *found;
      const unsigned stamp = context->loadedModules.stamp;
      for (std::size_t i = 0; i < holders.size() && whole;) {
        KmRxContext::CommandHolder& first = holders[i];
        bool grouped = false;
        for (; i < holders.size() && holders[i].record == first.record; ++i)
          grouped = grouped || !group ||
                    kmrxSameNameNoCase(static_cast<YcadYrxRegCmdGroup*>(holders[i].group)->name(), group);
        if (!grouped) continue;
        auto* info = static_cast<YcadRegisterYrxInfo*>(first.record);
        if (first.stamp != stamp) {
          first.maybeLoaded = context->mightBeLoaded(info->moduleName());
          first.stamp = stamp;
        }
        if (first.maybeLoaded && theLinker() && linker->findRxModuleProxyByModuleName(info->moduleName(), false))
          continue;
        whole = admit(info, first.reasons);
      }
    }
    KmCharOp::release(group);
    if (!whole) out.removeAll();
    return whole;
  }
  YcRxIterator* it = *name && (dot < 1 || group) ? g_pRegYrxList->newIterator() : nullptr;
  if (!it) {
    // Without memory for the group's name or the walk, no answer is better
    // than the answer for every group.
    if (*name) kmrxOutOfMemory(L"a demand-load look-up");
    KmCharOp::release(group);
    return false;
  }
  bool whole = true;
  for (; !it->done() && whole; it->next()) whole = consider(it->object());
  delete it;
  KmCharOp::release(group);
  if (!whole) out.removeAll();
  return whole;  // also when nothing matched; modules rely on it
}

namespace {

// Visits every object an iterator walks; false when there was none (no memory).
template <class Visit>
bool forEachOf(YcRxIterator* it, Visit visit) {
  if (!it) return false;
  bool whole = true;
  for (; !it->done() && whole; it->next()) whole = visit(it->object());
  delete it;
  return whole;
}

}  // namespace

bool getAllRegisterYrxAppCommandList(YcArray<const wchar_t*>& out) {
  out.removeAll();
  if (!g_pRegYrxList) return false;
  const bool whole = forEachOf(g_pRegYrxList->newIterator(), [&](YcRxObject* info) {
    return forEachOf(static_cast<YcadRegisterYrxInfo*>(info)->newIterator(), [&](YcRxObject* group) {
      return forEachOf(static_cast<YcadYrxRegCmdGroup*>(group)->newIterator(), [&](YcRxObject* command) {
        return kmrxTry(L"the list of registered commands",
                       [&] { out.append(static_cast<YcadYrxRegCommand*>(command)->localName()); });
      });
    });
  });
  if (!whole) {
    kmrxOutOfMemory(L"the list of registered commands");
    out.removeAll();
  }
  return whole;
}
