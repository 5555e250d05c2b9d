#include "RetryOption.hpp"

#include <gtest/gtest.h>

#include <string>

#include "UsageError.hpp"

namespace {

/// What the user is told about this rule; empty when it will do.
std::string problem(const std::string& text) {
  try {
    retryOption(text);
    return "";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(RetryOptionTest, needsAnIntervalAndALimit) {
  const RetryOption option = retryOption("interval=0.25,limit=3");

  EXPECT_EQ(option.intervalInSeconds, 0.25);
  EXPECT_EQ(option.limit, 3);
  EXPECT_EQ(option.deltaInSeconds, 1);
  EXPECT_FALSE(option.isForTransientFailures);
  EXPECT_FALSE(option.policy.longestWait);
  EXPECT_FALSE(option.policy.honorsRetryAfter);
  EXPECT_EQ(option.policy.jitter, 0);
  EXPECT_TRUE(option.policy.isCancelable);
}

TEST(RetryOptionTest, takesTheOthersInAnyOrder) {
  const RetryOption option = retryOption("transient,jitter=0.5,delta=0,limit=0,retry-after,longest=2.5,interval=0");

  EXPECT_EQ(option.intervalInSeconds, 0);
  EXPECT_EQ(option.limit, 0);
  EXPECT_EQ(option.deltaInSeconds, 0);
  EXPECT_TRUE(option.isForTransientFailures);
  EXPECT_EQ(option.policy.longestWait->count(), 2.5);
  EXPECT_TRUE(option.policy.honorsRetryAfter);
  EXPECT_EQ(option.policy.jitter, 0.5);
}

TEST(RetryOptionTest, saysWhatIsMissing) {
  EXPECT_EQ(problem("limit=1"), "--retry: 'interval' is needed: write interval=SECONDS,limit=N");
  EXPECT_EQ(problem("interval=1"), "--retry: 'limit' is needed: write interval=SECONDS,limit=N");
  EXPECT_EQ(problem("interval,limit=1"), "--retry: 'interval' needs a value");
  EXPECT_EQ(problem("interval=1,limit="), "--retry: limit='' is not a whole number from 0 to 1000000");
}

TEST(RetryOptionTest, saysWhatIsNoNumber) {
  for (const std::string text : {"-1", "soon", "1s", "nan", "inf", "1e99", " 1", "+1"})
    EXPECT_EQ(problem("interval=" + text + ",limit=1"), "--retry: interval='" + text + "' is not a number of seconds");
  for (const std::string text : {"-1", "1.5", "1000001", "99999999999999999999"})
    EXPECT_EQ(problem("interval=1,limit=" + text),
              "--retry: limit='" + text + "' is not a whole number from 0 to 1000000");
  for (const std::string text : {"-1", "0.5", "1000000001"})
    EXPECT_EQ(problem("interval=1,limit=1,delta=" + text),
              "--retry: delta='" + text + "' is not a whole number of seconds from 0 to 1000000000");
  EXPECT_EQ(problem("interval=1,limit=1,jitter=1.1"), "--retry: jitter='1.1' is not a number from 0 to 1");
}

TEST(RetryOptionTest, saysWhatItDoesNotKnow) {
  const std::string known = "; there are interval, limit, delta, longest, jitter, transient and retry-after";

  EXPECT_EQ(problem("interval=1,limit=1,often"), "--retry: 'often' is unknown" + known);
  EXPECT_EQ(problem("interval=1,limit=1,"), "--retry: '' is unknown" + known);
  EXPECT_EQ(problem(""), "--retry: '' is unknown" + known);
}

TEST(RetryOptionTest, takesEachKeyOnce) {
  EXPECT_EQ(problem("interval=1,interval=2,limit=1"), "--retry: 'interval' may be given only once");
  EXPECT_EQ(problem("interval=1,limit=1,transient,transient"), "--retry: 'transient' may be given only once");
  EXPECT_EQ(problem("interval=1,limit=1,transient=yes"), "--retry: 'transient' takes no value");
}

}  // namespace
