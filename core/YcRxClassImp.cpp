// Class descriptors: creation and registration, the class tree, the doomed
// queue and destruction checks, protocol extensions, object context menus.
#include "YcRxClassImp.h"

#include <cwchar>
#include <unordered_set>

#include "YcRxDictionaryImp.h"
#include "YcRxDictionaryIterator.h"
#include "YcRxDynLoadModuleProxy.h"
#include "YcRxLinkedList.h"
#include "YcRxPEClassMap.h"
#include "YcDbHostApplicationServices.h"
#include "KmRxMessageIds.h"
#include "core/KmRxClassLineage.h"
#include "core/KmRxSubClassList.h"
#include "containers/KmRxVisit.h"
#include "core/KmRxContext.h"
#include "core/KmRxReports.h"
#include "core/YcRxInternal.h"

YCRX_DEFINE_MEMBERS(YcRxClass, L"AcRxClass", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxClassImp, L"YcRxClassImp", L"AcRxClass")

YcArray<YcRxClass*> YcRxClassImp::smDoomedRxClassArray(0, 8);
bool YcRxClassImp::smCheckDoomDependency = false;

namespace {

YcRxObject* _DummyRxObjectProducer() { return nullptr; }

std::wstring registeredBy(const YcRxDynLoadModuleProxy* module) {
  return module ? kmrxModuleName(module) : std::wstring(L"the host");
}

// A descriptor another registration displaced: valid and unreachable by name
// until teardown destroys it; the clash is reported.
void keepDisplaced(const wchar_t* name, YcRxClass* displaced, const YcRxDynLoadModuleProxy* by) {
  if (!displaced) return;
  if (KmRxContext* context = kmrxContext()) context->displacedClasses.append(displaced);
  const std::wstring clause = L"by " + registeredBy(by) + L", in place of the one " +
                              registeredBy(YcRxClassImp::getImpl(displaced)->moduleProxy()) +
                              L" registered; the first stays in memory until the host ends";
  kmrxShowMessage2(KmRxMsg::kClassReplaced, name, clause.c_str());
  kmrxLog(L"class " + std::wstring(name) + L" registered again " + clause);
}

wchar_t* copyOrNull(const wchar_t* text) { return text ? _kmStrdup(text) : nullptr; }

}  // namespace

YcRxClassImp::YcRxClassImp(const wchar_t* name, const wchar_t* parentName, int dwgVersion,
                           int maintenanceVersion, int proxyFlags,
                           YcRxPseudoConstructor constructor, const wchar_t* dxfName,
                           const wchar_t* appName, YcRxAppNameCallback appNameCallback,
                           unsigned int featureFlags)
    : mpParent(nullptr),
      mpSubClasses(nullptr),
      mpModuleProxy(nullptr),
      mpPseudoConstructor(constructor ? constructor : &_DummyRxObjectProducer),
      mpAppNameCallback(appNameCallback),
      mpPEObjectMap(nullptr),
      mpParentName(copyOrNull(parentName)),
      mpClassName(_kmStrdup(name)),
      mpDxfName(copyOrNull(dxfName)),
      mpAppName(copyOrNull(appName)),
      mDwgVersion(dwgVersion),
      mMaintenanceVersion(maintenanceVersion),
      mIsProtocolClass(false),
      mProxyFlags(proxyFlags),
      mFeatureFlags(featureFlags),
      mpContextMenus(nullptr) {
  kmrxRelinkLineage(this);  // a line of one until it is linked
}

namespace {

// Unhooks a destroyed protocol class from one class's extension map.
struct RemoveProtocolClass {
  const YcRxObject* protocolClass;
  void operator()(YcRxObject* obj) const {
    YcRxClassImp* cls = YcRxClassImp::cast(obj);
    if (YcRxPEClassMap* map = cls ? cls->peObjectMapIfAny() : nullptr) map->remove(protocolClass);
  }
};

}  // namespace

