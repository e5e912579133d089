// The dictionary: item array with ids, optional key index, filter, ownership rules.
#include "YcRxDictionaryImp.h"

#include <climits>
#include <cwchar>

#include "YcRxClass.h"
#include "YcRxClassImp.h"
#include "YcRxDictionaryImpIterator.h"
#include "containers/YcRxDictionaryStore.h"
#include "core/KmRxContext.h"
#include "core/YcRxInternal.h"

YCRX_DEFINE_MEMBERS(YcRxDictionary, L"AcRxDictionary", L"AcRxObject")
YCRX_DEFINE_MEMBERS(YcRxDictionaryImp, L"YcRxDictionaryImp", L"AcRxDictionary")

namespace {

bool sameText(const YcRxString* key, const wchar_t* text) {
  return kmrxCompareText(key->rawString(), text, key->ignoresCase()) == 0;
}

// What a module puts into the system registry while it runs is credited to
// it; anything else that changes the entry takes the credit away.
void noteRegistryEntry(const YcRxDictionaryImp* dict, int index, YcRxObject* value) {
  KmRxContext* context = kmrxContext();
  if (!context || context->sysRegistry != dict) return;
  const unsigned int id = YcRxDictionaryImp::idxToId(index);
  if (value && context->runningModule())
    context->registryEntries.credit(id, context->runningModule(), value);
  else
    context->registryEntries.forget(id);
}

// A class put into the class dictionary that still waits for its parent is
// noted for the next tree build.
void noteClassEntry(const YcRxDictionaryImp* dict, const wchar_t* key, YcRxObject* value) {
  KmRxContext* context = kmrxContext();
  if (!context || !value || !key || dict != kmrxClassDictionary()) return;
  auto* cls = dynamic_cast<YcRxClassImp*>(value);
  if (cls && cls->pendingParentName()) context->notePendingClass(key, cls);
}

void noteRegistryCleared(const YcRxDictionaryImp* dict) {
  KmRxContext* context = kmrxContext();
  if (context && context->sysRegistry == dict)
    context->registryEntries.forgetIf([](unsigned int) { return true; });
}

}  // namespace

// The hash index follows every change of keys: for a sorted dictionary what
// its key index holds, for an unsorted one the first slot of each text.
void noteKeyAdded(YcRxDictionaryImp::ItemArray* items, YcRxStringToIdMap* keyIndex, const YcRxString* key,
                  int index) {
  YcRxDictionaryStore* store = YcRxDictionaryStore::of(items);
  if (keyIndex)
    store->follow(*keyIndex, key->rawString());
  else
    store->keyAdded(key, index);
}

// --- item ---------------------------------------------------------------------

bool YcRxDicItem::operator==(const YcRxDicItem& other) const {
  if (!mpKey || !other.mpKey) return !mpKey && !other.mpKey;
  return mpKey->comparedTo(other.mpKey) == YcRx::kEqual;
}

// --- key index ------------------------------------------------------------------

bool YcRxStringToIdMap::Less::operator()(const YcRxString* a, const wchar_t* b) const {
  return !a || kmrxCompareText(a->rawString(), b, a->ignoresCase()) < 0;
}

bool YcRxStringToIdMap::Less::operator()(const wchar_t* a, const YcRxString* b) const {
  return b && kmrxCompareText(a, b->rawString(), b->ignoresCase()) < 0;
}

int YcRxStringToIdMap::getAt(const YcRxString* key) const {
  auto pos = mMap.find(key);
  return pos == mMap.end() ? -1 : pos->second;
}

int YcRxStringToIdMap::getAt(const wchar_t* text) const {
  auto pos = mMap.find(text);
  return pos == mMap.end() ? -1 : pos->second;
}

YcRxStringToIdMap::iterator YcRxStringToIdMap::getIteratorAt(const YcRxString* key) {
  return key ? mMap.find(key) : mMap.end();
}

int& YcRxStringToIdMap::append(const YcRxString* key) { return mMap.emplace(key, 0).first->second; }

