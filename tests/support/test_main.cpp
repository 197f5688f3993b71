// Test entry point. Every test binary starts from a fixed environment so that no test reads the
// developer's home directory, locale or time zone by accident.
#include <gtest/gtest.h>

#include "support/test_support.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  norvik::testing::installBaseEnvironment(argv[0]);
  return RUN_ALL_TESTS();
}
