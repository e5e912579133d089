// The host configuration store (read from its file, see KmStores.h): items
// holding values, grouped in paths. Keys are "item", "item/subitem" and, for
// values, "item/value"; the empty key is the root of a path.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>
#include "KmRxExport.h"

class KmStoreNode;

// A value handed out by the store: a packed 12-byte record shared with the
// store's callers, a type code at byte 0 and the value block at byte 4. The
// block comes from _kmMalloc: a 32-bit header (the payload's size in bytes),
// then the payload (a 32-bit number or a terminated wide string).
#pragma pack(push, 1)
class KMRX_API YcadVariant {
public:
  enum Type : std::int32_t { kNone = 0, kDWord = 1, kString = 5 };

  YcadVariant();
  ~YcadVariant();
  YcadVariant(const YcadVariant&) = delete;
  YcadVariant& operator=(const YcadVariant&) = delete;

  std::int32_t type() const { return mType; }
  const void* valueBlock() const { return mpValue; }
  // Frees the block (if any) and forgets it; the type stays.
  void releaseValue();
  // The number for type 1 with a block, else 0.
  std::uint32_t getDWord() const;
  // The text for type 5 with a block, else an empty string; never null.
  const wchar_t* getString() const;
  // For the store: releases the old block and takes over block.
  void setValue(std::int32_t type, void* block);

private:
  friend struct YcadVariantLayout;
  std::int32_t mType;
  void* mpValue;
};
#pragma pack(pop)

static_assert(sizeof(YcadVariant) == 12, "YcadVariant is exchanged as 12 packed bytes");

class KMRX_API TesselConfigItemIterator {
public:
  bool done() const { return mPos >= mNames.size(); }
  void next() {
    if (!done()) ++mPos;
  }
  // The current item's name; false when done or when it does not fit in size
  // characters with the terminator.
  bool readName(wchar_t* buffer, std::size_t size) const;

private:
  friend class TesselConfig;
  std::vector<std::wstring> mNames;
  std::size_t mPos = 0;
};

class KMRX_API TesselConfigValueIterator {
public:
  bool done() const { return mPos >= mEntries.size(); }
  void next() {
    if (!done()) ++mPos;
  }
  // The current value's name; false when done or when it does not fit.
  bool readKey(wchar_t* buffer, std::size_t size) const;
  // The current value; false when done or out of memory.
  bool readValue(YcadVariant& value) const;

private:
  friend class TesselConfig;
  struct Entry {
    std::wstring key;
    std::int32_t type;
    std::uint32_t number;
    std::wstring text;
  };
  std::vector<Entry> mEntries;
  std::size_t mPos = 0;
};

class KMRX_API TesselConfig {
public:
  enum Path : int { kApplications = 5 };

  ~TesselConfig();
  TesselConfig(const TesselConfig&) = delete;
  TesselConfig& operator=(const TesselConfig&) = delete;

  // Whether key names an item of path (the empty key: the path's root).
  bool isItemExist(Path path, const wchar_t* key) const;
  // Reads the value "item/name" (or "name" on the path's root) into value.
  // False, with value emptied, when there is no such value.
  bool readValue(Path path, const wchar_t* key, YcadVariant& value) const;
  // The sub-items of an item, in file order; null when there is no such item.
  // The caller deletes the iterator; it holds its own copy of the names.
  TesselConfigItemIterator* newItemIterator(Path path, const wchar_t* key) const;
  // The values of an item, in file order; null when there is no such item.
  TesselConfigValueIterator* newValueIterator(Path path, const wchar_t* key) const;

  // The section name that stands for path in the file, or null.
  static const wchar_t* pathName(Path path);

private:
  friend TesselConfig* kmStoreMakeConfig(KmStoreNode* root);
  explicit TesselConfig(KmStoreNode* root);
  const KmStoreNode* item(Path path, const wchar_t* key) const;

  KmStoreNode* mpRoot;
};

// The open configuration store, or null when there is none.
KMRX_API TesselConfig* ycadConfig();
