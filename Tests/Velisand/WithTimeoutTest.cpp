#include "Velisand/WithTimeout.hpp"

#include <chrono>
#include <stop_token>
#include <string>

#include "FutureFixture.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Velisand/Task.hpp"

namespace velisand {
namespace {

using platform::detail::ManualClock;
using namespace std::chrono_literals;

class WithTimeoutTest : public ::testing::Test {
 protected:
  /// Lets the time pass until a future is cancelled that does not heed it.
  void advanceUntilCancelled(const Future<int>& deaf) {
    const Future<void> told;
    const std::stop_callback callback(deaf.stopToken(), [told] { told.markCompletion(); });
    clock.advance(5);
    ASSERT_TRUE(told.wait(patience));
  }

  ManualClock clock;
};

TEST_F(WithTimeoutTest, givesTheValueThatIsInTime) {
  const Future<int> future;
  const Future<int> bounded = withTimeout(5, future);

  future.markCompletion(7);

  EXPECT_EQ(valueOf(bounded), 7);
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(WithTimeoutTest, failsWhenTheTimeIsOver) {
  const auto maker = Maker<int>::make();
  const auto bounded = withTimeout(5s, maker->future);

  clock.advance(4.9);
  EXPECT_FALSE(maker->future.isCancelled());
  clock.advance(0.2);

  EXPECT_EQ(failureOf(bounded), "the time-out passed: it was not over after 5 seconds");
  EXPECT_EQ(bounded.result().error()->domain(), platform::NSURLErrorDomain);
  EXPECT_EQ(bounded.result().error()->code(), platform::URLErrorCode::timedOut);
  EXPECT_TRUE(maker->future.isCancelled());
}

TEST_F(WithTimeoutTest, hasWhatTheFailureOfTheCancelledTells) {
  const Future<int> future;
  const auto bounded = withTimeout(5s, future);

  advanceUntilCancelled(future);
  EXPECT_FALSE(bounded.isCompleted());
  future.markFailure(platform::NSError("Test", 1, "stopped", {{"wasSent", true}}));

  EXPECT_EQ(failureOf(bounded), "the time-out passed: it was not over after 5 seconds");
  const auto facts = bounded.result().error()->userInfo();
  EXPECT_EQ(facts.find("wasSent")->boolean(), true);
  EXPECT_EQ(facts.find(platform::CustomNSError::localizedDescriptionKey)->description(),
            "the time-out passed: it was not over after 5 seconds");
}

TEST_F(WithTimeoutTest, givesAValueThatIsLate) {
  const Future<int> deaf;
  const auto bounded = withTimeout(5, deaf);

  advanceUntilCancelled(deaf);
  EXPECT_FALSE(bounded.isCompleted());
  deaf.markCompletion(7);

  EXPECT_EQ(valueOf(bounded), 7);
}

TEST_F(WithTimeoutTest, failsAsTheFutureDoesBeforeThat) {
  const Future<int> future;
  const auto bounded = withTimeout(5, future);

  future.markFailure(failure("broken"));

  EXPECT_EQ(failureOf(bounded), "broken");
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(WithTimeoutTest, cancelsTheFutureWhenItIsCancelled) {
  const auto maker = Maker<int>::make();
  const auto bounded = withTimeout(5, maker->future);

  bounded.cancel();

  EXPECT_EQ(failureOf(bounded), "stopped");
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(WithTimeoutTest, isOverAtOnceWithoutTime) {
  const auto maker = Maker<int>::make();
  const Future<int> there;
  there.markCompletion(1);

  EXPECT_EQ(failureOf(withTimeout(0, maker->future)), "the time-out had passed before anything was awaited");
  EXPECT_EQ(valueOf(withTimeout(-1, there)), 1);
}

TEST_F(WithTimeoutTest, hasNoTimerWithoutALimit) {
  const Future<void> future;
  const auto bounded = withTimeout(platform::Seconds::unlimited(), future);

  EXPECT_EQ(clock.pendingTimers(), 0U);
  future.markCompletion();
  EXPECT_EQ(failureOf(bounded), "no failure");
}

Task<int> awaited(Future<int> future) { co_return co_await future; }
Task<int> bounded(Future<int> future) { co_return co_await withTimeout(5s, awaited(future)); }

TEST_F(WithTimeoutTest, boundsATaskInATask) {
  const auto maker = Maker<int>::make();
  const auto task = bounded(maker->future);

  ASSERT_TRUE(clock.waitForTimers(1));
  clock.advance(5);

  EXPECT_EQ(failureOf<int>(task), "the time-out passed: it was not over after 5 seconds");
  EXPECT_TRUE(maker->future.isCancelled());
}

TEST_F(WithTimeoutTest, isCancelledWithTheTaskThatAwaitsIt) {
  const auto maker = Maker<int>::make();
  const auto task = bounded(maker->future);

  task.cancel();

  EXPECT_EQ(failureOf<int>(task), "stopped");
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(WithTimeoutTest, failsWhenTheFutureIsGoneWithoutAnOutcome) {
  EXPECT_EQ(failureOf(withTimeout(5, Future<int>())), "What was awaited is gone without an outcome");
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

}  // namespace
}  // namespace velisand
