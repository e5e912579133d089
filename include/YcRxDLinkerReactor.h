// Observer of module loading and unloading; every operation gets the module's
// file name and does nothing by default.
#pragma once
#include "YcRxMacros.h"
#include "YcRxObject.h"

class KMRX_API YcRxDLinkerReactor : public YcRxObject {
public:
  YCRX_DECLARE_MEMBERS(YcRxDLinkerReactor);

  virtual void rxAppWillBeLoaded(const wchar_t* moduleName);
  virtual void rxAppLoaded(const wchar_t* moduleName);
  virtual void rxAppLoadAborted(const wchar_t* moduleName);
  virtual void rxAppWillBeUnloaded(const wchar_t* moduleName);
  virtual void rxAppUnloaded(const wchar_t* moduleName);
  virtual void rxAppUnloadAborted(const wchar_t* moduleName);
};
