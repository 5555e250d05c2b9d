#include "Platform/Networking/Pool/TokenBucket.hpp"

#include <gtest/gtest.h>

namespace platform::networking {
namespace {

using namespace std::chrono_literals;

constexpr TimePoint start{1000s};

TEST(TokenBucketTest, isFullAtFirstAndHoldsNoMoreThanItsCapacity) {
  TokenBucket bucket(10, 5);

  EXPECT_DOUBLE_EQ(bucket.tokens(start), 5);
  EXPECT_DOUBLE_EQ(bucket.tokens(start + 100s), 5);
  EXPECT_TRUE(bucket.has(5, start));
}

TEST(TokenBucketTest, fillsEvenly) {
  TokenBucket bucket(10, 5);
  bucket.spend(5, start);

  EXPECT_FALSE(bucket.has(1, start));
  EXPECT_FALSE(bucket.has(1, start + 100ms - 1ns));
  EXPECT_TRUE(bucket.has(1, start + 100ms));
  EXPECT_DOUBLE_EQ(bucket.tokens(start + 300ms), 3);
}

TEST(TokenBucketTest, tellsATimeAtWhichItAllows) {
  TokenBucket bucket(3, 1);
  TimePoint now = start;
  for (int count = 0; count < 1000; ++count) {
    bucket.spend(1, now);
    now = bucket.due(1);
    ASSERT_TRUE(bucket.has(1, now));
    ASSERT_FALSE(bucket.has(1, now - 1ns));
  }
  EXPECT_NEAR(std::chrono::duration<double>(now - start).count(), 1000 / 3.0, 1e-3);
}

TEST(TokenBucketTest, owesWhatWasSpentBeyondWhatThereWas) {
  TokenBucket bucket(10, 1);
  bucket.spend(4, start);

  EXPECT_DOUBLE_EQ(bucket.tokens(start), -3);
  EXPECT_EQ(bucket.due(1), start + 400ms);
}

TEST(TokenBucketTest, overflowsForNoRate) {
  TokenBucket bucket(1e-300, 1);
  for (int count = 0; count < 100; ++count) bucket.spend(1e9, start);

  EXPECT_GT(bucket.due(1), start);
  EXPECT_FALSE(bucket.has(1, start + 24h));
}

}  // namespace
}  // namespace platform::networking
