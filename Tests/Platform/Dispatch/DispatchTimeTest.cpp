#include "Platform/Dispatch/DispatchTime.hpp"

#include <gtest/gtest.h>

#include <chrono>

namespace platform {
namespace {

TEST(DispatchTimeTest, takesNumbersAndAllDurationsOfTheStandardLibrary) {
  using namespace std::chrono_literals;
  const auto count = [](Seconds seconds) { return seconds.count(); };

  EXPECT_EQ(count(0.5), 0.5);
  EXPECT_EQ(count(3), 3.0);
  EXPECT_EQ(count(500ms), 0.5);
  EXPECT_EQ(count(2min), 120.0);
  EXPECT_EQ(count(250us), 0.00025);
  EXPECT_EQ(count(std::chrono::duration<double>(1.5)), 1.5);
}

TEST(DispatchTimeTest, calculatesAndCompares) {
  EXPECT_EQ(Seconds(1) + 0.5, Seconds(1.5));
  EXPECT_EQ(2 * Seconds(3) - 1, Seconds(5));
  EXPECT_EQ(Seconds(3) / 2, Seconds(1.5));
  EXPECT_EQ(Seconds(3) / Seconds(2), 1.5);
  EXPECT_LT(Seconds(1), Seconds::unlimited());
  EXPECT_GT(Seconds(1), std::chrono::milliseconds(999));
}

}  // namespace
}  // namespace platform
