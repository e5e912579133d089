// Internal: the stores open at the moment, for the registry functions and
// the configuration store.
#pragma once
#include "KmRegistry.h"

class KmStoreNode;
class TesselConfig;

// The tree of HKEY_CURRENT_USER or HKEY_LOCAL_MACHINE (never null for those,
// an empty tree when no file was read); null for any other handle.
const KmStoreNode* kmStoreRegistryRoot(HKEY root);
// Wraps a configuration tree (taking it over) in a store object.
TesselConfig* kmStoreMakeConfig(KmStoreNode* root);
