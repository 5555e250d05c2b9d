#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "Platform/Dispatch/DispatchSource.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace platform {
namespace {

using testing::ElementsAre;

constexpr Seconds longEnough = 20;

class DispatchTimerTest : public testing::Test {
 protected:
  detail::ManualClock clock;
  const DispatchQueue queue{"timers"};
  const DispatchTimer timer{queue};
  int ticks = 0;

  void SetUp() override {
    timer.setEventHandler([this] { ++ticks; });
  }
  void TearDown() override {
    timer.cancel();
    queue.sync([] {});
  }

  int ticksAfter(Seconds interval) {
    clock.advance(interval);
    return queue.sync([this] { return ticks; });
  }
};

TEST_F(DispatchTimerTest, firesOnceOnItsQueue) {
  bool isOnQueue = false;
  timer.setEventHandler([&] {
    ++ticks;
    isOnQueue = queue.isCurrent();
  });

  timer.schedule(1);
  timer.activate();

  EXPECT_EQ(ticksAfter(0.999), 0);
  EXPECT_EQ(ticksAfter(0.001), 1);
  EXPECT_EQ(ticksAfter(10), 1);
  EXPECT_TRUE(isOnQueue);
}

TEST_F(DispatchTimerTest, firesAgainAtEveryInterval) {
  timer.schedule(1, 0.5);
  timer.resume();

  EXPECT_EQ(ticksAfter(1), 1);
  EXPECT_EQ(ticksAfter(0.5), 2);
  EXPECT_EQ(ticksAfter(0.4), 2);
  EXPECT_EQ(ticksAfter(0.1), 3);
}

TEST_F(DispatchTimerTest, doesNotFireBeforeItIsResumed) {
  timer.schedule(1, 1);

  EXPECT_EQ(ticksAfter(10), 0);
}

TEST_F(DispatchTimerTest, mergesTheTicksMissedWhileSuspendedAndKeepsTheBeat) {
  timer.schedule(1, 1);
  timer.resume();
  EXPECT_EQ(ticksAfter(1), 1);

  timer.suspend();
  EXPECT_EQ(ticksAfter(3.5), 1);
  timer.resume();

  EXPECT_EQ(ticksAfter(0), 2);
  EXPECT_EQ(ticksAfter(0.4), 2);
  EXPECT_EQ(ticksAfter(0.1), 3);
}

TEST_F(DispatchTimerTest, mergesTheTicksMissedWhileTheQueueIsBusy) {
  timer.schedule(1, 1);
  timer.resume();

  queue.sync([&] { clock.advance(5); });

  EXPECT_EQ(ticksAfter(0), 1);
  EXPECT_EQ(ticksAfter(1), 2);
}

TEST_F(DispatchTimerTest, keepsATickThatWasOnItsWayWhenSuspendedForTheResumption) {
  timer.schedule(1);
  timer.resume();

  queue.sync([&] {
    clock.advance(1);
    timer.suspend();
  });
  EXPECT_EQ(ticksAfter(1), 0);
  timer.resume();

  EXPECT_EQ(ticksAfter(0), 1);
}

TEST_F(DispatchTimerTest, neverFiresAfterACancelOnItsQueue) {
  timer.schedule(1, 1);
  timer.resume();

  queue.sync([&] {
    clock.advance(1);
    timer.cancel();
  });

  EXPECT_EQ(ticksAfter(5), 0);
  EXPECT_TRUE(timer.isCancelled());
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(DispatchTimerTest, callsTheCancelHandlerOnceOnTheQueueAndDropsBothHandlers) {
  auto captured = std::make_shared<int>(0);
  int cancellations = 0;
  timer.setEventHandler([captured] {});
  timer.setCancelHandler([&, captured] { cancellations += queue.isCurrent() ? 1 : 100; });
  timer.schedule(1);
  timer.resume();

  timer.cancel();
  timer.cancel();
  queue.sync([] {});

  EXPECT_EQ(cancellations, 1);
  EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(DispatchTimerTest, endsWithItsLastHandle) {
  {
    const DispatchTimer other(queue);
    other.setEventHandler([this] { ++ticks; });
    other.schedule(1, 1);
    other.resume();
    EXPECT_EQ(ticksAfter(1), 1);
  }

  EXPECT_EQ(ticksAfter(5), 1);
  EXPECT_EQ(clock.pendingTimers(), 0U);
}

TEST_F(DispatchTimerTest, replacesItsSchedule) {
  timer.schedule(1, 1);
  timer.resume();
  EXPECT_EQ(ticksAfter(1), 1);

  timer.schedule(10);

  EXPECT_EQ(ticksAfter(9), 1);
  EXPECT_EQ(ticksAfter(1), 2);
  EXPECT_EQ(ticksAfter(50), 2);
}

TEST_F(DispatchTimerTest, waitsForOthersAsLongAsItsLeewayAllows) {
  const DispatchTimer other(queue);
  other.setEventHandler([this] { ++ticks; });
  timer.schedule(1, std::nullopt, 0.5);
  other.schedule(1.25);
  timer.resume();
  other.resume();

  EXPECT_EQ(ticksAfter(1.2), 0);
  EXPECT_EQ(ticksAfter(0.05), 2);
  EXPECT_EQ(clock.wakeUps(), 1U);
}

TEST_F(DispatchTimerTest, firesAtTheEndOfItsLeewayWhenNobodyElseIsDue) {
  timer.schedule(1, std::nullopt, 0.5);
  timer.resume();

  EXPECT_EQ(ticksAfter(1.4), 0);
  EXPECT_EQ(ticksAfter(0.1), 1);
}

TEST_F(DispatchTimerTest, takesAnIntervalOfNothingForAMillisecond) {
  timer.schedule(0, 0);
  timer.resume();

  EXPECT_EQ(ticksAfter(0), 1);
  EXPECT_EQ(ticksAfter(0.0009), 1);
  EXPECT_EQ(ticksAfter(0.0001), 2);
}

/// A clock that always comes too late to withdraw an action, as when it is calling it just then.
class HastyClock final : public detail::Clock {
 public:
  Instant now() const override { return {}; }
  Key schedule(Instant due, std::chrono::nanoseconds, Block action) override {
    actions.push_back(std::move(action));
    return {due, actions.size()};
  }
  void cancel(const Key&) override {}

  std::vector<Block> actions;
};

TEST(DispatchTimerRaceTest, ignoresATickThatWasWithdrawnWhileTheClockCalledIt) {
  const auto clock = std::make_shared<HastyClock>();
  detail::Clock::install(clock);
  const DispatchQueue queue("timers");
  const DispatchTimer timer(queue);
  int ticks = 0;
  timer.setEventHandler([&] { ++ticks; });
  timer.schedule(1, 1);
  timer.resume();
  timer.suspend();
  timer.resume();
  const auto scheduled = clock->actions.size();

  Block(std::move(clock->actions[0]))();
  const auto scheduledAfterTheWithdrawnOne = clock->actions.size();
  Block(std::move(clock->actions[1]))();
  queue.sync([] {});
  detail::Clock::install(nullptr);

  EXPECT_EQ(scheduled, 2U);
  EXPECT_EQ(scheduledAfterTheWithdrawnOne, 2U);
  EXPECT_EQ(clock->actions.size(), 3U);
  EXPECT_EQ(ticks, 1);
}

TEST(AsyncAfterTest, runsBlocksWhenTheyAreDueInTheOrderOfTheirTimes) {
  detail::ManualClock clock;
  const DispatchQueue queue("delayed");
  std::vector<int> seen;
  const auto seenAfter = [&](Seconds interval) {
    clock.advance(interval);
    return queue.sync([&] { return seen; });
  };

  queue.asyncAfter(std::chrono::milliseconds(1500), [&] { seen.push_back(3); });
  queue.asyncAfter(0.5, [&] { seen.push_back(1); });
  queue.asyncAfter(0.5, [&] { seen.push_back(2); });
  queue.asyncAfter(0, [&] { seen.push_back(0); });
  queue.asyncAfter(-1, [&] { seen.push_back(0); });

  EXPECT_THAT(seenAfter(0.4), ElementsAre(0, 0));
  EXPECT_THAT(seenAfter(0.1), ElementsAre(0, 0, 1, 2));
  EXPECT_THAT(seenAfter(1), ElementsAre(0, 0, 1, 2, 3));
  EXPECT_THAT(clock.waits(), ElementsAre(Seconds(1.5), Seconds(0.5), Seconds(0.5)));
}

TEST(AsyncAfterTest, worksForTheMainAndTheGlobalQueue) {
  detail::ManualClock clock;
  const DispatchSemaphore finished(0);
  bool hasMainRun = false;
  DispatchQueue::main().asyncAfter(1, [&] { hasMainRun = true; });
  DispatchQueue::global().asyncAfter(1, [=] { finished.signal(); });

  clock.advance(1);

  EXPECT_EQ(DispatchQueue::main().runOnce(), 1U);
  EXPECT_TRUE(hasMainRun);
  EXPECT_TRUE(finished.wait(longEnough));
}

TEST(AsyncAfterTest, tellsATestWhenATimerIsPending) {
  detail::ManualClock clock;
  const DispatchQueue queue("delayed");
  const DispatchSemaphore finished(0);

  queue.async([=] { queue.asyncAfter(3, [=] { finished.signal(); }); });
  ASSERT_TRUE(clock.waitForTimers(1));
  const Seconds step = clock.advanceToNextTimer();

  EXPECT_TRUE(finished.wait(longEnough));
  EXPECT_EQ(step, Seconds(3));
  EXPECT_EQ(clock.now(), Seconds(3));
  EXPECT_EQ(clock.advanceToNextTimer(), Seconds(0));
}

TEST(SystemClockTest, runsBlocksNotBeforeTheyAreDueAndTimersAgainAndAgain) {
  using SteadyClock = std::chrono::steady_clock;
  const DispatchQueue queue("real time");
  const DispatchSemaphore finished(0);
  const DispatchSemaphore ticked(0);
  const auto start = SteadyClock::now();
  SteadyClock::time_point end;
  const DispatchTimer timer(queue);
  timer.setEventHandler([=] { ticked.signal(); });

  timer.schedule(0.001, 0.001);
  timer.resume();
  queue.asyncAfter(0.03, [&] {
    end = SteadyClock::now();
    finished.signal();
  });

  ASSERT_TRUE(finished.wait(longEnough));
  EXPECT_GE(end - start, std::chrono::milliseconds(30));
  for (int tick = 0; tick < 3; ++tick) EXPECT_TRUE(ticked.wait(longEnough));
  timer.cancel();
}

}  // namespace
}  // namespace platform