YcRxClassImp::~YcRxClassImp() {
  if (KmRxContext* context = kmrxContext()) context->classDestroyed(this);
  if (smCheckDoomDependency) {
    if (mpSubClasses && mpSubClasses->count() != 0) {
      kmrxFatal(L"Delete rx class in wrong order!!!");
      // Keep the orphans from walking into this descriptor once it is gone.
      for (YcRxLinkedNode* n = mpSubClasses->frontNode(); n; n = n->next())
        if (n->object()) static_cast<YcRxClassImp*>(n->object())->setParentLink(nullptr);
    }
    if (mpParent) {
      YcRxLinkedList* siblings = getImpl(mpParent)->mpSubClasses;
      if (siblings) static_cast<KmRxSubClassList*>(siblings)->removeClass(static_cast<YcRxObject*>(this));
    }
    if (mIsProtocolClass) {
      const RemoveProtocolClass unhook{this};
      kmrxVisitEntries(kmrxClassDictionary(), YcRx::kDictIdOrder, [&](YcRxDictionaryIterator& entry) {
        if (YcRxObject* obj = entry.object()) unhook(obj);
      });
    }
  }
  delete mpSubClasses;
  delete mpPEObjectMap;
  kmrxDelete(mpContextMenus);
  _kmStrdupFree(mpParentName);
  _kmStrdupFree(mpClassName);
  _kmStrdupFree(mpDxfName);
  _kmStrdupFree(mpAppName);
}

YcRx::Ordering YcRxClassImp::comparedTo(const YcRxObject* other) const {
  if (!other) return YcRx::kNotOrderable;
  if (other == this) return YcRx::kEqual;
  const YcRxClassImp* theirs = YcRxClassImp::cast(other);
  if (!theirs) return YcRx::kNotOrderable;
  // Names are never empty, so this is exactly how two strings of them order.
  const int c = std::wcscmp(mpClassName, theirs->mpClassName);
  return c < 0 ? YcRx::kLessThan : (c > 0 ? YcRx::kGreaterThan : YcRx::kEqual);
}

void YcRxClassImp::getClassVersion(int& dwgVersion, int& maintenanceVersion) const {
  dwgVersion = mDwgVersion;
  maintenanceVersion = mMaintenanceVersion;
}

bool YcRxClassImp::isDerivedFrom(const YcRxClass* other) const {
  if (!other) return false;
  if (other == this) return true;
  const int byLineage = kmrxDerivesByLineage(this, other);
  if (byLineage >= 0) return byLineage == 1;
  // Every descriptor is a YcRxClassImp, so the parent field can be walked
  // directly; bounded, since parents named in a loop are linked in a loop.
  int steps = 0;
  for (const YcRxClassImp* c = this; c && steps < kMaxClassDepth; c = static_cast<const YcRxClassImp*>(c->mpParent), ++steps)
    if (c == other) return true;
  return false;
}

YcRxClass* YcRxClassImp::createClass(const wchar_t* name, const wchar_t* parentName,
                                     int dwgVersion, int maintenanceVersion, int proxyFlags,
                                     YcRxPseudoConstructor constructor, const wchar_t* dxfName,
                                     const wchar_t* appName, YcRxAppNameCallback appNameCallback,
                                     YcRxMemberCollectionConstructorPtr, void*, YcRxClass*,
                                     unsigned int featureFlags) {
  if (!name || !*name) return nullptr;
  YcRxDictionary* classes = kmrxClassDictionary();
  if (!classes) return nullptr;
  auto* cls = new YcRxClassImp(name, parentName, dwgVersion, maintenanceVersion, proxyFlags,
                               constructor, dxfName, appName, appNameCallback, featureFlags);
  if (!cls) return nullptr;
  // Out of memory for a name: no half-made descriptor (a lost parent name
  // would make it a root).
  if (!cls->mpClassName || (parentName && !cls->mpParentName) || (dxfName && !cls->mpDxfName) ||
      (appName && !cls->mpAppName)) {
    delete cls;
    kmrxOutOfMemory(L"a class descriptor");
    return nullptr;
  }
  YcRxDynLoadModuleProxy* module = nullptr;
  if (YcadHostApplication* app = kmrxHostApp()) {
    module = app->moduleBeingLoaded();
    if (module && !module->appInLoaded()) module = nullptr;
  }
  // A taken name is replaced, as modules rely on; but the descriptor there is
  // kept aside instead of destroyed, since its sub-classes, its module and
  // its objects may still point at it.
  if (const unsigned int taken = classes->idAt(name)) {
    YcRxObject* displaced = classes->atPut(taken, cls);
    if (displaced == cls) {  // a filtered dictionary refused it
      kmrxFatal(L"Try to regist a rxclass which is already registed!!");
      return cls;
    }
    keepDisplaced(name, YcRxClass::cast(displaced), module);
  } else {
    unsigned int id = 0;
    YcRxObject* rejected = classes->atPut(name, cls, id);
    auto* imp = dynamic_cast<YcRxDictionaryImp*>(classes);
    if (rejected == cls && !(imp && imp->hasFilter())) {  // no memory for its entry
      delete cls;
      kmrxOutOfMemory(L"registering a class");
      return nullptr;
    }
    if (rejected) {
      delete classes->atPut(name, rejected, id);
      kmrxFatal(L"Try to regist a rxclass which is already registed!!");
      return cls;
    }
  }
  if (module) cls->setModuleProxy(module);
  return cls;
}

