#include "KmStoreTree.h"

#include <utility>

namespace {

// ASCII only: the store must not compare differently when a caller changes
// the C library's locale.
wchar_t foldAscii(wchar_t c) { return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + 32) : c; }

}  // namespace

bool kmStoreSameName(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (foldAscii(a[i]) != foldAscii(b[i])) return false;
  return true;
}

KmStoreNode::KmStoreNode(std::wstring name, bool foldCase)
    : mName(std::move(name)), mFoldCase(foldCase) {}

KmStoreNode::~KmStoreNode() = default;

std::wstring KmStoreNode::indexKey(const std::wstring& name) const {
  if (!mFoldCase) return name;
  std::wstring key(name);
  for (wchar_t& c : key) c = foldAscii(c);
  return key;
}

const KmStoreNode* KmStoreNode::child(const std::wstring& name) const {
  auto it = mChildIndex.find(indexKey(name));
  return it == mChildIndex.end() ? nullptr : mChildren[it->second].get();
}

KmStoreNode& KmStoreNode::ensureChild(const std::wstring& name) {
  const std::wstring key = indexKey(name);
  auto it = mChildIndex.find(key);
  if (it != mChildIndex.end()) return *mChildren[it->second];
  mChildren.push_back(std::make_unique<KmStoreNode>(name, mFoldCase));
  mChildIndex.emplace(key, mChildren.size() - 1);
  return *mChildren.back();
}

const KmStoreValue* KmStoreNode::value(const std::wstring& name) const {
  auto it = mValueIndex.find(indexKey(name));
  return it == mValueIndex.end() ? nullptr : &mValues[it->second];
}

void KmStoreNode::setValue(const KmStoreValue& value) {
  const std::wstring key = indexKey(value.name);
  auto it = mValueIndex.find(key);
  if (it != mValueIndex.end()) {
    mValues[it->second] = value;
    return;
  }
  mValues.push_back(value);
  mValueIndex.emplace(key, mValues.size() - 1);
}

KmKeyPathResult kmSplitKeyPath(const std::wstring& text, const KmKeyPathRules& rules,
                               std::vector<std::wstring>& names) {
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = text.find(rules.separator, start);
    const std::size_t stop = end == std::wstring::npos ? text.size() : end;
    if (stop > start) {
      names.push_back(text.substr(start, stop - start));
      if (rules.maxNames && names.size() > rules.maxNames) return KmKeyPathResult::kTooDeep;
    } else if (!rules.skipEmpty) {
      return KmKeyPathResult::kEmptyName;
    }
    if (end == std::wstring::npos) return KmKeyPathResult::kOk;
    start = end + 1;
  }
}

const KmStoreNode* KmStoreNode::find(const std::vector<std::wstring>& path) const {
  const KmStoreNode* node = this;
  for (const std::wstring& name : path) {
    node = node->child(name);
    if (!node) return nullptr;
  }
  return node;
}
