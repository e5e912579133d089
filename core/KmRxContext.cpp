// The runtime context: its life with the module global, the per-module
// ledger, and the one way to the global objects.
#include "core/KmRxContext.h"

#include <typeinfo>

#include "YcDbHostApplicationServices.h"
#include "YcRxDictionary.h"
#include "YcRxDynamicLinkerImp.h"
#include "YcRxModuleGlobal.h"
#include "KmKernel32.h"
#include "core/KmRxReports.h"
#include "core/YcRxInternal.h"

namespace {
// More loadable segments than an ELF object has in practice.
constexpr int kMaxRanges = 16;
}  // namespace

KmRxContext* gpKmrxContext = nullptr;

bool kmrxStartContext() {
  // A second start-up replaces the context as it replaces the module global.
  auto* fresh = kmrxNew<KmRxContext>();
  if (!fresh) return false;
  fresh->mpReplaced = gpKmrxContext;
  gpKmrxContext = fresh;
  return true;
}

void kmrxEndContext() {
  kmrxDelete(gpKmrxContext);
  gpKmrxContext = nullptr;
}

KmRxContext::KmRxContext() : supersededRecords(0, 8), createdManagers(0, 8), displacedClasses(0, 8) {}

KmRxContext::~KmRxContext() { kmrxDelete(mpReplaced); }

KmRxModuleLedger KmRxContext::ledgerOf(KmRxModule module) const {
  KmRxModuleLedger ledger;
  for (const auto& e : classes.of(module)) ledger.classes.push_back(e.key);
  for (const auto& e : services.of(module)) ledger.services.push_back(e.key);
  for (const auto& e : linkerReactors.of(module)) ledger.linkerReactors.push_back(e.key);
  for (const auto& e : protocolReactors.of(module)) ledger.protocolReactors.push_back(e.key);
  for (const auto& e : extensions.of(module)) ledger.extensions.emplace_back(e.key, e.value);
  for (const auto& e : registryEntries.of(module)) ledger.registryEntries.emplace_back(e.key, e.value);
  return ledger;
}

void KmRxContext::forgetModule(KmRxModule module) {
  if (!module) return;
  classes.forgetModule(module);
  services.forgetModule(module);
  linkerReactors.forgetModule(module);
  protocolReactors.forgetModule(module);
  extensions.forgetModule(module);
  registryEntries.forgetModule(module);
  moduleRanges.erase(module);
  messageFaults.erase(module);
  forgetEntryPoint(module);
}

void KmRxContext::noteModuleMapped(KmRxModule module, void* handle) {
  const void* found[2 * kMaxRanges];
  const int count = KmKernel32::GetModuleAddressRanges(handle, found, kMaxRanges);
  if (count <= 0) {
    kmrxLog(kmrxModuleName(module) + L": where it is mapped cannot be told; what it leaves in the "
                                     L"registries is not checked at unload");
    return;
  }
  try {
    moduleRanges[module].assign(found, found + 2 * count);
  } catch (const std::bad_alloc&) {
    kmrxOutOfMemory(L"the address ranges of a module");
  }
}

bool KmRxContext::inModuleCode(KmRxModule module, const void* address) const {
  const auto ranges = moduleRanges.find(module);
  if (ranges == moduleRanges.end()) return false;
  const auto* at = static_cast<const char*>(address);
  for (std::size_t i = 0; i + 1 < ranges->second.size(); i += 2)
    if (at >= static_cast<const char*>(ranges->second[i]) && at < static_cast<const char*>(ranges->second[i + 1]))
      return true;
  return false;
}

bool KmRxContext::NoCaseLess::operator()(const std::wstring& a, const std::wstring& b) const {
  return kmrxCompareNoCase(a.c_str(), b.c_str()) < 0;
}

void KmRxContext::notePendingClass(const wchar_t* key, YcRxClass* cls) {
  if (!pendingComplete || !key) return;
  try {
    pendingClasses[key] = cls;
  } catch (const std::bad_alloc&) {
    pendingClasses.clear();
    pendingComplete = false;
  }
}

namespace {

// The part of a module key or file name after its last separator.
const wchar_t* lastPart(const wchar_t* path) {
  const wchar_t* part = path;
  for (const wchar_t* p = path; *p; ++p)
    if (*p == L'/' || *p == L'\\') part = p + 1;
  return part;
}

void foldInto(std::wstring& out, const wchar_t* text) {
  out.clear();
  for (; *text; ++text) out.push_back(static_cast<wchar_t>(kmrxFoldCase(*text)));
}

}  // namespace

