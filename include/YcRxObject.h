// The root of every runtime object: identity by descriptor (isA/isKindOf),
// cloning, comparison, and access to the protocol extensions of its class.
#pragma once
#include <cstddef>
#include "KmErrorStatus.h"
#include "KmHeap.h"
#include "KmRxExport.h"
#include "YcRxTypes.h"

class YcRxClass;

class KMRX_API YcRxObject {
public:
  virtual ~YcRxObject();
  virtual YcRxClass* isA() const;
  virtual YcRxObject* clone() const;
  virtual Ycad::ErrorStatus copyFrom(const YcRxObject* other);
  virtual bool isEqualTo(const YcRxObject* other) const;
  virtual YcRx::Ordering comparedTo(const YcRxObject* other) const;

  // Runtime objects live in the platform heap, where a test can make an
  // allocation fail; new then yields null instead of throwing.
  static void* operator new(std::size_t size) noexcept { return _kmMalloc(size); }
  static void operator delete(void* p) noexcept {
    if (p) _kmFree(p);
  }

  // The root descriptor "AcRxObject".
  static YcRxClass* desc();
  static YcRxObject* cast(const YcRxObject* obj) { return const_cast<YcRxObject*>(obj); }

  // Inline (YcRxClass.h): the exact class is answered before any further call.
  inline bool isKindOf(const YcRxClass* cls) const;
  // The extension of cls on this object's class; x reports a fatal error when there is none.
  YcRxObject* x(const YcRxClass* cls) const;
  YcRxObject* queryX(const YcRxClass* cls) const;
};

// The descriptor interface completes isKindOf.
#include "YcRxClass.h"
