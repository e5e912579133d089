// Status values shared by the host platform and the runtime, and the object
// that carries one when it has to be thrown (by the array template only).
#pragma once
#include <cstdint>
#include "KmRxExport.h"

namespace Ycad {
enum ErrorStatus : std::int32_t {
  eOk = 0,
  eNotImplementedYet = 1,
  eInvalidIndex = 2,
  eKeyNotFound = 3,
  eInvalidInput = 5,
  eNegativeValue = 6,
  eOutOfMemory = 24,
  eWrongObjectClass = 46,
  // Results of fetching a remote file through the host.
  eRemoteFetched = 20000,
  eRemoteCached = 20001,
};
}  // namespace Ycad

class KMRX_API KmErrorStatus {
public:
  explicit KmErrorStatus(Ycad::ErrorStatus status) : mStatus(status) {}
  virtual ~KmErrorStatus();
  Ycad::ErrorStatus status() const { return mStatus; }

private:
  Ycad::ErrorStatus mStatus;
};
