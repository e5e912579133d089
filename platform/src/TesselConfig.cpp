// The configuration store over its file's tree, and the value record it fills.
#include "TesselConfig.h"

#include <cstddef>
#include <cstring>
#include <cwchar>

#include "KmHeap.h"
#include "KmStoreState.h"
#include "KmStoreTree.h"

struct YcadVariantLayout {
  static_assert(offsetof(YcadVariant, mType) == 0, "type code at byte 0");
  static_assert(offsetof(YcadVariant, mpValue) == 4, "value block at byte 4");
};

namespace {

constexpr std::size_t kHeader = 4;

bool copyName(const std::wstring& name, wchar_t* buffer, std::size_t size) {
  if (!buffer || name.size() + 1 > size) return false;
  std::wmemcpy(buffer, name.c_str(), name.size() + 1);
  return true;
}

// A value block as the store hands it out; null when memory runs out.
void* makeBlock(std::int32_t type, std::uint32_t number, const std::wstring& text) {
  const std::size_t payload =
      type == YcadVariant::kDWord ? sizeof(std::uint32_t) : (text.size() + 1) * sizeof(wchar_t);
  auto* block = static_cast<unsigned char*>(_kmMalloc(kHeader + payload));
  if (!block) return nullptr;
  const std::uint32_t header = static_cast<std::uint32_t>(payload);
  std::memcpy(block, &header, kHeader);
  if (type == YcadVariant::kDWord)
    std::memcpy(block + kHeader, &number, sizeof(number));
  else
    std::memcpy(block + kHeader, text.c_str(), payload);
  return block;
}

const KmStoreNode& emptyNode() {
  static const KmStoreNode node(L"", false);
  return node;
}

}  // namespace

// --- YcadVariant ------------------------------------------------------------------------

YcadVariant::YcadVariant() : mType(kNone), mpValue(nullptr) {}

YcadVariant::~YcadVariant() { releaseValue(); }

void YcadVariant::releaseValue() {
  if (mpValue) _kmFree(mpValue);
  mpValue = nullptr;
}

std::uint32_t YcadVariant::getDWord() const {
  if (mType != kDWord || !mpValue) return 0;
  std::uint32_t number;
  std::memcpy(&number, static_cast<const unsigned char*>(mpValue) + kHeader, sizeof(number));
  return number;
}

const wchar_t* YcadVariant::getString() const {
  if (mType != kString || !mpValue) return L"";
  return reinterpret_cast<const wchar_t*>(static_cast<const unsigned char*>(mpValue) + kHeader);
}

void YcadVariant::setValue(std::int32_t type, void* block) {
  releaseValue();
  mType = type;
  mpValue = block;
}

// --- iterators -------------------------------------------------------------------------

bool TesselConfigItemIterator::readName(wchar_t* buffer, std::size_t size) const {
  return !done() && copyName(mNames[mPos], buffer, size);
}

bool TesselConfigValueIterator::readKey(wchar_t* buffer, std::size_t size) const {
  return !done() && copyName(mEntries[mPos].key, buffer, size);
}

bool TesselConfigValueIterator::readValue(YcadVariant& value) const {
  if (done()) return false;
  const Entry& entry = mEntries[mPos];
  void* block = makeBlock(entry.type, entry.number, entry.text);
  if (!block) return false;
  value.setValue(entry.type, block);
  return true;
}

// --- TesselConfig -------------------------------------------------------------------------

TesselConfig* kmStoreMakeConfig(KmStoreNode* root) { return new TesselConfig(root); }

TesselConfig::TesselConfig(KmStoreNode* root) : mpRoot(root) {}

TesselConfig::~TesselConfig() { delete mpRoot; }

const wchar_t* TesselConfig::pathName(Path path) {
  return path == kApplications ? L"Applications" : nullptr;
}

const KmStoreNode* TesselConfig::item(Path path, const wchar_t* key) const {
  const wchar_t* section = pathName(path);
  if (!section) return nullptr;
  // The empty key is the path's root; "a//b" names nothing.
  std::vector<std::wstring> names;
  const KmKeyPathRules rules{L'/', false, 0};
  if (key && *key && kmSplitKeyPath(key, rules, names) != KmKeyPathResult::kOk) return nullptr;
  // A path that the file never mentions is there, empty.
  const KmStoreNode* top = mpRoot->child(section);
  return (top ? *top : emptyNode()).find(names);
}

bool TesselConfig::isItemExist(Path path, const wchar_t* key) const {
  return item(path, key) != nullptr;
}

bool TesselConfig::readValue(Path path, const wchar_t* key, YcadVariant& value) const {
  value.setValue(YcadVariant::kNone, nullptr);
  if (!key || !*key) return false;
  const std::wstring text(key);
  const std::size_t slash = text.rfind(L'/');
  const std::wstring owner = slash == std::wstring::npos ? std::wstring() : text.substr(0, slash);
  const std::wstring name = slash == std::wstring::npos ? text : text.substr(slash + 1);
  const KmStoreNode* node = item(path, owner.c_str());
  const KmStoreValue* found = node ? node->value(name) : nullptr;
  if (!found) return false;
  void* block = makeBlock(found->type, found->number, found->text);
  if (!block) return false;
  value.setValue(found->type, block);
  return true;
}

TesselConfigItemIterator* TesselConfig::newItemIterator(Path path, const wchar_t* key) const {
  const KmStoreNode* node = item(path, key);
  if (!node) return nullptr;
  auto* it = new TesselConfigItemIterator();
  for (const auto& child : node->children()) it->mNames.push_back(child->name());
  return it;
}

TesselConfigValueIterator* TesselConfig::newValueIterator(Path path, const wchar_t* key) const {
  const KmStoreNode* node = item(path, key);
  if (!node) return nullptr;
  auto* it = new TesselConfigValueIterator();
  for (const KmStoreValue& v : node->values())
    it->mEntries.push_back(TesselConfigValueIterator::Entry{v.name, v.type, v.number, v.text});
  return it;
}