// --- doomed-class queue -----------------------------------------------------

void YcRxClassImp::cacheDoomedRxClass(YcRxClass* cls) {
  if (cls) kmrxTry(L"the queue of condemned classes", [&] { smDoomedRxClassArray.append(cls); });
}

void YcRxClassImp::clearDoomedRxClasses() { smDoomedRxClassArray.setLogicalLength(0); }

int YcRxClassImp::getDoomedRxClassCount() { return smDoomedRxClassArray.length(); }

YcRxClass* YcRxClassImp::getDoomedRxClass(int i) { return smDoomedRxClassArray.asArrayPtr()[i]; }

void YcRxClassImp::destroyDoomedRxClasses(bool checkDependency) {
  const bool saved = smCheckDoomDependency;
  smCheckDoomDependency = checkDependency;
  YcRxDictionary* classes = kmrxClassDictionary();
  // A descriptor queued twice is destroyed once. Destructors may condemn more
  // classes; those join this batch. Without memory for the set of those
  // destroyed, the queue itself is searched.
  std::unordered_set<YcRxClass*, std::hash<YcRxClass*>, std::equal_to<YcRxClass*>,
                     KmStdAllocator<YcRxClass*>>
      destroyed;
  bool indexed = true;
  for (int i = 0; i < smDoomedRxClassArray.length(); ++i) {
    YcRxClass* cls = smDoomedRxClassArray[i];
    if (!cls) continue;
    if (indexed) {
      try {
        if (!destroyed.insert(cls).second) continue;
      } catch (const std::bad_alloc&) {
        indexed = false;
      }
    }
    if (!indexed && smDoomedRxClassArray.find(cls) < i) continue;
    // The entry goes only if it is this descriptor, not a later one of that name.
    if (classes) {
      const unsigned int id = classes->idAt(cls->name());
      if (id && classes->at(id) == cls) classes->remove(id);
    }
    delete cls;
  }
  smDoomedRxClassArray.setLogicalLength(0);
  smCheckDoomDependency = saved;
}

// --- class tree ---------------------------------------------------------------

void YcRxClassImp::initializeHierarchy(YcRxClass* cls, YcRxDictionary* dict) {
  if (!cls || !dict) return;
  YcRxClassImp* imp = getImpl(cls);
  if (!imp->mpParentName) return;
  YcRxObject* found = dict->at(imp->mpParentName);
  if (!found && cls != YcRxObject::desc()) {
    kmrxFatal(L"Regist rx class with wrong order!!!");
    return;
  }
  imp->setParentLink(static_cast<YcRxClass*>(found));
  // Without memory for the parent's list the class stays unlinked, its parent
  // name kept, so that a later build tries again.
  if (found && !getImpl(imp->mpParent)->linkSubClass(cls)) {
    imp->setParentLink(nullptr);
    kmrxOutOfMemory(L"linking a class to its parent");
    return;
  }
  _kmStrdupFree(imp->mpParentName);
  imp->mpParentName = nullptr;
}

void YcRxClassImp::setParentLink(YcRxClass* parent) {
  mpParent = parent;
  kmrxRelinkLineage(this);
}

