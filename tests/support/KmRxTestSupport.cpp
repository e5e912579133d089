#include "KmRxTestSupport.h"

#include <algorithm>

void RecordingCrashRecorder::record(const KmExceptionWithMsg& e) {
  messages.emplace_back(e.message() ? e.message() : L"<null>");
}

void RuntimeTest::SetUp() { mpPrevious = ycadSetCrashRecorder(&mRecorder); }

void RuntimeTest::TearDown() { ycadSetCrashRecorder(mpPrevious); }

int RuntimeTest::fatalCount(const std::wstring& message) const {
  return static_cast<int>(std::count(mRecorder.messages.begin(), mRecorder.messages.end(), message));
}

std::wstring uniqueClassName(const wchar_t* stem) {
  static int counter = 0;
  return std::wstring(stem) + L"_" + std::to_wstring(++counter);
}
