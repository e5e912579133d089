// What a module leaves registered when it is unloaded is taken off before its
// code is unmapped, and reported once, so that nothing calls into a module
// that is gone (or into whatever is mapped at its address next).
#include "linker/YcRxLinkerLeftovers.h"

#include <string>

#include "YcRxClass.h"
#include "YcRxClassImp.h"
#include "YcRxDLinkerReactor.h"
#include "YcRxDictionary.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxProtocolReactor.h"
#include "YcRxProtocolReactorList.h"
#include "containers/KmRxVisit.h"
#include "linker/YcRxLinkerInternal.h"

namespace {

void report(const YcRxDynLoadModuleProxy* module, const std::wstring& what) {
  const std::wstring name = kmrxModuleName(module);
  kmrxShowMessage2(KmRxMsg::kLeftBehind, name.c_str(), what.c_str());
  kmrxLog(name + L" left " + what + L" registered; it was removed at unload");
}

std::wstring className(const YcRxClass* cls) {
  return cls && cls->name() ? std::wstring(cls->name()) : std::wstring(L"(unnamed)");
}

void detachLinkerReactors(YcRxDynamicLinkerImp& linker, KmRxContext& context,
                          const YcRxDynLoadModuleProxy* module, const KmRxModuleLedger& ledger) {
  for (YcRxDLinkerReactor* reactor : ledger.linkerReactors) {
    report(module, L"the linker reactor " + kmrxTypeName(reactor));
    const bool dbAware = reactor->isA() && className(reactor->isA()) == L"YcDbAppAware";
    // Every copy goes; the ledger lets go of it with the last one.
    for (int guard = linker.reactorCount(); guard >= 0 && context.linkerReactors.owner(reactor); --guard) {
      if (dbAware)
        linker.removeDbAppAware(reactor);
      else
        linker.removeReactor(reactor);
    }
  }
}

void detachExtensions(const YcRxDynLoadModuleProxy* module, const KmRxModuleLedger& ledger) {
  for (const auto& [key, value] : ledger.extensions) {
    auto* cls = const_cast<YcRxClass*>(key.first);
    auto* protocol = const_cast<YcRxClass*>(key.second);
    // Only the value the module put there; one set since is not the module's.
    if (cls->queryX(protocol) != value) continue;
    report(module, L"the protocol extension " + kmrxTypeName(value) + L" for " + className(protocol) +
                       L" on the class " + className(cls));
    cls->delX(protocol);
  }
}

void detachProtocolReactors(const YcRxDynLoadModuleProxy* module, const KmRxModuleLedger& ledger) {
  for (const auto& [list, reactor] : ledger.protocolReactors) {
    auto* owner = const_cast<YcRxProtocolReactorList*>(list);
    report(module, L"the protocol reactor " + kmrxTypeName(reactor) + L" for " +
                       className(owner->reactorClass()));
    owner->removeReactor(const_cast<YcRxProtocolReactor*>(reactor));
  }
}

void detachRegistryEntries(KmRxContext& context, const YcRxDynLoadModuleProxy* module,
                           const KmRxModuleLedger& ledger) {
  YcRxDictionary* registry = context.sysRegistry;
  if (!registry) return;
  for (const auto& [id, object] : ledger.registryEntries) {
    if (registry->at(id) != object) continue;
    const wchar_t* key = registry->keyAt(id);
    report(module, L"the object " + kmrxTypeName(object) + L" under \"" + (key ? key : L"") +
                       L"\" in the system registry");
    registry->remove(id);
  }
}

// A class the module did not delete stays registered (as the unload protocol
// leaves it), without the functions of the module's code it would call.
void releaseClassCode(const YcRxDynLoadModuleProxy* module, const KmRxModuleLedger& ledger) {
  for (YcRxClass* cls : ledger.classes) {
    YcRxClassImp* imp = YcRxClassImp::getImplRxClass(cls);
    if (imp && imp->releaseModuleCode(module)) report(module, L"the constructor of the class " + className(cls));
  }
}

// Objects whose class table lies in the module's code, wherever they were put
// from: in the system registry and in the dictionaries it holds (the service
// dictionary among them). Their code is about to go.
void detachObjectsOfModuleCode(KmRxContext& context, const YcRxDynLoadModuleProxy* module) {
  const auto ofModule = [&](YcRxObject* object) {
    return object && context.inModuleCode(module, *reinterpret_cast<const void* const*>(object));
  };
  const auto sweep = [&](YcRxDictionary* dict, const std::wstring& where) {
    // Ids first: a dictionary of another make may not bear removal mid-walk.
    std::vector<unsigned int> ids;
    kmrxVisitEntries(dict, YcRx::kDictIdOrder, [&](YcRxDictionaryIterator& entry) {
      if (ofModule(entry.object())) kmrxTry(L"the objects a module left", [&] { ids.push_back(entry.id()); });
    });
    for (unsigned int id : ids) {
      const wchar_t* key = dict->keyAt(id);
      report(module, L"the object " + kmrxTypeName(dict->at(id)) + L" under \"" + (key ? key : L"") + L"\" in " +
                         where);
      dict->remove(id);
    }
  };
  YcRxDictionary* registry = context.sysRegistry;
  if (!registry || !context.moduleRanges.count(module)) return;
  sweep(registry, L"the system registry");
  YcRxDictionary* classes = kmrxClassDictionary();
  kmrxVisitEntries(registry, YcRx::kDictIdOrder, [&](YcRxDictionaryIterator& entry) {
    auto* inner = YcRxDictionary::cast(entry.object());
    // Classes have a path of their own; the registry itself cannot hold itself.
    if (!inner || inner == classes || inner == registry) return;
    sweep(inner, L"\"" + std::wstring(entry.key() ? entry.key() : L"") + L"\"");
  });
}

}  // namespace

void kmrxDetachLeftovers(YcRxDynamicLinkerImp& linker, YcRxDynLoadModuleProxy* module) {
  KmRxContext* context = kmrxContext();
  if (!context || !module) return;
  const KmRxModuleLedger ledger = context->ledgerOf(module);
  detachLinkerReactors(linker, *context, module, ledger);
  detachExtensions(module, ledger);
  detachProtocolReactors(module, ledger);
  detachRegistryEntries(*context, module, ledger);
  detachObjectsOfModuleCode(*context, module);
  releaseClassCode(module, ledger);
}
