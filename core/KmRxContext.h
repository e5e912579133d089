// The runtime's own state beside its public objects: what the fixed-layout
// public classes cannot hold. One context per start-up, created and destroyed
// with the module global; every part of the runtime reaches the global
// objects and this state through this header. Tests read it here too.
#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include "KmRxExport.h"
#include "YcArray.h"
#include "containers/KmRxNameTable.h"

class YcadHostApplication;
class YcRxClass;
class YcRxDictionary;
class YcRxDLinkerReactor;
class YcRxDynamicLinker;
class YcRxDynamicLinkerImp;
class YcRxDynLoadModuleProxy;
class YcRxObject;
class YcRxProtocolReactor;
class YcRxProtocolReactorList;
class YcRxProtocolReactorManagerImp;
class YcRxService;

typedef const YcRxDynLoadModuleProxy* KmRxModule;

// Items credited to modules: per item its module and a value, per module its
// items in the order they were credited. An item has at most one module.
template <class Key, class Hash = std::hash<Key>>
class KmRxCredits {
public:
  struct Entry {
    Key key;
    YcRxObject* value;
  };

  // Credits key to module (taking it from any other), with value.
  // Exhausted memory leaves the key uncredited, never half recorded.
  void credit(const Key& key, KmRxModule module, YcRxObject* value = nullptr) {
    forget(key);
    if (!module) return;
    const std::uint64_t order = mNextOrder++;
    try {
      mByModule[module].emplace(order, key);
      try {
        mSlots.emplace(key, Slot{module, order, value});
      } catch (...) {
        dropOrder(module, order);
        throw;
      }
    } catch (const std::bad_alloc&) {
      mComplete = false;
    }
  }

  // False once a credit was lost to exhausted memory: then the ledger may
  // miss something, and whoever relies on it being whole walks instead.
  bool complete() const { return mComplete; }

  void forget(const Key& key) {
    auto slot = mSlots.find(key);
    if (slot == mSlots.end()) return;
    dropOrder(slot->second.module, slot->second.order);
    mSlots.erase(slot);
  }

  template <class Predicate>
  void forgetIf(Predicate matches) {
    for (auto slot = mSlots.begin(); slot != mSlots.end();) {
      if (!matches(slot->first)) {
        ++slot;
        continue;
      }
      dropOrder(slot->second.module, slot->second.order);
      slot = mSlots.erase(slot);
    }
  }

  void forgetModule(KmRxModule module) {
    auto items = mByModule.find(module);
    if (items == mByModule.end()) return;
    for (const auto& item : items->second) mSlots.erase(item.second);
    mByModule.erase(items);
  }

  KmRxModule owner(const Key& key) const {
    auto slot = mSlots.find(key);
    return slot == mSlots.end() ? nullptr : slot->second.module;
  }

  std::vector<Entry> of(KmRxModule module) const {
    std::vector<Entry> out;
    auto items = mByModule.find(module);
    if (items == mByModule.end()) return out;
    for (const auto& item : items->second) out.push_back(Entry{item.second, mSlots.at(item.second).value});
    return out;
  }

  std::size_t size() const { return mSlots.size(); }

private:
  void dropOrder(KmRxModule module, std::uint64_t order) {
    auto items = mByModule.find(module);
    if (items == mByModule.end()) return;
    items->second.erase(order);
    if (items->second.empty()) mByModule.erase(items);
  }

  struct Slot {
    KmRxModule module;
    std::uint64_t order;
    YcRxObject* value;
  };
  std::unordered_map<Key, Slot, Hash> mSlots;
  std::unordered_map<KmRxModule, std::map<std::uint64_t, Key>> mByModule;
  std::uint64_t mNextOrder = 0;
  bool mComplete = true;
};

struct KmRxPairHash {
  template <class A, class B>
  std::size_t operator()(const std::pair<A, B>& p) const {
    return std::hash<A>()(p.first) * 31u ^ std::hash<B>()(p.second);
  }
};

// A protocol extension a module attached: (class, protocol class).
typedef std::pair<const YcRxClass*, const YcRxClass*> KmRxExtensionKey;
// A protocol reactor a module added: (reactor list, reactor).
typedef std::pair<const YcRxProtocolReactorList*, const YcRxProtocolReactor*> KmRxProtocolReactorKey;

// What one module registered and has not taken back, kind by kind, each in
// the order it happened.
struct KmRxModuleLedger {
  std::vector<YcRxClass*> classes;
  std::vector<YcRxService*> services;
  std::vector<YcRxDLinkerReactor*> linkerReactors;
  std::vector<KmRxProtocolReactorKey> protocolReactors;
  // (class, protocol class) and the extension the module put there.
  std::vector<std::pair<KmRxExtensionKey, YcRxObject*>> extensions;
  // System-registry ids and the object the module put there.
  std::vector<std::pair<unsigned int, YcRxObject*>> registryEntries;

