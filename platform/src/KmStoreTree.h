// Internal: a store file in memory, a tree of keys holding values. Children
// and values keep the order in which the file first names them.
#pragma once
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct KmStoreValue {
  enum Type : std::int32_t { kDWord = 1, kString = 5 };
  std::wstring name;
  std::int32_t type = kString;
  std::uint32_t number = 0;
  std::wstring text;
};

class KmStoreNode {
public:
  // foldCase: names compare without regard to ASCII case (children inherit it).
  KmStoreNode(std::wstring name, bool foldCase);
  ~KmStoreNode();
  KmStoreNode(const KmStoreNode&) = delete;
  KmStoreNode& operator=(const KmStoreNode&) = delete;

  const std::wstring& name() const { return mName; }
  const KmStoreNode* child(const std::wstring& name) const;
  // The child of that name, made when missing.
  KmStoreNode& ensureChild(const std::wstring& name);
  const std::vector<std::unique_ptr<KmStoreNode>>& children() const { return mChildren; }

  const KmStoreValue* value(const std::wstring& name) const;
  // Adds the value, or replaces one of the same name in place.
  void setValue(const KmStoreValue& value);
  const std::vector<KmStoreValue>& values() const { return mValues; }

  // Descends along path; null when a key on the way is missing.
  const KmStoreNode* find(const std::vector<std::wstring>& path) const;

private:
  std::wstring indexKey(const std::wstring& name) const;

  std::wstring mName;
  bool mFoldCase;
  std::vector<std::unique_ptr<KmStoreNode>> mChildren;
  std::map<std::wstring, std::size_t> mChildIndex;
  std::vector<KmStoreValue> mValues;
  std::map<std::wstring, std::size_t> mValueIndex;
};

// Whether a and b are equal without regard to ASCII case.
bool kmStoreSameName(const std::wstring& a, const std::wstring& b);

// How a key path splits into names: the file's sections and the registry
// functions split at "\", the configuration store's API at "/".
struct KmKeyPathRules {
  wchar_t separator;
  bool skipEmpty;        // empty names are dropped; otherwise one makes the path invalid
  std::size_t maxNames;  // names may hold no more than this; 0: no limit
};
enum class KmKeyPathResult { kOk, kEmptyName, kTooDeep };

// Appends the names of text to names, stopping at the first that breaks the
// rules. An empty text is one empty name.
KmKeyPathResult kmSplitKeyPath(const std::wstring& text, const KmKeyPathRules& rules,
                               std::vector<std::wstring>& names);
