// Enumerations shared across the runtime's interfaces: orderings, dictionary
// iteration orders, module message and return codes, load reasons.
#pragma once
#include <cstdint>

namespace YcRx {

// Result of comparedTo.
enum Ordering : std::int32_t {
  kLessThan = -1,
  kEqual = 0,
  kGreaterThan = 1,
  kNotOrderable = 2,
};

enum DictIterType : std::int32_t {
  kDictKeyOrder = 0,  // sorted dictionaries only
  kDictIdOrder = 1,
};

// Messages sent to a module's "ycrxEntryPoint". Other codes belong to the host.
enum AppMsgCode : std::int32_t {
  kNullMsg = 0,
  kAppInitMsg = 1,
  kAppUnloadMsg = 2,
  kAppDependencyMsg = 10,
  kAppNoDependencyMsg = 11,
};

// A module's answer: anything but kAppRetOk refuses or fails.
enum AppRetCode : std::int32_t {
  kAppRetOk = 0,
  kAppRetError = 3,
};

}  // namespace YcRx

namespace YcadApp {

// Why a module is (to be) loaded; a set of flags.
enum LoadReasons : std::int32_t {
  kNoReason = 0,
  kOnStartup = 2,
  kOnAppLoader = 4,
  kOnLoadRequest = 8,
  kLoadDisabled = 16,
  kOnCommandInvocation = 32,
};

}  // namespace YcadApp

// A module's message entry and a service's dependency function.
typedef YcRx::AppRetCode (*YcRxEntryPointFunc)(YcRx::AppMsgCode code, void* arg);
// A module's "ycrxGetApiVersion": major in the high 16 bits, minor in the low 16.
typedef std::uint32_t (*YcRxApiVersionFunc)(int);
