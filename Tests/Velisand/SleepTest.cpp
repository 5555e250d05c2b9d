#include "Velisand/Sleep.hpp"

#include <chrono>
#include <stop_token>
#include <thread>

#include "FutureFixture.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"
#include "Velisand/Task.hpp"
#include "Velisand/WhenAny.hpp"

namespace velisand {
namespace {

using platform::detail::ManualClock;
using namespace std::chrono_literals;

class SleepTest : public ::testing::Test {
 protected:
  ManualClock clock;
};

Task<int> countDown(int from) {
  for (; from > 0; --from) co_await sleepFor(1min);
  co_return from;
}

TEST_F(SleepTest, isOverWhenItsTimeIs) {
  const auto sleep = sleepFor(1500ms);

  clock.advance(1.4);
  EXPECT_FALSE(sleep.isCompleted());
  clock.advance(0.1);

  EXPECT_EQ(failureOf(sleep), "no failure");
}

TEST_F(SleepTest, isOverAtOnceWithoutTime) {
  EXPECT_TRUE(sleepFor(0).result());
  EXPECT_TRUE(sleepFor(-1).result());
  EXPECT_TRUE(sleepUntil(std::chrono::steady_clock::now() - 1s).result());
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(SleepTest, lastsUntilAMoment) {
  const auto sleep = sleepUntil(std::chrono::steady_clock::now() + 1h);

  clock.advance(3590);
  EXPECT_FALSE(sleep.isCompleted());
  clock.advance(10);

  EXPECT_EQ(failureOf(sleep), "no failure");
}

TEST_F(SleepTest, endsAtOnceWhenItIsCancelled) {
  const auto sleep = sleepFor(1h);

  sleep.cancel();

  ASSERT_TRUE(sleep.isCompleted());
  EXPECT_EQ(failureOf(sleep), "The sleep was cancelled");
  EXPECT_EQ(sleep.result().error()->domain(), "NSURLErrorDomain");
  EXPECT_EQ(sleep.result().error()->code(), -999);
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(SleepTest, endsAtOnceByAStop) {
  std::stop_source stop;
  const auto sleep = sleepFor(1h, stop.get_token());

  stop.request_stop();

  ASSERT_TRUE(sleep.isCompleted());
  EXPECT_EQ(failureOf(sleep), "The sleep was cancelled");
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(SleepTest, doesNotBeginAfterAStop) {
  std::stop_source stop;
  stop.request_stop();

  const auto sleep = sleepUntil(std::chrono::steady_clock::now() + 1h, stop.get_token());

  EXPECT_TRUE(sleep.isCompleted());
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(SleepTest, leavesAStopAloneOnceItIsOver) {
  std::stop_source stop;
  const auto sleep = sleepFor(1, stop.get_token());
  clock.advance(1);
  ASSERT_TRUE(sleep.wait(patience));

  stop.request_stop();
  sleep.cancel();

  EXPECT_EQ(failureOf(sleep), "no failure");
}

TEST_F(SleepTest, lastsAlthoughNobodyKeepsIt) {
  const Future<bool> over;
  sleepFor(1).whenCompleted(platform::DispatchQueue::global(),
                            [over](const Result<void>& result) { over.markCompletion(bool(result)); });

  clock.advance(1);

  EXPECT_EQ(valueOf(over), true);
}

TEST_F(SleepTest, isAwaitedAgainAndAgain) {
  const auto task = countDown(3);

  for (int minute = 0; minute < 3; ++minute) {
    ASSERT_TRUE(clock.waitForTimers(1));
    clock.advance(60);
  }

  EXPECT_EQ(valueOf<int>(task), 0);
}

TEST_F(SleepTest, endsWithTheTaskThatAwaitsIt) {
  const auto task = countDown(3);
  ASSERT_TRUE(clock.waitForTimers(1));

  task.cancel();

  EXPECT_EQ(failureOf<int>(task), "The sleep was cancelled");
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(SleepTest, losesAgainstWhatIsFaster) {
  const Future<int> fast;
  const auto first = whenAny(fast, sleepFor(1h));

  fast.markCompletion(1);

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index(), 0U);
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(SleepTest, winsAgainstWhatIsSlower) {
  const auto slow = Maker<int>::make();
  const auto first = whenAny(slow->future, sleepFor(1h));

  clock.advance(3600);

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index(), 1U);
  EXPECT_TRUE(slow->future.isCancelled());
}

TEST(SleepRaceTest, survivesTheRaceOfItsEndAndItsStops) {
  int over = 0, cancelled = 0;
  for (int round = 0; round < 200; ++round) {
    std::stop_source stop;
    const auto sleep = sleepFor(20us, stop.get_token());
    std::thread first([&] { sleep.cancel(); });
    std::thread second([&] { stop.request_stop(); });
    first.join();
    second.join();
    ASSERT_TRUE(sleep.wait(patience));
    ++(sleep.result() ? over : cancelled);
  }
  EXPECT_EQ(over + cancelled, 200);
}

}  // namespace
}  // namespace velisand