bool YcRxStringToIdMap::append(const YcRxString* key, int index) {
  try {
    mMap.emplace(key, index);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

const YcRxString* YcRxStringToIdMap::removeAt(const YcRxString* key) {
  auto pos = mMap.find(key);
  return removeAt(pos);
}

void YcRxStringToIdMap::rekey(iterator position, const YcRxString* newKey, int index) {
  if (position == mMap.end()) {
    append(newKey, index);
    return;
  }
  auto node = mMap.extract(position);
  node.key() = newKey;
  node.mapped() = index;
  mMap.insert(std::move(node));
}

const YcRxString* YcRxStringToIdMap::removeAt(iterator position) {
  if (position == mMap.end()) return nullptr;
  const YcRxString* key = position->first;
  mMap.erase(position);
  return key;
}

// --- dictionary -------------------------------------------------------------------

YcRxDictionary* YcRxDictionaryImp::createDictionary(unsigned int length, bool deletesObjects,
                                                    bool sorted, bool ignoreCase,
                                                    const YcRxClass* filter) {
  auto* dict = new YcRxDictionaryImp(length, deletesObjects, sorted, ignoreCase, filter);
  if (dict && (!dict->isComplete() || dict->isSorted() != sorted)) {  // out of memory: no half-made dictionary
    delete dict;
    dict = nullptr;
  }
  return dict;
}

YcRxDictionaryImp::YcRxDictionaryImp() : YcRxDictionaryImp(0, false, false, false, nullptr) {}

YcRxDictionaryImp::YcRxDictionaryImp(unsigned int length, bool deletesObjects, bool sorted,
                                     bool ignoreCase, const YcRxClass* filter)
    : mpItems(kmrxNew<YcRxDictionaryStore>(static_cast<int>(length))),
      mpKeyIndex(sorted ? kmrxNew<YcRxStringToIdMap>() : nullptr),
      mpFilter(filter),
      mDeletesObjects(deletesObjects),
      mCaseSensitive(!ignoreCase) {}

YcRxDictionaryImp::~YcRxDictionaryImp() {
  clear(false);
  kmrxDelete(mpKeyIndex);
  kmrxDelete(mpItems ? YcRxDictionaryStore::of(mpItems) : nullptr);
}

const YcRxDictionaryImp::ItemArray& YcRxDictionaryImp::items() const {
  static const ItemArray none(0, 8);
  return mpItems ? *mpItems : none;
}

bool YcRxDictionaryImp::isComplete() const { return mpItems != nullptr; }

// A key string that holds the whole text, or null: a key without its text
// would store a keyless entry.
YcRxString* YcRxDictionaryImp::makeKey(const wchar_t* text) const {
  auto* key = new YcRxString(text, !mCaseSensitive);
  if (key && text && *text && key->isEmpty()) {
    delete key;
    key = nullptr;
  }
  if (!key) kmrxOutOfMemory(L"a dictionary key");
  return key;
}

YcRxDicItem* YcRxDictionaryImp::getAt(int index) {
  if (!mpItems || index < 0 || index >= mpItems->length()) return nullptr;
  YcRxDicItem* item = mpItems->asArrayPtr() + index;
  return item->key() ? item : nullptr;
}

const YcRxDicItem* YcRxDictionaryImp::getAt(int index) const {
  return const_cast<YcRxDictionaryImp*>(this)->getAt(index);
}

YcRxDicItem* YcRxDictionaryImp::getAt(const wchar_t* key, int* index) {
  int scratch;
  int& found = index ? *index : scratch;
  found = -1;
  if (!key || !*key) return nullptr;
  // Look-ups compare the bare text under the dictionary's case rule, which is
  // what a temporary key string would do, without allocating one.
  if (!mpItems) return nullptr;
  // The hash index answers as the key index or the first-match walk would.
  KmRxKeyHash<YcRxDictionaryStore::Entry>& hash = YcRxDictionaryStore::of(mpItems)->keys;
  if (hash.valid()) {
    const YcRxDictionaryStore::Entry* entry = hash.find(key);
    if (!entry) return nullptr;
    found = entry->index;
    return mpItems->asArrayPtr() + entry->index;
  }
  if (mpKeyIndex) {
    const int i = mpKeyIndex->getAt(key);
    if (i < 0) return nullptr;
    found = i;
    return mpItems->asArrayPtr() + i;
  }
  YcRxDicItem* items = mpItems->asArrayPtr();
  for (int i = 0, n = mpItems->length(); i < n; ++i) {
    if (items[i].key() && sameText(items[i].key(), key)) {
      found = i;
      return items + i;
    }
  }
  return nullptr;
}

const YcRxDicItem* YcRxDictionaryImp::getAt(const wchar_t* key, int* index) const {
  return const_cast<YcRxDictionaryImp*>(this)->getAt(key, index);
}

YcRxDicItem* YcRxDictionaryImp::makeEmptyItem(int& index) {
  index = -1;
  if (!mpItems) return nullptr;
  YcRxDicItem* items = mpItems->asArrayPtr();
  // The lowest free slot, found from the hint on instead of from slot 0.
  int& hint = YcRxDictionaryStore::of(mpItems)->freeHint;
  if (YcRxDictionaryStore::of(mpItems)->walksOnly) hint = 0;
  for (int i = hint, n = mpItems->length(); i < n; ++i) {
    if (!items[i].key()) {
      index = i;
      hint = i + 1;
      return items + i;
    }
    hint = i + 1;
  }
  if (!kmrxTry(L"a dictionary entry", [&] { index = mpItems->append(YcRxDicItem()); })) return nullptr;
  hint = index + 1;
  return mpItems->asArrayPtr() + index;
}

YcRxDicItem* YcRxDictionaryImp::makeItemAt(int index) {
  if (index < 0 || !mpItems) return nullptr;
  if (index >= mpItems->length() &&
      !kmrxTry(L"a dictionary entry", [&] { mpItems->setLogicalLength(index + 1); }))
    return nullptr;
  return mpItems->asArrayPtr() + index;
}

YcRxObject* YcRxDictionaryImp::filterRxObject(YcRxObject* value) const {
  if (!mpFilter || !value || value->isKindOf(mpFilter)) return value;
  return nullptr;
}

YcRxObject* YcRxDictionaryImp::at(const wchar_t* key) const {
  const YcRxDicItem* item = getAt(key, nullptr);
  return item ? item->value() : nullptr;
}

YcRxObject* YcRxDictionaryImp::at(unsigned int id) const {
  const YcRxDicItem* item = getAt(idToIdx(id));
  return item ? item->value() : nullptr;
}

YcRxObject* YcRxDictionaryImp::atPut(const wchar_t* key, YcRxObject* value, unsigned int& id) {
  if (!key || !*key) return nullptr;
  // A value whose class has no parent is never filtered here.
  if (mpFilter && value) {
    YcRxClass* cls = value->isA();
    if (cls && cls->myParent() && !filterRxObject(value)) return value;
  }
  int index = -1;
  YcRxDicItem* item = getAt(key, &index);
  if (!item) {
    // Without room for the entry, its key or its index entry nothing is
    // stored and the caller keeps the value.
    item = makeEmptyItem(index);
    if (!item) return value;
    YcRxString* keyString = makeKey(key);
    if (!keyString) return value;
    if (mpKeyIndex && !mpKeyIndex->append(keyString, index)) {
      delete keyString;
      kmrxOutOfMemory(L"a dictionary key");
      return value;
    }
    item->key() = keyString;
    item->value() = value;
    noteKeyAdded(mpItems, mpKeyIndex, keyString, index);
    id = idxToId(index);
    noteRegistryEntry(this, index, value);
    noteClassEntry(this, keyString->rawString(), value);
    return nullptr;
  }
  // An existing key reports its array index, not index + 1; callers rely on it.
  id = static_cast<unsigned int>(index);
  YcRxObject* old = item->value();
  if (old == value) return nullptr;
  item->value() = value;
  noteRegistryEntry(this, index, value);
  noteClassEntry(this, item->key()->rawString(), value);
  delete old;  // replaced values go, whatever the delete setting
  return nullptr;
}

YcRxObject* YcRxDictionaryImp::atPut(const wchar_t* key, YcRxObject* value) {
  unsigned int id = 0;
  return atPut(key, value, id);
}

YcRxObject* YcRxDictionaryImp::atPut(unsigned int id, YcRxObject* value) {
  if (value && !filterRxObject(value)) return value;
  YcRxDicItem* item = getAt(idToIdx(id));
  if (!item) {
    kmrxFatal(L"YcRxDictionary::atPut - Invalid id");
    return nullptr;
  }
  return swapValue(item, value);
}

YcRxObject* YcRxDictionaryImp::swapValue(const YcRxDicItem* item, YcRxObject* value) {
  if (!item) return nullptr;
  auto* slot = const_cast<YcRxDicItem*>(item);
  YcRxObject* old = slot->value();
  if (old == value) return nullptr;
  slot->value() = value;
  noteRegistryEntry(this, static_cast<int>(slot - mpItems->asArrayPtr()), value);
  noteClassEntry(this, slot->key() ? slot->key()->rawString() : nullptr, value);
  if (!mDeletesObjects || !old) return old;
  delete old;
  return nullptr;
}

// Neither this nor resetKey checks whether the key is in use elsewhere, so
// equal keys may stand side by side and look-ups find the first; modules rely on it.
bool YcRxDictionaryImp::atKeyAndIdPut(const wchar_t* key, unsigned int id, YcRxObject* value) {
  if (!key || !*key || !value || !filterRxObject(value)) return false;
  // Id 0 would address index -1; ids past INT_MAX have no index.
  if (id == 0 || id > static_cast<unsigned int>(INT_MAX) || has(id)) return false;
  YcRxDicItem* item = makeItemAt(idToIdx(id));
  if (!item) return false;
  YcRxString* keyString = makeKey(key);
  if (!keyString) return false;
  if (mpKeyIndex && !mpKeyIndex->append(keyString, idToIdx(id))) {
    delete keyString;
    kmrxOutOfMemory(L"a dictionary key");
    return false;
  }
  item->key() = keyString;
  item->value() = value;
  noteKeyAdded(mpItems, mpKeyIndex, keyString, idToIdx(id));
  noteRegistryEntry(this, idToIdx(id), value);
  noteClassEntry(this, keyString->rawString(), value);
  return true;
}

bool YcRxDictionaryImp::resetKey(const wchar_t* oldKey, const wchar_t* newKey) {
  if (!oldKey || !*oldKey || !newKey || !*newKey) return false;
  int index = -1;
  YcRxDicItem* item = getAt(oldKey, &index);
  if (!item) return false;
  YcRxString* oldString = item->key();
  YcRxString* newString = makeKey(newKey);
  if (!newString) return false;
  item->key() = newString;
  if (mpKeyIndex) {
    auto pos = mpKeyIndex->getIteratorAt(oldString);
    const int kept = pos != mpKeyIndex->end() ? pos->second : index;
    mpKeyIndex->rekey(pos, newString, kept);
  }
  rekeyed(oldString, newString, index);
  noteClassEntry(this, newString->rawString(), item->value());
  delete oldString;
  return true;
}

bool YcRxDictionaryImp::resetKey(unsigned int id, const wchar_t* newKey) {
  YcRxDicItem* item = getAt(idToIdx(id));
  if (!item) return false;
  YcRxString* oldString = item->key();
  // A null text gives an empty key, as defined; only a text that could not be
  // copied refuses.
  YcRxString* newString = newKey && *newKey ? makeKey(newKey) : new YcRxString(newKey, !mCaseSensitive);
  if (!newString) return false;
  item->key() = newString;
  if (mpKeyIndex) mpKeyIndex->rekey(mpKeyIndex->getIteratorAt(oldString), newString, idToIdx(id));
  rekeyed(oldString, newString, idToIdx(id));
  noteClassEntry(this, newString->rawString(), item->value());
  delete oldString;
  return true;
}

void YcRxDictionaryImp::rekeyed(const YcRxString* oldKey, const YcRxString* newKey, int index) {
  YcRxDictionaryStore* store = YcRxDictionaryStore::of(mpItems);
  if (mpKeyIndex) {
    store->follow(*mpKeyIndex, oldKey->rawString());
    store->follow(*mpKeyIndex, newKey->rawString());
  } else {
    store->keyRemoved(oldKey->rawString(), index);
    store->keyAdded(newKey, index);
  }
}

YcRxObject* YcRxDictionaryImp::removeItem(int index) {
  YcRxDicItem& item = mpItems->asArrayPtr()[index];
  YcRxString* key = item.key();
  YcRxObject* value = item.value();
  YcRxDictionaryStore* store = YcRxDictionaryStore::of(mpItems);
  // The key index has already let go of it, when there is one.
  if (mpKeyIndex)
    store->follow(*mpKeyIndex, key->rawString());
  else
    store->keyRemoved(key->rawString(), index);
  store->slotFreed(index);
  item.key() = nullptr;
  item.value() = nullptr;
  noteRegistryEntry(this, index, nullptr);
  delete key;
  if (mDeletesObjects && value) {
    delete value;
    return nullptr;
  }
  return value;
}

YcRxObject* YcRxDictionaryImp::remove(const wchar_t* key) {
  if (!key || !*key) return nullptr;
  int index = -1;
  if (mpKeyIndex) {
    auto pos = mpKeyIndex->find(key);
    if (pos == mpKeyIndex->end()) return nullptr;
    index = pos->second;
    mpKeyIndex->removeAt(pos);
  } else if (!getAt(key, &index)) {
    return nullptr;
  }
  return removeItem(index);
}

YcRxObject* YcRxDictionaryImp::remove(unsigned int id) {
  const int index = idToIdx(id);
  YcRxDicItem* item = getAt(index);
  if (!item) return nullptr;
  if (mpKeyIndex) mpKeyIndex->removeAt(mpKeyIndex->getIteratorAt(item->key()));
  return removeItem(index);
}

bool YcRxDictionaryImp::has(const wchar_t* key) const { return getAt(key, nullptr) != nullptr; }

bool YcRxDictionaryImp::has(unsigned int id) const { return getAt(idToIdx(id)) != nullptr; }

unsigned int YcRxDictionaryImp::idAt(const wchar_t* key) const {
  int index = -1;
  return getAt(key, &index) ? idxToId(index) : 0;
}

const wchar_t* YcRxDictionaryImp::keyAt(unsigned int id) const {
  const YcRxDicItem* item = getAt(idToIdx(id));
  return item ? item->key()->rawString() : nullptr;
}

unsigned int YcRxDictionaryImp::numEntries() const {
  if (mpKeyIndex) return static_cast<unsigned int>(mpKeyIndex->count());
  if (!mpItems) return 0;
  unsigned int n = 0;
  const YcRxDicItem* items = mpItems->asArrayPtr();
  for (int i = 0, len = mpItems->length(); i < len; ++i)
    if (items[i].key()) ++n;
  return n;
}

YcRxDictionaryIterator* YcRxDictionaryImp::newIterator(YcRx::DictIterType type) {
  return new YcRxDictionaryImpIterator(this, type);
}

void YcRxDictionaryImp::clear(bool deleteValues) {
  if (!mpItems) return;
  YcRxDicItem* items = mpItems->asArrayPtr();
  for (int i = 0, n = mpItems->length(); i < n; ++i) {
    delete items[i].key();
    YcRxObject* value = items[i].value();
    items[i].key() = nullptr;
    items[i].value() = nullptr;
    if (value && (mDeletesObjects || deleteValues)) delete value;
  }
  mpItems->setLogicalLength(0);
  if (mpKeyIndex) mpKeyIndex->wipeout();
  YcRxDictionaryStore::of(mpItems)->keys.clear();
  YcRxDictionaryStore::of(mpItems)->freeHint = 0;
  noteRegistryCleared(this);
}
