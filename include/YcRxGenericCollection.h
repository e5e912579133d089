// An ordered collection of object pointers; it never owns the objects.
#pragma once
#include "YcRxIterable.h"

class KMRX_API YcRxGenericCollection : public YcRxIterable {
public:
  YCRX_DECLARE_MEMBERS(YcRxGenericCollection);

  virtual YcRxObject*& addTail() = 0;
  virtual void addTail(YcRxObject* obj) = 0;
  virtual YcRxObject*& addFront() = 0;
  virtual void addFront(YcRxObject* obj) = 0;
  virtual YcRxObject*& addAfter(YcRxIterator* it) = 0;
  virtual void addAfter(YcRxIterator* it, YcRxObject* obj) = 0;
  virtual YcRxGenericCollection& insertTail(const YcRxGenericCollection& other) = 0;
  virtual YcRxGenericCollection& insertFront(const YcRxGenericCollection& other) = 0;
  virtual YcRxGenericCollection& insertAt(YcRxIterator* it, const YcRxGenericCollection& other) = 0;
  virtual YcRxObject* removeTail() = 0;
  virtual YcRxObject* removeFront() = 0;
  virtual YcRxObject* removeAt(YcRxIterator* it) = 0;
  virtual YcRxObject* removeAt(YcRxObject* obj) = 0;
  virtual void removeAll() = 0;
  virtual YcRxObject* setTail(YcRxObject* obj) = 0;
  virtual YcRxObject* setFront(YcRxObject* obj) = 0;
  virtual YcRxObject* setAt(YcRxIterator* it, YcRxObject* obj) = 0;
  virtual YcRxObject* front() const = 0;
  virtual YcRxObject* tail() const = 0;
  virtual YcRxIterator* find(YcRxObject* obj) const = 0;
  virtual bool isEmpty() const = 0;
  virtual int count() const = 0;
  virtual bool contains(const YcRxObject* obj) const = 0;
};
