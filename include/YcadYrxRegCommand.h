// One demand-loadable command: its global (language-neutral) and local names.
#pragma once
#include "YcRxMacros.h"
#include "YcRxObject.h"

class KMRX_API YcadYrxRegCommand : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcadYrxRegCommand);

  // Copies each name that is not null.
  YcadYrxRegCommand(const wchar_t* globalName, const wchar_t* localName);
  ~YcadYrxRegCommand() override;
  YcadYrxRegCommand(const YcadYrxRegCommand&) = delete;
  YcadYrxRegCommand& operator=(const YcadYrxRegCommand&) = delete;

  virtual const wchar_t* globalName() const;
  virtual const wchar_t* localName() const;

private:
  wchar_t* mpGlobalName;
  wchar_t* mpLocalName;
};
