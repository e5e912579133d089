// The demand-load registry: every registered application with its commands,
// newest first. It owns its records.
#pragma once
#include <cstdint>
#include "YcRxMacros.h"
#include "YcRxObject.h"

class YcRxGenericCollection;
class YcRxIterator;
class YcadRegisterYrxInfo;

class KMRX_API YcadRegisterYrxStack : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcadRegisterYrxStack);

  YcadRegisterYrxStack();
  ~YcadRegisterYrxStack() override;
  YcadRegisterYrxStack(const YcadRegisterYrxStack&) = delete;
  YcadRegisterYrxStack& operator=(const YcadRegisterYrxStack&) = delete;

  // There are no built-in applications: does nothing.
  void initFromBuildinYrx();
  // Adds the applications of the configuration store, merging names that
  // differ only in case.
  void initFromRegister();
  void insertYrxInfo(YcadRegisterYrxInfo* info);
  YcadRegisterYrxInfo* findYrxInfoWithAppName(const wchar_t* appName) const;
  YcRxIterator* newIterator() const;
  std::uint16_t count() const { return mCount; }

private:
  YcRxGenericCollection* mpInfos;
  std::uint16_t mCount;
};
