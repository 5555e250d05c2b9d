#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform {
namespace {

using testing::ElementsAre;

constexpr Seconds longEnough = 20;

TEST(DispatchQueueSyncTest, runsOnTheCallersThreadWhenTheQueueIsIdle) {
  const DispatchQueue queue("idle");

  const auto thread = queue.sync([] { return std::this_thread::get_id(); });

  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(DispatchQueueSyncTest, runsOnTheCallersThreadAfterTheBlocksThatWereThereBefore) {
  const DispatchQueue queue("busy");
  const DispatchSemaphore gate(0);
  std::vector<int> seen;
  queue.async([&] {
    EXPECT_TRUE(gate.wait(longEnough));
    seen.push_back(1);
  });
  queue.async([&] { seen.push_back(2); });
  DispatchQueue::global().async([=] { gate.signal(); });

  const auto thread = queue.sync([&] {
    seen.push_back(3);
    return std::this_thread::get_id();
  });
  queue.async([&] { seen.push_back(4); });
  queue.sync([] {});

  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_THAT(seen, ElementsAre(1, 2, 3, 4));
}

TEST(DispatchQueueSyncTest, givesWaitingCallersTheirTurnInOrderAndRunsTheRestAfterwards) {
  const DispatchQueue queue("handed over");
  const DispatchSemaphore isInside(0);
  const DispatchSemaphore gate(0);
  std::vector<std::string> seen;

  std::jthread holder([&] {
    queue.sync([&] {
      isInside.signal();
      EXPECT_TRUE(gate.wait(longEnough));
      seen.push_back("holder");
    });
  });
  ASSERT_TRUE(isInside.wait(longEnough));
  queue.async([&] { seen.push_back("async"); });
  std::jthread waiter([&] { queue.sync([&] { seen.push_back("waiter"); }); });
  gate.signal();
  waiter.join();
  queue.async([&] { seen.push_back("last"); });
  queue.sync([] {});

  EXPECT_THAT(seen, ElementsAre("holder", "async", "waiter", "last"));
}

TEST(DispatchQueueSyncTest, bringsExceptionsToTheCallerAndReleasesTheQueue) {
  const DispatchQueue queue("throwing");

  EXPECT_THROW(queue.sync([] { throw std::out_of_range("too far"); }), std::out_of_range);

  EXPECT_EQ(queue.sync([] { return 7; }), 7);
  EXPECT_FALSE(queue.isCurrent());
}

TEST(DispatchQueueSyncTest, returnsValuesReferencesAndMoveOnlyTypes) {
  const DispatchQueue queue("results");
  int number = 1;

  int& reference = queue.sync([&]() -> int& { return number; });
  auto pointer = queue.sync([] { return std::make_unique<int>(5); });

  EXPECT_EQ(&reference, &number);
  EXPECT_EQ(*pointer, 5);
}

TEST(DispatchQueueSyncTest, survivesThatTheFunctionDropsTheLastHandle) {
  std::optional<DispatchQueue> queue(std::in_place, "dropped");

  const int response = queue->sync([&] {
    queue.reset();
    return 42;
  });

  EXPECT_EQ(response, 42);
}

TEST(DispatchQueueSyncTest, runsInlineOnTheGlobalQueueEvenWhenNested) {
  const auto thread = DispatchQueue::global().sync(
      [] { return DispatchQueue::global().sync([] { return std::this_thread::get_id(); }); });

  EXPECT_EQ(thread, std::this_thread::get_id());
}

using DispatchQueueSyncDeathTest = testing::Test;

TEST_F(DispatchQueueSyncDeathTest, trapsInsideOneOfItsOwnBlocks) {
  const auto fail = [] {
    const DispatchQueue queue("selfish");
    queue.async([queue] { queue.sync([] {}); });
    DispatchSemaphore(0).wait(longEnough);
  };

  EXPECT_DEATH(fail(), "sync was called on the queue \"selfish\" from inside one of its own blocks");
}

TEST_F(DispatchQueueSyncDeathTest, trapsAtAnyDepthOfNestedCalls) {
  const DispatchQueue first("first");
  const DispatchQueue second("second");

  EXPECT_DEATH(first.sync([&] { second.sync([&] { first.sync([] {}); }); }), "the queue \"first\" from inside");
}

TEST_F(DispatchQueueSyncDeathTest, trapsInsideABlockOfTheMainQueue) {
  const auto fail = [] {
    DispatchQueue::main().async([] { DispatchQueue::main().sync([] {}); });
    DispatchQueue::main().runOnce();
  };

  EXPECT_DEATH(fail(), "the queue \"corvane.main\" from inside");
}

}  // namespace
}  // namespace platform