void* YcRxClassImp::operator new(std::size_t size) noexcept { return kmrxNewWithLineage(size); }

void YcRxClassImp::operator delete(void* p) noexcept { kmrxDeleteWithLineage(p); }

void YcRxClassImp::setModuleProxy(YcRxDynLoadModuleProxy* module) {
  mpModuleProxy = module;
  if (KmRxContext* context = kmrxContext()) context->classes.credit(this, module);
}

void YcRxClassImp::addSubRxClass(YcRxClass* sub) {
  if (!linkSubClass(sub) && sub) kmrxOutOfMemory(L"a class's list of sub-classes");
}

bool YcRxClassImp::linkSubClass(YcRxClass* sub) {
  if (!sub) return true;
  if (!mpSubClasses) mpSubClasses = new KmRxSubClassList();
  if (!mpSubClasses) return false;
  // Only linkSubClass makes the list, so it is always the runtime's own.
  if (!static_cast<KmRxSubClassList*>(mpSubClasses)->addClass(sub)) return false;
  if (mpPEObjectMap) {
    for (auto& entry : mpPEObjectMap->tree()) {
      auto* protocolClass = static_cast<YcRxClass*>(const_cast<YcRxObject*>(entry.first));
      if (!pushDown(sub, protocolClass, entry.second, entry.second))
        kmrxOutOfMemory(L"a protocol extension a sub-class inherits");
    }
  }
  return true;
}

// --- protocol extensions --------------------------------------------------------

YcRxPEClassMap* YcRxClassImp::getPEObjectMap() const {
  if (!mpPEObjectMap) mpPEObjectMap = new YcRxPEClassMap();
  return mpPEObjectMap;
}

YcRxPEClassMap* YcRxClassImp::getPEObjectMap() {
  return static_cast<const YcRxClassImp*>(this)->getPEObjectMap();
}

YcRxObject* YcRxClassImp::addX(YcRxClass* protocolClass, YcRxObject* extension) {
  if (!protocolClass) return nullptr;
  YcRxObject* value = extension;
  if (!value) value = mpParent ? mpParent->queryX(protocolClass) : nullptr;
  YcRxPEClassMap* map = getPEObjectMap();
  if (!map) {
    kmrxOutOfMemory(L"a protocol extension");
    return nullptr;
  }
  YcRxObject* old = map->find(protocolClass);
  subAddX(this, protocolClass, value, old);
  // Credited to the module now running; a value set from elsewhere, or a
  // delX, takes the module's own away.
  if (KmRxContext* context = kmrxContext()) {
    const KmRxExtensionKey key(this, protocolClass);
    if (extension && context->runningModule())
      context->extensions.credit(key, context->runningModule(), extension);
    else
      context->extensions.forget(key);
  }
  return old;
}

YcRxObject* YcRxClassImp::getX(const YcRxClass* protocolClass) {
  YcRxObject* ext = queryX(protocolClass);
  if (!ext) kmrxFatal(L"Fail to get protocol extension object");
  return ext;
}

YcRxObject* YcRxClassImp::delX(YcRxClass* protocolClass) { return addX(protocolClass, nullptr); }

YcRxObject* YcRxClassImp::queryX(const YcRxClass* protocolClass) {
  if (!protocolClass) return nullptr;
  YcRxPEClassMap* map = mpPEObjectMap ? mpPEObjectMap : getPEObjectMap();  // made on first use, as defined
  return map ? map->findDirect(protocolClass) : nullptr;
}

void YcRxClassImp::subAddX(YcRxClass* cls, YcRxClass* protocolClass, YcRxObject* newValue,
                           YcRxObject* oldValue) {
  if (!pushDown(cls, protocolClass, newValue, oldValue)) kmrxOutOfMemory(L"a protocol extension");
}