  bool empty() const {
    return classes.empty() && services.empty() && linkerReactors.empty() &&
           protocolReactors.empty() && extensions.empty() && registryEntries.empty();
  }
};

class KMRX_API KmRxContext {
public:
  KmRxContext();
  ~KmRxContext();
  KmRxContext(const KmRxContext&) = delete;
  KmRxContext& operator=(const KmRxContext&) = delete;

  // --- the module now running: whose message is being delivered -------------
  KmRxModule runningModule() const { return mpRunningModule; }

  // --- the per-module ledger ------------------------------------------------
  KmRxModuleLedger ledgerOf(KmRxModule module) const;
  // Drops everything credited to a record that goes away.
  void forgetModule(KmRxModule module);

  // Classes: follow each class's module stamp (YcRxClassImp::setModuleProxy).
  KmRxCredits<YcRxClass*> classes;
  // Services: follow each service's system information (YcRxService::setSysInfo).
  KmRxCredits<YcRxService*> services;
  // Linker reactors added while a module ran and still in the linker's array.
  KmRxCredits<YcRxDLinkerReactor*> linkerReactors;
  // Protocol reactors added while a module ran and not removed.
  KmRxCredits<KmRxProtocolReactorKey, KmRxPairHash> protocolReactors;
  // Extensions a module attached (addX) while it ran, with the value it set.
  KmRxCredits<KmRxExtensionKey, KmRxPairHash> extensions;
  // System-registry entries (by id) a module put while it ran, with the object.
  KmRxCredits<unsigned int> registryEntries;

  // A class goes away: nothing may stay credited that names it.
  void classDestroyed(const YcRxClass* cls);

  // --- state that lives for one start-up ------------------------------------
  // The system registry, so dictionary operations can tell it apart.
  YcRxDictionary* sysRegistry = nullptr;
  // Records a second load of their path displaced from the module
  // dictionary; still mapped, deleted when the linker goes.
  YcArray<YcRxDynLoadModuleProxy*> supersededRecords;
  // Reactor managers the factory made; extensions never own them, so the
  // factory deletes them when it goes at teardown.
  YcArray<YcRxProtocolReactorManagerImp*> createdManagers;
  // Descriptors another class of the same name displaced from the class
  // dictionary: kept valid for whatever still points at them, destroyed at
  // teardown.
  YcArray<YcRxClass*> displacedClasses;
  // Soaks up the write when a list node cannot be allocated.
  YcRxObject* listSpareCell = nullptr;
  // The loads now on the stack, outermost first (module key and file), so a
  // load of a file whose initialisation is still running can be refused.
  struct LoadInProgress {
    std::wstring key;
    std::wstring file;
  };
  std::vector<LoadInProgress> loadsInProgress;
  // Why the last message to a record failed, for the load protocol's report:
  // what the module answered, or what it threw.
  struct MessageFault {
    bool threw = false;
    std::wstring text;
  };
  std::unordered_map<KmRxModule, MessageFault> messageFaults;
  void noteMessageFault(KmRxModule module, bool threw, const std::wstring& text);
  // Classes in the class dictionary still waiting for their parent, by the
  // key each stands under, in the dictionary's key order: the tree build
  // visits these instead of every class. Every put into the class dictionary
  // notes a pending class here; when one could not be noted, pendingComplete
  // is false and the build walks the whole dictionary (and starts the set
  // afresh).
  struct NoCaseLess {
    bool operator()(const std::wstring& a, const std::wstring& b) const;
  };
  std::map<std::wstring, YcRxClass*, NoCaseLess> pendingClasses;
  bool pendingComplete = true;
  void notePendingClass(const wchar_t* key, YcRxClass* cls);

  // The demand-load registry's command names (the commands' own texts, compared
  // without regard to case), each to the (record, group) pairs holding it as
  // a global or local name, in the registry's order; made on the first look-up
  // after any change, so that a look-up tests only those pairs. A pair keeps
  // whether its record's module might be loaded, as of loadedModules.stamp.
  // commandIndexOff: tests make look-ups walk.
  struct CommandHolder {
    YcRxObject* record;
    YcRxObject* group;
    unsigned reasons;  // the record's load reasons
    unsigned stamp;
    bool maybeLoaded;
  };
  // The first pair in place: most names have one.
  struct CommandHolders {
    CommandHolder first;
    std::vector<CommandHolder> more;
    std::size_t size() const { return 1 + more.size(); }
    CommandHolder& operator[](std::size_t i) { return i == 0 ? first : more[i - 1]; }
  };
  KmRxNameTable<CommandHolders> commandIndex;
  bool commandIndexValid = false;
  bool commandIndexOff = false;

