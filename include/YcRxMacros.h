// The four members every runtime class has (desc, isA, cast, rxInit), from one
// declare/define pair. Module authors use the same pair for their classes.
//
//   class MyThing : public YcRxObject { YCRX_DECLARE_MEMBERS(MyThing); ... };
//   YCRX_DEFINE_MEMBERS(MyThing, L"MyThing", L"AcRxObject")            // no factory
//   YCRX_DEFINE_MEMBERS_WITH_CONS(MyThing, L"MyThing", L"AcRxObject")  // create() makes one
#pragma once
#include "KmRxExport.h"

class YcRxClass;
class YcRxObject;

typedef YcRxObject* (*YcRxPseudoConstructor)();

// Looks name up in the class dictionary and caches a hit in slot.
KMRX_API YcRxClass* ycrxLookupClassDesc(YcRxClass*& slot, const wchar_t* name);
// Registers name under parentName unless slot already is the registered descriptor.
KMRX_API void ycrxInitClassDesc(YcRxClass*& slot, const wchar_t* name, const wchar_t* parentName,
                                YcRxPseudoConstructor constructor);
// Whether obj is non-null and of kind cls (inline, defined in YcRxClass.h).
inline bool ycrxIsKindOf(const YcRxObject* obj, const YcRxClass* cls);

inline YcRxClass* ycrxCachedClassDesc(YcRxClass*& slot, const wchar_t* name) {
  return slot ? slot : ycrxLookupClassDesc(slot, name);
}

#define YCRX_DECLARE_MEMBERS(CLASS)                   \
public:                                               \
  static YcRxClass* desc();                           \
  static CLASS* cast(const YcRxObject* obj);          \
  static void rxInit();                               \
  YcRxClass* isA() const override

#define YCRX_DEFINE_MEMBERS_IMPL(CLASS, NAME, PARENT, CONS)                                 \
  static YcRxClass* g_ycrxDesc_##CLASS = nullptr;                                           \
  YcRxClass* CLASS::desc() { return ycrxCachedClassDesc(g_ycrxDesc_##CLASS, NAME); }        \
  YcRxClass* CLASS::isA() const { return ycrxCachedClassDesc(g_ycrxDesc_##CLASS, NAME); }   \
  CLASS* CLASS::cast(const YcRxObject* obj) {                                               \
    return ycrxIsKindOf(obj, CLASS::desc()) ? static_cast<CLASS*>(const_cast<YcRxObject*>(obj)) \
                                            : nullptr;                                      \
  }                                                                                         \
  void CLASS::rxInit() { ycrxInitClassDesc(g_ycrxDesc_##CLASS, NAME, PARENT, CONS); }

#define YCRX_DEFINE_MEMBERS(CLASS, NAME, PARENT) \
  YCRX_DEFINE_MEMBERS_IMPL(CLASS, NAME, PARENT, nullptr)

#define YCRX_DEFINE_MEMBERS_WITH_CONS(CLASS, NAME, PARENT)                     \
  static YcRxObject* ycrxMake_##CLASS() { return new CLASS(); }                \
  YCRX_DEFINE_MEMBERS_IMPL(CLASS, NAME, PARENT, &ycrxMake_##CLASS)
