// A cursor over a dictionary that also yields each entry's key and id.
#pragma once
#include "YcRxIterator.h"

class KMRX_API YcRxDictionaryIterator : public YcRxIterator {
public:
  YCRX_DECLARE_MEMBERS(YcRxDictionaryIterator);

  virtual const wchar_t* key() const = 0;
  virtual unsigned int id() const = 0;
};
