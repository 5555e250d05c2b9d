#include "TransferRate.hpp"

#include <gtest/gtest.h>

namespace {

TEST(TransferRateTest, knowsNothingAtFirst) {
  TransferRate rate;
  EXPECT_EQ(rate.perSecond(3), 0);

  rate.record(1, 500);

  EXPECT_EQ(rate.perSecond(1), 0);
}

TEST(TransferRateTest, isWhatMovedInTheTimeThatPassed) {
  TransferRate rate;
  rate.record(0, 0);
  rate.record(2, 3000);

  EXPECT_DOUBLE_EQ(rate.perSecond(2), 1500);
}

TEST(TransferRateTest, forgetsWhatIsLongAgo) {
  TransferRate rate;
  rate.record(0, 0);
  rate.record(1, 1'000'000);
  for (int second = 2; second <= 20; ++second) rate.record(second, 1'000'000 + second * 10);

  EXPECT_DOUBLE_EQ(rate.perSecond(20), 10);
}

TEST(TransferRateTest, fallsWhileNothingMoves) {
  TransferRate rate;
  rate.record(0, 0);
  rate.record(1, 1000);

  EXPECT_DOUBLE_EQ(rate.perSecond(2), 500);
  EXPECT_DOUBLE_EQ(rate.perSecond(4), 250);
  EXPECT_DOUBLE_EQ(rate.perSecond(100), 0);
}

TEST(TransferRateTest, isNeverNegative) {
  TransferRate rate;
  rate.record(0, 1000);
  rate.record(1, 0);

  EXPECT_EQ(rate.perSecond(1), 0);
}

}  // namespace
