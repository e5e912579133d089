// Starts the runtime once for the whole test binary.
#include <gtest/gtest.h>

#include "KmRx.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // Children of death tests inherit the started runtime.
  ::testing::GTEST_FLAG(death_test_style) = "fast";
  InitializeYcRxSystem();
  return RUN_ALL_TESTS();
}