void KmRxContext::noteModuleKey(const void* linker, const wchar_t* key, bool entered) {
  LoadedModules& loaded = loadedModules;
  if (++loaded.stamp == 0) loaded.stamp = 1;
  if (loaded.lost || !key) return;
  if (!loaded.linker) loaded.linker = linker;
  if (loaded.linker != linker) {
    loaded.lost = true;
    loaded.names.clear();
    return;
  }
  try {
    std::wstring name;
    foldInto(name, lastPart(key));
    if (entered) {
      ++loaded.names[name];
    } else {
      const auto found = loaded.names.find(name);
      if (found != loaded.names.end() && --found->second == 0) loaded.names.erase(found);
    }
  } catch (const std::bad_alloc&) {
    loaded.lost = true;
    loaded.names.clear();
  }
}

void KmRxContext::noteModulesCleared(const void* linker) {
  LoadedModules& loaded = loadedModules;
  if (++loaded.stamp == 0) loaded.stamp = 1;
  if (loaded.linker == linker) loaded.names.clear();
}

bool KmRxContext::mightBeLoaded(const wchar_t* moduleName) {
  if (!moduleName || !*moduleName) return false;  // never found by such a name
  // Not lost: every record was entered in the one linker followed, so any
  // other linker holds none.
  const LoadedModules& loaded = loadedModules;
  if (loaded.lost) return true;
  if (loaded.names.empty()) return false;
  const wchar_t* part = lastPart(moduleName);
  // A name ending in a separator, "." or "..": only its full path tells.
  if (!*part || (part[0] == L'.' && (!part[1] || (part[1] == L'.' && !part[2])))) return true;
  try {
    static thread_local std::wstring probe;
    foldInto(probe, part);
    return loaded.names.count(probe) != 0;
  } catch (const std::bad_alloc&) {
    return true;
  }
}

void KmRxContext::classDestroyed(const YcRxClass* cls) {
  classes.forget(const_cast<YcRxClass*>(cls));
  displacedClasses.remove(const_cast<YcRxClass*>(cls));
  if (extensions.size() != 0)
    extensions.forgetIf([cls](const KmRxExtensionKey& key) { return key.first == cls || key.second == cls; });
}

void KmRxContext::noteMessageFault(KmRxModule module, bool threw, const std::wstring& text) {
  try {
    messageFaults[module] = MessageFault{threw, text};
  } catch (const std::bad_alloc&) {
    // The report then says less; the load protocol goes on the same.
  }
}

KmRxContext::MessageFault KmRxContext::takeMessageFault(KmRxModule module) {
  MessageFault fault;
  auto found = messageFaults.find(module);
  if (found == messageFaults.end()) return fault;
  fault = std::move(found->second);
  messageFaults.erase(found);
  return fault;
}

KmRxLoadInProgress::KmRxLoadInProgress(const std::wstring& key, const wchar_t* file) {
  KmRxContext* context = kmrxContext();
  if (!context) return;
  try {
    context->loadsInProgress.push_back(KmRxContext::LoadInProgress{key, file ? file : L""});
    mPushed = true;
  } catch (const std::bad_alloc&) {
    // Not kept: only the refusal of a load cycle depends on it.
  }
}

KmRxLoadInProgress::~KmRxLoadInProgress() {
  KmRxContext* context = kmrxContext();
  if (mPushed && context && !context->loadsInProgress.empty()) context->loadsInProgress.pop_back();
}

// --- the global objects -------------------------------------------------------------

namespace {

YcRxObject* registryEntry(const wchar_t* key) {
  YcRxModuleGlobal* global = ycrxGetModule();
  YcRxDictionary* registry = global ? global->getSysRegistry() : nullptr;
  return registry ? registry->at(key) : nullptr;
}

}  // namespace

YcRxDictionary* kmrxRegisteredClassDictionary() {
  // Every class look-up comes through here, so the check of the entry's class
  // must not look a class up itself.
  return dynamic_cast<YcRxDictionary*>(registryEntry(L"ClassDictionary"));
}

YcRxDictionary* kmrxRegisteredServiceDictionary() {
  return YcRxDictionary::cast(registryEntry(L"ServiceDictionary"));
}

YcRxDynamicLinker* kmrxRegisteredLinker() {
  return YcRxDynamicLinker::cast(registryEntry(L"DynamicLinker"));
}

YcRxDynamicLinkerImp* kmrxRegisteredLinkerImp() {
  return YcRxDynamicLinkerImp::cast(registryEntry(L"DynamicLinker"));
}

YcRxDictionary* kmrxClassDictionary() {
  YcRxModuleGlobal* global = ycrxGetModule();
  return global ? global->getRxClasses() : nullptr;
}

YcadHostApplication* kmrxHostApp() {
  YcDbHostApplicationServices* services = ycdbHostApplicationServices();
  return services ? services->application() : nullptr;
}
