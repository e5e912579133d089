// An ordered map from runtime object to runtime object; it never owns values.
#pragma once
#include "YcRxGenericMapIterator.h"
#include "YcRxIterable.h"

class KMRX_API YcRxGenericMap : public YcRxIterable {
public:
  YCRX_DECLARE_MEMBERS(YcRxGenericMap);

  virtual YcRxGenericMapIterator* newMapIterator() const = 0;
  virtual YcRxObject* remove(YcRxIterator* it) = 0;
  virtual YcRxObject* remove(const YcRxObject* key) = 0;
  virtual void removeAll() = 0;
  virtual YcRxObject* setAt(const YcRxObject* key, YcRxObject* value) = 0;
  virtual YcRxObject* setAt(YcRxIterator* it, YcRxObject* value) = 0;
  virtual YcRxObject* find(const YcRxObject* key) const = 0;
  virtual YcRxGenericMapIterator* findIterator(const YcRxObject* key) const = 0;
  virtual bool has(const YcRxObject* key) const = 0;
  virtual int count() const = 0;
};
