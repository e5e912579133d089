// The class descriptor interface: a runtime class's name, parent, factory,
// versions and protocol extensions; plus the functions that create and
// retire descriptors and build the class tree.
#pragma once
#include "YcRxMacros.h"
#include "YcRxObject.h"

class YcRxMemberCollectionBuilder;

typedef void (*YcRxAppNameCallback)(const YcRxClass* cls, wchar_t*& name, int flags);
typedef void (*YcRxMemberCollectionConstructorPtr)(YcRxMemberCollectionBuilder& builder, void* data);

class KMRX_API YcRxClass : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxClass);

  YcRx::Ordering comparedTo(const YcRxObject* other) const override = 0;
  // Sets the extension of protocolClass on this class and its sub-classes; returns the previous one.
  virtual YcRxObject* addX(YcRxClass* protocolClass, YcRxObject* extension) = 0;
  virtual YcRxObject* getX(const YcRxClass* protocolClass) = 0;
  // Restores the inherited extension; returns the one removed.
  virtual YcRxObject* delX(YcRxClass* protocolClass) = 0;
  virtual YcRxObject* queryX(const YcRxClass* protocolClass) = 0;
  virtual YcRxObject* create() = 0;
  virtual const wchar_t* appName() const = 0;
  virtual const wchar_t* dxfName() const = 0;
  virtual const wchar_t* name() const = 0;
  virtual void getClassVersion(int& dwgVersion, int& maintenanceVersion) const = 0;
  virtual int proxyFlags() const = 0;
  virtual bool isDerivedFrom(const YcRxClass* other) const = 0;
  virtual YcRxClass* myParent() const = 0;
  virtual YcRxAppNameCallback appNameCallbackPtr() const = 0;
};

// Creating functions: each registers the new descriptor under name (replacing
// one already there) and returns it; null for a null or empty name. The short
// form's integer is the proxy flags, not a version.
KMRX_API YcRxClass* newYcRxClass(const wchar_t* name, const wchar_t* parentName,
                                 int proxyFlags = 0, YcRxPseudoConstructor constructor = nullptr,
                                 const wchar_t* dxfName = nullptr, const wchar_t* appName = nullptr);
KMRX_API YcRxClass* newYcRxClass(const wchar_t* name, const wchar_t* parentName, int dwgVersion,
                                 int maintenanceVersion, int proxyFlags,
                                 YcRxPseudoConstructor constructor, const wchar_t* dxfName,
                                 const wchar_t* appName, YcRxAppNameCallback appNameCallback = nullptr);
KMRX_API YcRxClass* newYcRxClassWithFeature(const wchar_t* name, const wchar_t* parentName,
                                            unsigned int featureFlags, int proxyFlags = 0,
                                            YcRxPseudoConstructor constructor = nullptr,
                                            const wchar_t* dxfName = nullptr,
                                            const wchar_t* appName = nullptr);
KMRX_API YcRxClass* newYcRxClassWithFeature(const wchar_t* name, const wchar_t* parentName,
                                            int dwgVersion, int maintenanceVersion,
                                            unsigned int featureFlags, int proxyFlags,
                                            YcRxPseudoConstructor constructor,
                                            const wchar_t* dxfName, const wchar_t* appName,
                                            YcRxAppNameCallback appNameCallback);
KMRX_API YcRxClass* newYcRxClassWithFeature(const wchar_t* name, const wchar_t* parentName,
                                            int dwgVersion, int maintenanceVersion, int proxyFlags,
                                            YcRxPseudoConstructor constructor,
                                            const wchar_t* dxfName, const wchar_t* appName,
                                            YcRxAppNameCallback appNameCallback,
                                            YcRxMemberCollectionConstructorPtr memberBuilder,
                                            void* userData, unsigned int featureFlags);

// Condemns a descriptor; it stays registered until the doomed queue is destroyed.
KMRX_API void deleteYcRxClass(YcRxClass* cls);
// Links every registered class whose parent is not linked yet to its parent.
KMRX_API void ycrxBuildClassHierarchy();

inline bool YcRxObject::isKindOf(const YcRxClass* cls) const {
  const YcRxClass* mine = isA();
  // The exact class is the common case of a check: answered without a call.
  if (__builtin_expect(mine == cls && cls != nullptr, 1)) return true;
  return mine && mine->isDerivedFrom(cls);
}

inline bool ycrxIsKindOf(const YcRxObject* obj, const YcRxClass* cls) { return obj && obj->isKindOf(cls); }