// The push-down step; false when a class on the way had no memory for its
// entry (it then lacks the value, the others have it).
bool YcRxClassImp::pushDown(YcRxClass* cls, YcRxClass* protocolClass, YcRxObject* newValue,
                            YcRxObject* oldValue) {
  YcRxClassImp* imp = getImpl(cls);
  YcRxPEClassMap* map = imp->getPEObjectMap();
  bool whole = map != nullptr;
  if (map) {
    YcRxPEClassMap::Tree& tree = map->tree();
    auto pos = tree.find(protocolClass);
    YcRxObject* current = pos != tree.end() ? pos->second : nullptr;
    if (!current || current == oldValue) {
      getImpl(protocolClass)->mIsProtocolClass = true;
      if (pos != tree.end())
        pos->second = newValue;
      else
        whole = kmrxTry(L"a protocol extension", [&] { tree.emplace(protocolClass, newValue); });
    }
  }
  // Every direct sub-class, as _SubAddXHelper would visit it, walked by its
  // nodes so that no iterator has to be allocated.
  if (imp->mpSubClasses)
    for (YcRxLinkedNode* node = imp->mpSubClasses->frontNode(); node; node = node->next())
      if (YcRxClassImp* sub = YcRxClassImp::cast(node->object()))
        whole = pushDown(sub, protocolClass, newValue, oldValue) && whole;
  return whole;
}

void _SubAddXHelper::operator()(YcRxObject* obj) const {
  if (YcRxClassImp* cls = YcRxClassImp::cast(obj))
    YcRxClassImp::subAddX(cls, mpProtocolClass, mpNewValue, mpOldValue);
}

// --- object context menus ---------------------------------------------------------

bool YcRxClassImp::addObjectContextMenu(const YcRxObject* menu, const void* module) {
  if (!menu) return false;
  if (!mpContextMenus) mpContextMenus = kmrxNew<KmVector<ContextMenu>>(2, 4);
  if (!mpContextMenus) {
    kmrxOutOfMemory(L"a class's context menus");
    return false;
  }
  for (int i = 0; i < mpContextMenus->length(); ++i)
    if ((*mpContextMenus)[i].first == menu) return false;
  return kmrxTry(L"a class's context menus", [&] {
    mpContextMenus->append(ContextMenu(menu, static_cast<const YcRxDynLoadModuleProxy*>(module)));
  });
}

bool YcRxClassImp::removeObjectContextMenu(const YcRxObject* menu) {
  if (!menu || !mpContextMenus) return false;
  for (int i = 0; i < mpContextMenus->length(); ++i) {
    if ((*mpContextMenus)[i].first == menu) {
      mpContextMenus->removeAt(i);
      return true;
    }
  }
  return false;
}

int YcRxClassImp::numOfObjectContextMenu() const {
  return mpContextMenus ? mpContextMenus->length() : 0;
}

void YcRxClassImp::getObjectContextMenuAt(int i, YcRxObject*& menu, void** module) const {
  menu = nullptr;
  if (module) *module = nullptr;
  if (mpContextMenus && i >= 0 && i < mpContextMenus->length()) {
    const ContextMenu& entry = (*mpContextMenus)[i];
    menu = const_cast<YcRxObject*>(entry.first);
    if (module) *module = const_cast<YcRxDynLoadModuleProxy*>(entry.second);
  }
}

// --- exported creating functions ------------------------------------------------------

YcRxClass* newYcRxClass(const wchar_t* name, const wchar_t* parentName, int proxyFlags,
                        YcRxPseudoConstructor constructor, const wchar_t* dxfName,
                        const wchar_t* appName) {
  return YcRxClassImp::createClass(name, parentName, 0, 0, proxyFlags, constructor, dxfName,
                                   appName, nullptr, nullptr, nullptr, nullptr, 0);
}

YcRxClass* newYcRxClass(const wchar_t* name, const wchar_t* parentName, int dwgVersion,
                        int maintenanceVersion, int proxyFlags, YcRxPseudoConstructor constructor,
                        const wchar_t* dxfName, const wchar_t* appName,
                        YcRxAppNameCallback appNameCallback) {
  return YcRxClassImp::createClass(name, parentName, dwgVersion, maintenanceVersion, proxyFlags,
                                   constructor, dxfName, appName, appNameCallback, nullptr,
                                   nullptr, nullptr, 0);
}

