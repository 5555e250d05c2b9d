#include "Platform/Trap.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>

namespace {

TEST(TrapDeathTest, printsTheReasonAndAborts) {
  EXPECT_EXIT(platform::trap("the reason"), testing::KilledBySignal(SIGABRT), "^Corvane: the reason\n$");
}

TEST(TrapDeathTest, runsNoExitHandlers) {
  EXPECT_EXIT(
      {
        std::atexit([] { std::_Exit(0); });
        platform::trap("first");
      },
      testing::KilledBySignal(SIGABRT), "first");
}

}  // namespace
