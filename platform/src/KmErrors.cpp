// Failure reporting: status carrier, exception with message, crash recorder slot.
#include "KmCrashRecorder.h"
#include "KmErrorStatus.h"
#include "KmHeap.h"

KmErrorStatus::~KmErrorStatus() = default;

namespace {
// A copy that cannot fail to be readable: null text stays null.
wchar_t* copyOrNull(const wchar_t* text) { return text ? _kmStrdup(text) : nullptr; }
KmCrashRecorder* gRecorder = nullptr;
}  // namespace

KmExceptionWithMsg::KmExceptionWithMsg(const wchar_t* file, int line, const wchar_t* message)
    : mFile(copyOrNull(file)), mLine(line), mMessage(copyOrNull(message)) {}

KmExceptionWithMsg::KmExceptionWithMsg(const KmExceptionWithMsg& other)
    : mFile(copyOrNull(other.mFile)), mLine(other.mLine), mMessage(copyOrNull(other.mMessage)) {}

KmExceptionWithMsg& KmExceptionWithMsg::operator=(const KmExceptionWithMsg& other) {
  if (this != &other) {
    _kmStrdupFree(mFile);
    _kmStrdupFree(mMessage);
    mFile = copyOrNull(other.mFile);
    mLine = other.mLine;
    mMessage = copyOrNull(other.mMessage);
  }
  return *this;
}

KmExceptionWithMsg::~KmExceptionWithMsg() {
  _kmStrdupFree(mFile);
  _kmStrdupFree(mMessage);
}

KmCrashRecorder::~KmCrashRecorder() = default;

KmCrashRecorder* ycadGetCrashRecorder() { return gRecorder; }

KmCrashRecorder* ycadSetCrashRecorder(KmCrashRecorder* recorder) {
  KmCrashRecorder* previous = gRecorder;
  gRecorder = recorder;
  return previous;
}
