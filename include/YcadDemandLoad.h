// The demand-load registry of the process: built once from the configuration
// store, asked which not-yet-loaded applications provide a command.
#pragma once
#include "YcArray.h"
#include "KmRxExport.h"

class YcadAppInfo;
class YcadRegisterYrxInfo;
class YcadRegisterYrxStack;

// The registry; null until initDemandLoadYrxList and after uninitDemandLoadYrxList.
KMRX_API extern YcadRegisterYrxStack* g_pRegYrxList;

// Builds the registry unless it exists. Always true.
KMRX_API bool initDemandLoadYrxList();
// Deletes the registry with everything in it. Always true.
KMRX_API bool uninitDemandLoadYrxList();
// Reads every complete application entry of the store into new records
// (owned by the caller); true when it found any.
KMRX_API bool getYrxAppInfoListFromRegister(YcArray<YcadRegisterYrxInfo*>& list);
// The registered applications not loaded yet that provide command ("COMMAND",
// "GROUP.COMMAND" or ".COMMAND"), newest first; with onlyOnCommandBit only
// those to be loaded on command (load reason 32). The records stay the
// registry's. False without a registry, command or command name.
KMRX_API bool getRegisterYrxAppInfoList(const wchar_t* command, YcArray<YcadAppInfo*>& out,
                                        bool onlyOnCommandBit);
// The local name of every registered command (the registry's own strings).
KMRX_API bool getAllRegisterYrxAppCommandList(YcArray<const wchar_t*>& out);
