// Ids of the runtime's user messages, the texts of its resource module
// "KmRxRes.dll". Read one with KmRxGetResString; each text takes one "%s".
#pragma once

namespace KmRxMsg {

enum Id : int {
  kLoadFailed = 1001,         // a load failed; follows the specific message
  kAlreadyLoaded = 1002,      // the module is loaded already
  kUnloaded = 1003,           // the module was unloaded
  kNoEntryPoint = 1004,       // no "ycrxEntryPoint"
  kCannotUnload = 1005,       // locked, or busy with a message
  kNotAModule = 1006,         // not loadable here, or no "ycrxGetApiVersion"
  kLoaded = 1007,             // loaded and initialised
  kDependencyMissing = 1008,  // found, but a module it needs is missing
  kUnreadable = 1009,         // the file cannot be read
  kNotFound = 1010,           // the file does not exist
  kCancelled = 1011,          // the load was cancelled
  kNoSuchApplication = 1012,  // no application under that name
  kOlderApi = 1013,           // built for an older runtime API
  kNewerApi = 1014,           // built for a newer runtime API
  kInitFailed = 1015,         // the module refused its init message
  kInitThrew = 1016,          // the init message threw; the detail says what
  kLoadCycle = 1017,          // loaded again while its init is still running
  kLeftBehind = 1018,         // two "%s": the module, what it left registered
  kClassReplaced = 1019,      // two "%s": the class, by whom and in whose place
};

constexpr int kFirst = kLoadFailed;
constexpr int kLast = kClassReplaced;

}  // namespace KmRxMsg
