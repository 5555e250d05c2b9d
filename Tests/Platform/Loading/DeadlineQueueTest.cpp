#include "Platform/Loading/Internal/DeadlineQueue.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>

namespace platform::detail {
namespace {

struct Load : DeadlineEntry {
  int name = 0;
};

TEST(DeadlineQueueTest, isEmptyAtFirst) {
  DeadlineQueue<Load> queue;

  EXPECT_EQ(queue.takeExpired(1000), nullptr);
  EXPECT_EQ(queue.nextLook(), DeadlineEntry::never);
}

TEST(DeadlineQueueTest, givesEntriesWhoseTimeHasComeInOrder) {
  DeadlineQueue<Load> queue;
  Load early, middle, late;
  queue.arm(late, 30);
  queue.arm(early, 10);
  queue.arm(middle, 20);

  EXPECT_EQ(queue.nextLook(), 10);
  EXPECT_EQ(queue.takeExpired(9), nullptr);
  EXPECT_EQ(queue.takeExpired(20), &early);
  EXPECT_EQ(queue.takeExpired(20), &middle);
  EXPECT_EQ(queue.takeExpired(20), nullptr);
  EXPECT_FALSE(early.isArmed());
  EXPECT_TRUE(late.isArmed());
}

TEST(DeadlineQueueTest, movesADeadlineInBothDirections) {
  DeadlineQueue<Load> queue;
  Load one, other;
  queue.arm(one, 10);
  queue.arm(other, 20);

  queue.arm(other, 5);
  queue.arm(one, 50);

  EXPECT_EQ(queue.count(), 2U);
  EXPECT_EQ(queue.takeExpired(40), &other);
  EXPECT_EQ(queue.takeExpired(40), nullptr);
  EXPECT_EQ(queue.nextLook(), 50);
}

TEST(DeadlineQueueTest, looksAgainAtWhatWasPostponed) {
  DeadlineQueue<Load> queue;
  Load load;
  queue.arm(load, 10);

  load.postpone(25);

  EXPECT_EQ(queue.nextLook(), 10) << "a postponed deadline costs the queue nothing";
  EXPECT_EQ(queue.takeExpired(10), nullptr);
  EXPECT_EQ(queue.nextLook(), 25);
  EXPECT_EQ(queue.takeExpired(24), nullptr);
  EXPECT_EQ(queue.takeExpired(25), &load);
}

TEST(DeadlineQueueTest, aPostponedEntryDoesNotHideAnExpiredOne) {
  DeadlineQueue<Load> queue;
  Load alive, silent;
  queue.arm(alive, 10);
  queue.arm(silent, 11);
  alive.postpone(100);

  EXPECT_EQ(queue.takeExpired(12), &silent);
  EXPECT_EQ(queue.nextLook(), 100);
}

TEST(DeadlineQueueTest, postponingForEverLeavesTheEntryArmed) {
  DeadlineQueue<Load> queue;
  Load load;
  queue.arm(load, 10);
  load.postpone(DeadlineEntry::never);

  EXPECT_EQ(queue.takeExpired(1000), nullptr);
  EXPECT_TRUE(load.isArmed());
  EXPECT_EQ(queue.nextLook(), DeadlineEntry::never);
}

TEST(DeadlineQueueTest, disarmsAnyEntryAtAnyTime) {
  DeadlineQueue<Load> queue;
  Load first, second, third;
  queue.arm(first, 1);
  queue.arm(second, 2);
  queue.arm(third, 3);

  queue.disarm(first);
  queue.disarm(third);
  queue.disarm(third);

  EXPECT_EQ(queue.takeExpired(10), &second);
  EXPECT_EQ(queue.takeExpired(10), nullptr);
}

TEST(DeadlineQueueTest, agreesWithASearchThroughAllOverRandomOperations) {
  std::mt19937 random(11);
  DeadlineQueue<Load> queue;
  std::deque<Load> loads(200);
  MonotonicTime now = 0;
  for (int step = 0; step < 15000; ++step) {
    Load& load = loads[random() % loads.size()];
    switch (random() % 5) {
      case 0:
        queue.disarm(load);
        break;
      case 1:
        queue.arm(load, now + static_cast<MonotonicTime>(random() % 100));
        break;
      case 2:
      case 3:
        if (load.isArmed()) load.postpone(load.deadline() + static_cast<MonotonicTime>(random() % 50));
        break;
      default:
        now += static_cast<MonotonicTime>(random() % 5);
    }
    const auto isDue = [&](const Load& one) { return one.isArmed() && one.deadline() <= now; };
    auto due = std::count_if(loads.begin(), loads.end(), isDue);
    while (Load* expired = queue.takeExpired(now)) {
      ASSERT_LE(expired->deadline(), now);
      ASSERT_FALSE(expired->isArmed());
      --due;
    }
    ASSERT_EQ(due, 0);
    for (const Load& one : loads) {
      ASSERT_TRUE(!one.isArmed() || queue.nextLook() <= one.deadline());
    }
  }
}

}  // namespace
}  // namespace platform::detail
