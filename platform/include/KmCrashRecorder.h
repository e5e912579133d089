// The host's sink for fatal-error reports. None is installed at first, and
// then reports are dropped; whether the process ends is the recorder's call.
#pragma once
#include "KmExceptionWithMsg.h"

class KMRX_API KmCrashRecorder {
public:
  virtual ~KmCrashRecorder();
  virtual void record(const KmExceptionWithMsg& exception) = 0;
};

KMRX_API KmCrashRecorder* ycadGetCrashRecorder();
// Installs a recorder (or none, for null) and returns the previous one.
KMRX_API KmCrashRecorder* ycadSetCrashRecorder(KmCrashRecorder* recorder);
