// Anything that hands out an iterator over runtime objects.
#pragma once
#include "YcRxIterator.h"

class KMRX_API YcRxIterable : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxIterable);

  virtual YcRxIterator* newIterator() const = 0;
};

// Calls functor(element) for every element from first to last.
template <typename Functor>
void WalkRxIterable(const YcRxIterable* iterable, Functor& functor) {
  if (!iterable) return;
  YcRxIterator* it = iterable->newIterator();
  if (!it) return;
  for (; !it->done(); it->next()) functor(it->object());
  delete it;
}

// Null for null; the object itself when it can be iterated, else null.
KMRX_API YcRxIterable* GetIterableInterface(YcRxObject* obj);
KMRX_API bool IsObjectIterable(YcRxObject* obj);
