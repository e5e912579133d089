// Shared test helpers: a crash recorder that keeps every report, a fixture
// that installs it, and running a check in a forked child.
#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "KmRx.h"

class RecordingCrashRecorder : public KmCrashRecorder {
public:
  void record(const KmExceptionWithMsg& e) override;
  std::vector<std::wstring> messages;
};

// Installs a RecordingCrashRecorder for the test and puts the old one back after.
class RuntimeTest : public ::testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;

  const std::vector<std::wstring>& fatalMessages() const { return mRecorder.messages; }
  void clearFatalMessages() { mRecorder.messages.clear(); }
  // Count of fatal reports whose text is exactly message.
  int fatalCount(const std::wstring& message) const;

private:
  RecordingCrashRecorder mRecorder;
  KmCrashRecorder* mpPrevious = nullptr;
};

// A registered test class name that no other test uses.
std::wstring uniqueClassName(const wchar_t* stem);

// Runs body in a forked child; the test fails when any assertion in the child
// fails (its messages are shown). For start-up and teardown checks.
#define KMRX_EXPECT_IN_CHILD(body)                                                   \
  EXPECT_EXIT(                                                                       \
      {                                                                              \
        body;                                                                        \
        std::exit(::testing::Test::HasFailure() ? 1 : 0);                            \
      },                                                                             \
      ::testing::ExitedWithCode(0), "")
