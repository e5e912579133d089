// The registry object: its records, newest first, and filling it from the store.
#include "YcadRegisterYrxStack.h"

#include <string>
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
  kmrxDeleteListed(mpInfos);
  delete mpInfos;
}

void YcadRegisterYrxStack::initFromBuildinYrx() {}

namespace {

std::wstring foldedName(const wchar_t* name) {
  std::wstring folded;
  for (const wchar_t* p = name ? name : L""; *p; ++p) folded += static_cast<wchar_t>(kmrxFoldCase(*p));
  return folded;
}

}  // namespace

void YcadRegisterYrxStack::initFromRegister() {
  YcArray<YcadRegisterYrxInfo*> found(0, 8);
  if (!getYrxAppInfoListFromRegister(found)) return;
  // The records by folded name, so that each new one finds its namesake at
  // once: the merge is what a walk of the list from the front would give,
  // since a name is held at most once.
  std::unordered_map<std::wstring, YcadRegisterYrxInfo*> byName;
  YcRxIterator* held = mpInfos->newIterator();
  for (; !held->done(); held->next()) {
    auto* info = static_cast<YcadRegisterYrxInfo*>(held->object());
    byName.emplace(foldedName(info->appName()), info);
  }
  delete held;
  for (int i = 0; i < found.length(); ++i) {
    YcadRegisterYrxInfo* info = found[i];
    auto namesake = byName.find(foldedName(info->appName()));
    if (namesake != byName.end()) {
      namesake->second->combineYrxInfo(info);
      delete info;
    } else {
      insertYrxInfo(info);
      byName.emplace(foldedName(info->appName()), info);
    }
  }
}

void YcadRegisterYrxStack::insertYrxInfo(YcadRegisterYrxInfo* info) {
  mpInfos->addFront(info);
  ++mCount;
}

YcadRegisterYrxInfo* YcadRegisterYrxStack::findYrxInfoWithAppName(const wchar_t* appName) const {
  return kmrxFindNamed<YcadRegisterYrxInfo>(
      mpInfos, appName, [](YcadRegisterYrxInfo* info) { return info->appName(); });
}

YcRxIterator* YcadRegisterYrxStack::newIterator() const { return mpInfos->newIterator(); }
