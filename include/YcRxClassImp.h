// The one class descriptor implementation: registration, the class tree, the
// doomed-class queue, protocol extensions and object context menus.
#pragma once
#include <utility>
#include "KmVector.h"
#include "YcArray.h"
#include "YcBaseClassWithNew.h"
#include "YcRxClass.h"

class YcRxDictionary;
class YcRxDynLoadModuleProxy;
class YcRxLinkedList;
class YcRxPEClassMap;

class KMRX_API YcRxClassImp : public YcRxClass, public YcBaseClassWithNew {
public:
  YCRX_DECLARE_MEMBERS(YcRxClassImp);
  // From the platform heap, like both bases, with room in front of the
  // descriptor for the runtime's record of its ancestors (type checks in
  // constant time without a field of its own).
  static void* operator new(std::size_t size) noexcept;
  static void operator delete(void* p) noexcept;

  typedef std::pair<const YcRxObject*, const YcRxDynLoadModuleProxy*> ContextMenu;

  YcRxClassImp(const wchar_t* name, const wchar_t* parentName, int dwgVersion,
               int maintenanceVersion, int proxyFlags, YcRxPseudoConstructor constructor,
               const wchar_t* dxfName, const wchar_t* appName, YcRxAppNameCallback appNameCallback,
               unsigned int featureFlags);
  ~YcRxClassImp() override;
  YcRxClassImp(const YcRxClassImp&) = delete;
  YcRxClassImp& operator=(const YcRxClassImp&) = delete;

  YcRx::Ordering comparedTo(const YcRxObject* other) const override;
  YcRxObject* addX(YcRxClass* protocolClass, YcRxObject* extension) override;
  YcRxObject* getX(const YcRxClass* protocolClass) override;
  YcRxObject* delX(YcRxClass* protocolClass) override;
  YcRxObject* queryX(const YcRxClass* protocolClass) override;
  YcRxObject* create() override { return mpPseudoConstructor(); }
  const wchar_t* appName() const override { return mpAppName; }
  const wchar_t* dxfName() const override { return mpDxfName; }
  const wchar_t* name() const override { return mpClassName; }
  void getClassVersion(int& dwgVersion, int& maintenanceVersion) const override;
  int proxyFlags() const override { return mProxyFlags; }
  bool isDerivedFrom(const YcRxClass* other) const override;
  YcRxClass* myParent() const override { return mpParent; }
  YcRxAppNameCallback appNameCallbackPtr() const override { return mpAppNameCallback; }

  // Interface and implementation are one object.
  YcRxClass* interfaceClass() { return this; }
  const YcRxClass* interfaceClass() const { return this; }
  static YcRxClassImp* getImpl(YcRxClass* cls) { return static_cast<YcRxClassImp*>(cls); }
  static YcRxClassImp* getImplRxClass(YcRxClass* cls) { return static_cast<YcRxClassImp*>(cls); }

  static YcRxClass* createClass(const wchar_t* name, const wchar_t* parentName, int dwgVersion,
                                int maintenanceVersion, int proxyFlags,
                                YcRxPseudoConstructor constructor, const wchar_t* dxfName,
                                const wchar_t* appName, YcRxAppNameCallback appNameCallback,
                                YcRxMemberCollectionConstructorPtr memberBuilder, void* userData,
                                YcRxClass* parentClass, unsigned int featureFlags);

  // The doomed-class queue.
  static void cacheDoomedRxClass(YcRxClass* cls);
  static void clearDoomedRxClasses();
  static int getDoomedRxClassCount();
  static YcRxClass* getDoomedRxClass(int i);
  static void destroyDoomedRxClasses(bool checkDependency);

  // Links cls under the class its parent name names in dict.
  static void initializeHierarchy(YcRxClass* cls, YcRxDictionary* dict);
  void addSubRxClass(YcRxClass* sub);
  // Sub-classes in link order; null until the first is linked.
  YcRxLinkedList* subClasses() const { return mpSubClasses; }
  // The parent name while the class is not linked yet, else null.
  const wchar_t* pendingParentName() const { return mpParentName; }

  // Stamps the class with the module that registered it (null: none); the
  // runtime's ledger of what each module registered follows every stamp.
  void setModuleProxy(YcRxDynLoadModuleProxy* module);
  YcRxDynLoadModuleProxy* moduleProxy() const { return mpModuleProxy; }
  // The module that registered the class goes and the class stays: its
  // constructor and application-name callback, where they lie in that
  // module's code, are let go (create() then answers null). True when any was.
  bool releaseModuleCode(const YcRxDynLoadModuleProxy* module);
  unsigned int featureFlags() const { return mFeatureFlags; }
  bool isProtocolClass() const { return mIsProtocolClass; }

  // The protocol-extension push-down step.
  static void subAddX(YcRxClass* cls, YcRxClass* protocolClass, YcRxObject* newValue,
                      YcRxObject* oldValue);
  // Created on first use by both forms.
  YcRxPEClassMap* getPEObjectMap();
  YcRxPEClassMap* getPEObjectMap() const;
  // The map only if it exists already.
  YcRxPEClassMap* peObjectMapIfAny() const { return mpPEObjectMap; }

  bool addObjectContextMenu(const YcRxObject* menu, const void* module);
  bool removeObjectContextMenu(const YcRxObject* menu);
  int numOfObjectContextMenu() const;
  void getObjectContextMenuAt(int i, YcRxObject*& menu, void** module) const;

private:
  // Every change of a parent link goes through here.
  void setParentLink(YcRxClass* parent);
  // addSubRxClass that tells whether the class got into the list.
  bool linkSubClass(YcRxClass* sub);
  static bool pushDown(YcRxClass* cls, YcRxClass* protocolClass, YcRxObject* newValue,
                       YcRxObject* oldValue);

  static YcArray<YcRxClass*> smDoomedRxClassArray;
  static bool smCheckDoomDependency;

  YcRxClass* mpParent;
  YcRxLinkedList* mpSubClasses;
  YcRxDynLoadModuleProxy* mpModuleProxy;
  YcRxPseudoConstructor mpPseudoConstructor;
  YcRxAppNameCallback mpAppNameCallback;
  mutable YcRxPEClassMap* mpPEObjectMap;
  wchar_t* mpParentName;
  wchar_t* mpClassName;
  wchar_t* mpDxfName;
  wchar_t* mpAppName;
  int mDwgVersion;
  int mMaintenanceVersion;
  bool mIsProtocolClass;
  int mProxyFlags;
  unsigned int mFeatureFlags;
  KmVector<ContextMenu>* mpContextMenus;
};

// Applies one push-down step to each sub-class it is given.
class KMRX_API _SubAddXHelper {
public:
  _SubAddXHelper(YcRxClass* protocolClass, YcRxObject* newValue, YcRxObject* oldValue)
      : mpProtocolClass(protocolClass), mpNewValue(newValue), mpOldValue(oldValue) {}
  void operator()(YcRxObject* obj) const;

private:
  YcRxClass* mpProtocolClass;
  YcRxObject* mpNewValue;
  YcRxObject* mpOldValue;
};
