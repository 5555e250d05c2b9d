#include <cmath>
#include <cstdint>
#include <limits>

#include "RetryFixture.hpp"

namespace corvane::detail {
namespace {

using enum RetryStep;
constexpr auto largest = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest = std::numeric_limits<std::int64_t>::min();

struct Row {
  std::int64_t failCount;
  std::int64_t limit;
  RetryStep afterFailure;
  RetryStep afterSuccess;
};

constexpr Row rule[] = {
    // No retry is allowed.
    {0, -1, noFailure, noFailure},
    {0, -7, noFailure, noFailure},
    {0, smallest, noFailure, noFailure},
    // None by name, one in fact.
    {0, 0, retry, noFailure},
    {1, 0, partialFailure, partialFailure},
    // At the limit success is a total failure.
    {0, 1, retry, noFailure},
    {1, 1, retry, totalFailure},
    {2, 1, partialFailure, partialFailure},
    {0, 2, retry, noFailure},
    {1, 2, retry, partialFailure},
    {2, 2, retry, totalFailure},
    {3, 2, partialFailure, partialFailure},
    {0, largest, retry, noFailure},
    {largest, largest, retry, totalFailure},
};

TEST(RetryRuleTest, decidesByFailuresLimitAndOutcome) {
  for (const Row& row : rule) {
    SCOPED_TRACE(std::to_string(row.failCount) + " failures, limit " + std::to_string(row.limit));
    EXPECT_EQ(stepAfter(row.failCount, row.limit, true), row.afterFailure);
    EXPECT_EQ(stepAfter(row.failCount, row.limit, false), row.afterSuccess);
  }
}

TEST(RetryRuleTest, makesLimitPlusTwoAttemptsWhenAllFail) {
  for (std::int64_t limit = 0; limit < 20; ++limit) {
    std::int64_t attempts = 1;
    while (stepAfter(attempts - 1, limit, true) == retry) ++attempts;

    EXPECT_EQ(attempts, limit + 2);
  }
}

TEST(RetryRuleTest, waitsLongerAfterEachFailure) {
  const RetryNumbers numbers{.interval = 2, .limit = 5, .delta = 1};

  EXPECT_EQ(namedWait(numbers, 0), 2);
  EXPECT_EQ(namedWait(numbers, 1), 3);
  EXPECT_EQ(namedWait(numbers, 2), 4);
}

TEST(RetryRuleTest, waitsAsTheDeltaSays) {
  EXPECT_EQ(namedWait({.interval = 0.5, .limit = 0, .delta = 0}, 7), 0.5);
  EXPECT_EQ(namedWait({.interval = 0.5, .limit = 0, .delta = 10}, 3), 30.5);
  EXPECT_EQ(namedWait({.interval = 0.5, .limit = 0, .delta = -2}, 3), -5.5);
  EXPECT_EQ(namedWait({.interval = 0, .limit = 0, .delta = largest}, 1), static_cast<double>(largest));
}

TEST(RetryRuleDeathTest, trapsWhenTheWaitOverflows) {
  EXPECT_DEATH(namedWait({.interval = 0, .limit = 9, .delta = largest}, 2), "The wait before a retry overflows");
  EXPECT_DEATH(namedWait({.interval = 0, .limit = 9, .delta = smallest}, 2), "The wait before a retry overflows");
  EXPECT_DEATH(namedWait({.interval = std::nan(""), .limit = 9, .delta = 1}, 0), "A retryInterval is not a number");
}

TEST(RetryRuleTest, takesIntegersOfAnyKindForALimit) {
  EXPECT_EQ(saturated(std::uint8_t{3}), 3);
  EXPECT_EQ(saturated(-4), -4);
  EXPECT_EQ(saturated(std::numeric_limits<std::uint64_t>::max()), largest);
}

TEST(RetryRuleTest, decidesOnAFreshQueueForEachSend) {
  const Try request{.url = "http://example.com/"};

  EXPECT_EQ(request.retryQueue().label(), "org.corvane.HTTPRetryAttempting.queue");
  EXPECT_NE(request.retryQueue(), request.retryQueue());
}

/// Fails at once, and waits a little less each time, until the waits overflow.
struct Overflowing : DataGetRequestable<Overflowing>, HTTPMockable<Overflowing>, HTTPRetryAttempting<Overflowing> {
  static constexpr double retryInterval = 0;
  static constexpr int retryLimit = 9;
  static constexpr std::int64_t retryDelta = smallest;
  HTTPStatus mockStatus = HTTPStatus::internalServerError;
  HTTPHeaders sharedHeaders() const { return {}; }
};

class RetryDeathTest : public ::testing::Test {};

TEST_F(RetryDeathTest, trapsWhenTheWaitOfASendOverflows) {
  EXPECT_DEATH(Overflowing().sendAttemptingRetry().wait(), "The wait before a retry overflows");
}

}  // namespace
}  // namespace corvane::detail
