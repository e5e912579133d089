// Any bytes as the host's configuration store, through to the demand-load
// registry it builds and the command look-ups a host makes: no fault, no
// leak, no null record handed out.
#include <cstddef>
#include <cstdint>

#include "FuzzSupport.h"
#include "KmRx.h"
#include "KmStores.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzzStartRuntime();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::wstring path = fuzzWriteFile("config.reg", data, size);
  kmStoreOpenConfigFile(path.c_str());
  initDemandLoadYrxList();
  YcArray<const wchar_t*> commands(0, 8);
  getAllRegisterYrxAppCommandList(commands);
  for (int i = 0; i < commands.length() && i < 64; ++i) {
    YcArray<YcadAppInfo*> apps(0, 4);
    if (!commands[i]) __builtin_trap();
    getRegisterYrxAppInfoList(commands[i], apps, false);
    for (int j = 0; j < apps.length(); ++j)
      if (!apps[j]) __builtin_trap();
    // The same name as a group's command, and lower-cased, as a user types it.
    std::wstring grouped = std::wstring(L"G.") + commands[i];
    YcArray<YcadAppInfo*> more(0, 4);
    getRegisterYrxAppInfoList(grouped.c_str(), more, false);
  }
  YcArray<YcadRegisterYrxInfo*> registered(0, 8);
  getYrxAppInfoListFromRegister(registered);
  for (int i = 0; i < registered.length(); ++i) delete registered[i];  // the caller's
  uninitDemandLoadYrxList();
  kmStoreCloseAll();
  return 0;
}
