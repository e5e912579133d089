// The root object's default behaviour and the class-member helpers the
// declare/define macro pair expands to.
#include "YcRxObject.h"

#include "YcRxClass.h"
#include "YcRxDictionary.h"
#include "YcRxModuleGlobal.h"
#include "core/KmRxContext.h"
#include "core/YcRxInternal.h"

namespace {
YcRxClass* gpRootDesc = nullptr;
}

YcRxClass*& kmrxRootDescSlot() { return gpRootDesc; }

YcRxObject::~YcRxObject() = default;

YcRxClass* YcRxObject::desc() { return gpRootDesc; }
YcRxClass* YcRxObject::isA() const { return gpRootDesc; }

YcRxObject* YcRxObject::clone() const {
  YcRxClass* cls = isA();
  if (!cls || cls == gpRootDesc) return nullptr;
  YcRxObject* copy = cls->create();
  if (!copy) return nullptr;
  if (copy->copyFrom(this) == Ycad::eOk) return copy;
  // Asked and not used, as a failed clone is defined to do: a module's own
  // descriptor may rely on seeing the call.
  (void)cls->name();
  delete copy;
  return nullptr;
}

Ycad::ErrorStatus YcRxObject::copyFrom(const YcRxObject*) { return Ycad::eNotImplementedYet; }

bool YcRxObject::isEqualTo(const YcRxObject* other) const { return this == other; }

YcRx::Ordering YcRxObject::comparedTo(const YcRxObject*) const { return YcRx::kNotOrderable; }


YcRxObject* YcRxObject::x(const YcRxClass* cls) const { return isA()->getX(cls); }

YcRxObject* YcRxObject::queryX(const YcRxClass* cls) const { return isA()->queryX(cls); }

YcRxClass* ycrxLookupClassDesc(YcRxClass*& slot, const wchar_t* name) {
  // By name in the registry, as desc() is defined; before start-up this finds
  // nothing rather than faulting.
  YcRxDictionary* classes = kmrxRegisteredClassDictionary();
  if (!classes) return nullptr;
  slot = static_cast<YcRxClass*>(classes->at(name));
  return slot;
}

void ycrxInitClassDesc(YcRxClass*& slot, const wchar_t* name, const wchar_t* parentName,
                       YcRxPseudoConstructor constructor) {
  YcRxDictionary* classes = kmrxClassDictionary();
  if (!classes) return;
  if (slot) {
    YcRxObject* found = classes->at(name);
    if (found == slot) return;
    if (found) ycrx_abort(L"");
  }
  slot = newYcRxClass(name, parentName, 0, constructor, nullptr, nullptr);
}


