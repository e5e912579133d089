// The registry object: its records, newest first, and filling it from the store.
#include "YcadRegisterYrxStack.h"

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

void YcadRegisterYrxStack::initFromRegister() {
  YcArray<YcadRegisterYrxInfo*> found(0, 8);
  if (!getYrxAppInfoListFromRegister(found)) return;
  while (!found.isEmpty()) {
    YcadRegisterYrxInfo* info = found.first();
    if (YcadRegisterYrxInfo* held = findYrxInfoWithAppName(info->appName())) {
      held->combineYrxInfo(info);
      delete info;
    } else {
      insertYrxInfo(info);
    }
    found.removeFirst();
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
