// The registry object: its records, newest first, and filling it from the store.
#include "YcadRegisterYrxStack.h"

#include <string>
#include <string_view>
#include <unordered_map>

#include "YcRxGenericCollection.h"
#include "YcRxIterator.h"
#include "YcadDemandLoad.h"
#include "YcadRegisterYrxInfo.h"
#include "YcadRegistryInternal.h"

// Not registered by itself; see YcadYrxRegCommand.cpp.
YCRX_DEFINE_MEMBERS(YcadRegisterYrxStack, L"YcadRegisterYrxStack", L"YcRxObject")

YcadRegisterYrxStack::YcadRegisterYrxStack() : mpInfos(kmrxNewRegistryList()), mCount(0) {}

YcadRegisterYrxStack::~YcadRegisterYrxStack() {
  kmrxDemandLoadChanged();
  kmrxDeleteListed(mpInfos);
  delete mpInfos;
}

void YcadRegisterYrxStack::initFromBuildinYrx() {}

namespace {

typedef std::basic_string<wchar_t, std::char_traits<wchar_t>, KmStdAllocator<wchar_t>> FoldedName;
struct FoldedNameHash {
  std::size_t operator()(const FoldedName& name) const {
    return std::hash<std::wstring_view>()(std::wstring_view(name.data(), name.size()));
  }
};
typedef std::unordered_map<FoldedName, YcadRegisterYrxInfo*, FoldedNameHash,
                           std::equal_to<FoldedName>,
                           KmStdAllocator<std::pair<const FoldedName, YcadRegisterYrxInfo*>>>
    NameIndex;

FoldedName foldedName(const wchar_t* name) {
  FoldedName folded;
  for (const wchar_t* p = name ? name : L""; *p; ++p) folded += static_cast<wchar_t>(kmrxFoldCase(*p));
  return folded;
}

}  // namespace

void YcadRegisterYrxStack::initFromRegister() {
  kmrxDemandLoadChanged();
  YcArray<YcadRegisterYrxInfo*> found(0, 8);
  if (!getYrxAppInfoListFromRegister(found)) return;
  // The records by folded name, so that each new one finds its namesake at
  // once: the merge is what a walk of the list from the front would give,
  // since a name is held at most once. Without memory for the index the walk
  // is what finds it.
  NameIndex byName;
  bool indexed = kmrxTry(L"the index of the demand-load registry", [&] {
    kmrxFindInCollection(mpInfos, [&](YcRxObject* object) {
      auto* info = static_cast<YcadRegisterYrxInfo*>(object);
      byName.emplace(foldedName(info->appName()), info);
      return false;
    });
  });
  for (int i = 0; i < found.length(); ++i) {
    YcadRegisterYrxInfo* info = found[i];
    YcadRegisterYrxInfo* held = nullptr;
    if (indexed) {
      indexed = kmrxTry(L"the index of the demand-load registry", [&] {
        auto namesake = byName.find(foldedName(info->appName()));
        if (namesake != byName.end()) held = namesake->second;
      });
    }
    if (!indexed) held = findYrxInfoWithAppName(info->appName());
    if (held) {
      held->combineYrxInfo(info);
      delete info;
      continue;
    }
    const int before = count();
    insertYrxInfo(info);  // deletes it when it cannot be held
    if (count() != before && indexed)
      indexed = kmrxTry(L"the index of the demand-load registry",
                        [&] { byName.emplace(foldedName(info->appName()), info); });
  }
}

void YcadRegisterYrxStack::insertYrxInfo(YcadRegisterYrxInfo* info) {
  kmrxDemandLoadChanged();
  if (kmrxAddOwnedFront(mpInfos, info)) ++mCount;
}

YcadRegisterYrxInfo* YcadRegisterYrxStack::findYrxInfoWithAppName(const wchar_t* appName) const {
  return kmrxFindNamed<YcadRegisterYrxInfo>(
      mpInfos, appName, [](YcadRegisterYrxInfo* info) { return info->appName(); });
}

YcRxIterator* YcadRegisterYrxStack::newIterator() const {
  return mpInfos ? mpInfos->newIterator() : nullptr;
}
