#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "Platform/Dispatch/DispatchGroup.hpp"
#include "Platform/Dispatch/DispatchHint.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "Platform/Dispatch/Internal/MainQueueCore.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"

namespace platform {
namespace {

using testing::ElementsAre;

constexpr Seconds longEnough = 20;

class MainQueueTest : public testing::Test {
 protected:
  const DispatchQueue main = DispatchQueue::main();
  std::vector<int> seen;

  void submit(int number) {
    main.async([this, number] { seen.push_back(number); });
  }
  void TearDown() override { EXPECT_EQ(main.runOnce(), 0U); }
};

TEST_F(MainQueueTest, runsWhatIsQueuedAndNothingThatComesMeanwhile) {
  submit(1);
  main.async([this] { submit(3); });
  submit(2);

  const auto first = main.runOnce();
  const auto second = main.runOnce();

  EXPECT_EQ(first, 3U);
  EXPECT_EQ(second, 1U);
  EXPECT_THAT(seen, ElementsAre(1, 2, 3));
}

TEST_F(MainQueueTest, isCurrentInsideItsBlocks) {
  std::optional<DispatchQueue> current;
  main.async([&] { current = DispatchQueue::current(); });

  main.runOnce();

  EXPECT_EQ(current, main);
  EXPECT_FALSE(main.isCurrent());
}

TEST_F(MainQueueTest, runsUntilItIsStoppedAfterTheBlockAtHand) {
  submit(1);
  main.async([this] {
    main.stop();
    seen.push_back(2);
  });
  submit(3);

  main.run();

  EXPECT_THAT(seen, ElementsAre(1, 2));
  EXPECT_EQ(main.runOnce(), 1U);
}

TEST_F(MainQueueTest, returnsAtOnceFromTheRunAfterAStop) {
  submit(1);

  main.stop();
  main.run();

  EXPECT_TRUE(seen.empty());
  EXPECT_EQ(main.runOnce(), 1U);
}

TEST_F(MainQueueTest, wakesUpForWorkAndForAStopFromOtherThreads) {
  std::jthread other([this] {
    const DispatchSemaphore ran(0);
    main.async([=] { ran.signal(); });
    EXPECT_TRUE(ran.wait(longEnough));
    main.stop();
  });

  main.run();
}

TEST_F(MainQueueTest, runsUntilThePredicateHoldsAskingAfterEveryBlock) {
  for (int number = 1; number <= 3; ++number) submit(number);

  const bool held = main.runUntil([this] { return seen.size() == 2; }, longEnough);

  EXPECT_TRUE(held);
  EXPECT_THAT(seen, ElementsAre(1, 2));
  EXPECT_EQ(main.runOnce(), 1U);
}

TEST_F(MainQueueTest, runsNothingWhenThePredicateHoldsAlready) {
  submit(1);

  EXPECT_TRUE(main.runUntil([] { return true; }));

  EXPECT_TRUE(seen.empty());
  EXPECT_EQ(main.runOnce(), 1U);
}

TEST_F(MainQueueTest, tellsWhenTheTimeOutPassedFirst) {
  EXPECT_FALSE(main.runUntil([] { return false; }, 0.02));
}

TEST_F(MainQueueTest, staysSerialWhenSeveralThreadsDrainIt) {
  constexpr int count = 2000;
  int unguardedCount = 0;
  const DispatchSemaphore returned(0);
  std::jthread submitter([&] {
    for (int number = 0; number < count; ++number) main.async([&] { ++unguardedCount; });
    main.sync([] {});
    main.stop();
    EXPECT_TRUE(returned.wait(longEnough));
    main.stop();
  });

  std::jthread second([&] {
    main.run();
    returned.signal();
  });
  main.run();
  returned.signal();
  second.join();
  submitter.join();

  EXPECT_EQ(unguardedCount, count);
}

TEST_F(MainQueueTest, runsSyncOnTheDrainingThread) {
  std::thread::id thread;
  bool isDone = false;
  std::jthread other([&] {
    thread = main.sync([] { return std::this_thread::get_id(); });
    EXPECT_THROW(main.sync([] { throw std::out_of_range("too far"); }), std::out_of_range);
    main.async([&] { isDone = true; });
  });

  EXPECT_TRUE(main.runUntil([&] { return isDone; }, longEnough));

  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(MainQueueTest, tellsTheHostOnceForWorkOnAnEmptyQueue) {
  int calls = 0;
  submit(1);

  main.attachToHost([&] { ++calls; });
  const int callsForWaitingWork = calls;
  submit(2);
  const int callsForMoreWork = calls;
  main.runOnce();
  submit(3);
  main.runOnce();
  main.attachToHost(nullptr);
  submit(4);
  main.runOnce();

  EXPECT_EQ(callsForWaitingWork, 1);
  EXPECT_EQ(callsForMoreWork, 1);
  EXPECT_EQ(calls, 2);
  EXPECT_THAT(seen, ElementsAre(1, 2, 3, 4));
}

TEST_F(MainQueueTest, turnsANestedDrainOfTheHostAwayAndCallsTheHostAgain) {
  int calls = 0;
  std::size_t nested = 99;
  main.attachToHost([&] { ++calls; });
  main.async([&] {
    submit(1);
    nested = main.runOnce();
  });

  const auto outer = main.runOnce();
  const int callsAfterwards = calls;
  main.runOnce();
  main.attachToHost(nullptr);

  EXPECT_EQ(nested, 0U);
  EXPECT_EQ(outer, 1U);
  EXPECT_EQ(callsAfterwards, 3);
  EXPECT_THAT(seen, ElementsAre(1));
}

TEST(MainQueueDeathTest, trapsWhenItIsRunInsideItsOwnBlock) {
  const auto fail = [] {
    DispatchQueue::main().async([] { DispatchQueue::main().run(); });
    DispatchQueue::main().runOnce();
  };

  EXPECT_DEATH(fail(), "run was called on the main queue from inside one of its own blocks");
}

// The hint comes once in the life of a process, so each look at it has a process of its own.
class UndrainedMainQueueDeathTest : public testing::Test {
 protected:
  static void leaveWorkFor(Seconds interval, bool drains) {
    detail::ManualClock clock;
    detail::MainQueueCore::shared().hintBy(detail::Clock::current());
    DispatchQueue::main().async([] {});
    DispatchQueue::main().async([] {});
    if (drains) DispatchQueue::main().runOnce();
    clock.advance(interval);
    std::fputs("end", stderr);
    std::exit(0);
  }
};

TEST_F(UndrainedMainQueueDeathTest, hintsOnceThatNothingDrainsIt) {
  EXPECT_EXIT(leaveWorkFor(60, false), testing::ExitedWithCode(0),
              "^Corvane: work is waiting on the main queue, but nothing drains it: call .* attachToHost\\(\\)\nend$");
}

TEST_F(UndrainedMainQueueDeathTest, hintsToWhoeverAskedForHints) {
  const auto scene = [] {
    setDispatchHintHandler([](std::string_view hint) { std::fputs(("told " + std::string(hint)).c_str(), stderr); });
    leaveWorkFor(60, false);
  };

  EXPECT_EXIT(scene(), testing::ExitedWithCode(0), "^told work is waiting on the main queue.*end$");
}

TEST_F(UndrainedMainQueueDeathTest, saysNothingEarlier) {
  EXPECT_EXIT(leaveWorkFor(4.9, false), testing::ExitedWithCode(0), "^end$");
}

TEST_F(UndrainedMainQueueDeathTest, takesNoPartInATestsTime) {
  const auto countTimers = [] {
    const detail::ManualClock clock;
    DispatchQueue::main().async([] {});
    std::exit(static_cast<int>(clock.pendingTimers()));
  };

  EXPECT_EXIT(countTimers(), testing::ExitedWithCode(0), "^$");
}

TEST_F(UndrainedMainQueueDeathTest, saysNothingOnceItWasDrained) {
  EXPECT_EXIT(leaveWorkFor(60, true), testing::ExitedWithCode(0), "^end$");
}

}  // namespace
}  // namespace platform
