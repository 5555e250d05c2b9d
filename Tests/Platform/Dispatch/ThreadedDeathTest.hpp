#pragma once

#include <gtest/gtest.h>

namespace platform {

/// For death tests that need worker threads: a forked child would have none of those that earlier tests
/// started, so the statement runs in a process of its own.
class ThreadedDeathTest : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  void TearDown() override { GTEST_FLAG_SET(death_test_style, "fast"); }
};

}  // namespace platform