YcRxClass* newYcRxClassWithFeature(const wchar_t* name, const wchar_t* parentName,
                                   unsigned int featureFlags, int proxyFlags,
                                   YcRxPseudoConstructor constructor, const wchar_t* dxfName,
                                   const wchar_t* appName) {
  return YcRxClassImp::createClass(name, parentName, 0, 0, proxyFlags, constructor, dxfName,
                                   appName, nullptr, nullptr, nullptr, nullptr, featureFlags);
}

YcRxClass* newYcRxClassWithFeature(const wchar_t* name, const wchar_t* parentName, int dwgVersion,
                                   int maintenanceVersion, unsigned int featureFlags,
                                   int proxyFlags, YcRxPseudoConstructor constructor,
                                   const wchar_t* dxfName, const wchar_t* appName,
                                   YcRxAppNameCallback appNameCallback) {
  return YcRxClassImp::createClass(name, parentName, dwgVersion, maintenanceVersion, proxyFlags,
                                   constructor, dxfName, appName, appNameCallback, nullptr,
                                   nullptr, nullptr, featureFlags);
}

YcRxClass* newYcRxClassWithFeature(const wchar_t* name, const wchar_t* parentName, int dwgVersion,
                                   int maintenanceVersion, int proxyFlags,
                                   YcRxPseudoConstructor constructor, const wchar_t* dxfName,
                                   const wchar_t* appName, YcRxAppNameCallback appNameCallback,
                                   YcRxMemberCollectionConstructorPtr memberBuilder,
                                   void* userData, unsigned int featureFlags) {
  return YcRxClassImp::createClass(name, parentName, dwgVersion, maintenanceVersion, proxyFlags,
                                   constructor, dxfName, appName, appNameCallback, memberBuilder,
                                   userData, nullptr, featureFlags);
}

void deleteYcRxClass(YcRxClass* cls) {
  if (cls) YcRxClassImp::cacheDoomedRxClass(cls);
}

namespace {

// The classes noted as waiting, in key order, as the whole walk would meet
// them; an entry whose key now holds something else, or a class linked since,
// is passed over.
void linkPendingClasses(KmRxContext& context, YcRxDictionary* classes) {
  std::vector<std::pair<std::wstring, YcRxClass*>> waiting;
  try {
    waiting.assign(context.pendingClasses.begin(), context.pendingClasses.end());
  } catch (const std::bad_alloc&) {
    kmrxOutOfMemory(L"the classes waiting for their parents");
    return;
  }
  context.pendingClasses.clear();
  for (const auto& [key, cls] : waiting) {
    if (classes->at(key.c_str()) != cls) continue;
    YcRxClassImp::initializeHierarchy(cls, classes);
    if (YcRxClassImp::getImpl(cls)->pendingParentName()) context.notePendingClass(key.c_str(), cls);
  }
}

}  // namespace

void ycrxBuildClassHierarchy() {
  YcRxDictionary* classes = kmrxClassDictionary();
  KmRxContext* context = kmrxContext();
  if (context && context->pendingComplete && classes) return linkPendingClasses(*context, classes);
  // The whole walk; what still waits after it is noted afresh.
  if (context) {
    context->pendingClasses.clear();
    context->pendingComplete = true;
  }
  kmrxVisitEntries(classes, YcRx::kDictKeyOrder, [&](YcRxDictionaryIterator& entry) {
    YcRxObject* object = entry.object();
    if (!object) return;
    YcRxClassImp::initializeHierarchy(static_cast<YcRxClass*>(object), classes);
    auto* cls = dynamic_cast<YcRxClassImp*>(object);
    if (context && cls && cls->pendingParentName()) context->notePendingClass(entry.key(), cls);
  });
}

bool YcRxClassImp::releaseModuleCode(const YcRxDynLoadModuleProxy* module) {
  KmRxContext* context = kmrxContext();
  if (!context) return false;
  const auto inModule = [&](auto function) {
    return function && context->inModuleCode(module, reinterpret_cast<const void*>(function));
  };
  bool released = false;
  if (inModule(mpPseudoConstructor)) {
    mpPseudoConstructor = &_DummyRxObjectProducer;
    released = true;
  }
  if (inModule(mpAppNameCallback)) {
    mpAppNameCallback = nullptr;
    released = true;
  }
  return released;
}
