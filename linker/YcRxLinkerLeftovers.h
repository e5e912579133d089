// Taking off what a module left registered, at its unload.
#pragma once

class YcRxDynamicLinkerImp;
class YcRxDynLoadModuleProxy;

// After the module's unload message: every linker reactor, protocol
// extension (still holding the value the module set), protocol reactor and
// system-registry entry the ledger credits to the module is taken off and
// reported to the host, naming the module and the object.
void kmrxDetachLeftovers(YcRxDynamicLinkerImp& linker, YcRxDynLoadModuleProxy* module);
