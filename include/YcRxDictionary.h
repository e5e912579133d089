// The keyed store of runtime objects: text keys, and ids (array index + 1)
// that stay fixed for an entry's life. Created through the kernel services
// or YcRxDictionaryImp::createDictionary.
#pragma once
#include "YcRxDictionaryIterator.h"

class KMRX_API YcRxDictionary : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxDictionary);

  virtual YcRxObject* at(const wchar_t* key) const = 0;
  virtual YcRxObject* at(unsigned int id) const = 0;
  virtual YcRxObject* atPut(const wchar_t* key, YcRxObject* value, unsigned int& id) = 0;
  virtual YcRxObject* atPut(unsigned int id, YcRxObject* value) = 0;
  virtual bool resetKey(const wchar_t* oldKey, const wchar_t* newKey) = 0;
  virtual bool resetKey(unsigned int id, const wchar_t* newKey) = 0;
  virtual bool atKeyAndIdPut(const wchar_t* key, unsigned int id, YcRxObject* value) = 0;
  virtual YcRxObject* remove(const wchar_t* key) = 0;
  virtual YcRxObject* remove(unsigned int id) = 0;
  virtual bool has(const wchar_t* key) const = 0;
  virtual bool has(unsigned int id) const = 0;
  virtual unsigned int idAt(const wchar_t* key) const = 0;
  virtual const wchar_t* keyAt(unsigned int id) const = 0;
  virtual unsigned int numEntries() const = 0;
  virtual YcRxDictionaryIterator* newIterator(YcRx::DictIterType type = YcRx::kDictKeyOrder) = 0;
  virtual bool deletesObjects() const = 0;
  virtual bool isCaseSensitive() const = 0;
  virtual bool isSorted() const = 0;

  // atPut without the id.
  YcRxObject* atPut(const wchar_t* key, YcRxObject* value) {
    unsigned int id = 0;
    return atPut(key, value, id);
  }
};