  // The last parts of the loaded modules' keys (case folded, with counts), as
  // the linker enters and removes records: a module whose file name is not
  // among them is not loaded, known without making its full path. Followed
  // for one linker; another one, or no memory, ends the knowledge (lost).
  struct LoadedModules {
    const void* linker = nullptr;
    bool lost = false;
    unsigned stamp = 1;  // changes with every change; never 0
    std::unordered_map<std::wstring, unsigned> names;
  };
  LoadedModules loadedModules;
  void noteModuleKey(const void* linker, const wchar_t* key, bool entered);
  void noteModulesCleared(const void* linker);
  // False only when no module of this file name is loaded, in any linker.
  bool mightBeLoaded(const wchar_t* moduleName);

  // Where each loaded module's segments are mapped, taken at load, so that an
  // object left in a registry can be told to be of the module's code.
  std::unordered_map<KmRxModule, std::vector<const void*>> moduleRanges;
  void noteModuleMapped(KmRxModule module, void* handle);
  // Whether address lies in what the module mapped (false when unknown).
  bool inModuleCode(KmRxModule module, const void* address) const;
  // Each mapped record's entry point, resolved once per mapping so that a
  // delivery does not ask the loader by name; the last one used first.
  struct EntryPoint {
    KmRxModule record = nullptr;
    void* entry = nullptr;
  };
  std::unordered_map<KmRxModule, void*> entryPoints;
  EntryPoint lastEntryPoint;
  // The record's module goes (unmapped, or the record deleted).
  void forgetEntryPoint(KmRxModule module) {
    if (lastEntryPoint.record == module) lastEntryPoint = EntryPoint();
    if (!entryPoints.empty()) entryPoints.erase(module);
  }
  MessageFault takeMessageFault(KmRxModule module);

private:
  friend class KmRxRunningModuleScope;
  friend bool kmrxStartContext();
  KmRxModule mpRunningModule = nullptr;
  // The context of a start-up this one replaced (a second start-up while
  // running); nothing reaches it any more, it goes with this one.
  KmRxContext* mpReplaced = nullptr;
};

// The context of the running runtime; null before start-up and after teardown.
// Inline: it is asked for on every delivery and registration.
extern KMRX_API KmRxContext* gpKmrxContext;
inline KmRxContext* kmrxContext() { return gpKmrxContext; }
// Starts and ends the context with the module global; false when there is
// no memory for it.
bool kmrxStartContext();
void kmrxEndContext();

// Keeps a load on the context's stack of loads in progress for its scope.
class KmRxLoadInProgress {
public:
  KmRxLoadInProgress(const std::wstring& key, const wchar_t* file);
  ~KmRxLoadInProgress();
  KmRxLoadInProgress(const KmRxLoadInProgress&) = delete;
  KmRxLoadInProgress& operator=(const KmRxLoadInProgress&) = delete;

private:
  bool mPushed = false;
};

// Marks a record as the module now running for one message delivery.
class KmRxRunningModuleScope {
public:
  explicit KmRxRunningModuleScope(KmRxModule module) : mpPrevious(nullptr) {
    if (KmRxContext* context = kmrxContext()) {
      mpPrevious = context->mpRunningModule;
      context->mpRunningModule = module;
    }
  }
  ~KmRxRunningModuleScope() {
    if (KmRxContext* context = kmrxContext()) context->mpRunningModule = mpPrevious;
  }
  KmRxRunningModuleScope(const KmRxRunningModuleScope&) = delete;
  KmRxRunningModuleScope& operator=(const KmRxRunningModuleScope&) = delete;

private:
  KmRxModule mpPrevious;
};

// --- the global objects ---------------------------------------------------------
// Found by name in the system registry, as the interface has these operations
// and every module do: an entry a host replaced is seen, and an entry of
// another class gives null. Null before start-up.
KMRX_API YcRxDictionary* kmrxRegisteredClassDictionary();
KMRX_API YcRxDictionary* kmrxRegisteredServiceDictionary();
KMRX_API YcRxDynamicLinker* kmrxRegisteredLinker();
KMRX_API YcRxDynamicLinkerImp* kmrxRegisteredLinkerImp();
// The module global's own class dictionary (what ycrxInternalGetClassDic
// returns), null before start-up instead of a fault.
KMRX_API YcRxDictionary* kmrxClassDictionary();
// The host's application object, or null.
KMRX_API YcadHostApplication* kmrxHostApp();
