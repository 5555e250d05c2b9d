#include "Platform/Dispatch/DispatchGroup.hpp"

#include <gtest/gtest.h>

#include <atomic>

#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform {
namespace {

constexpr Seconds longEnough = 20;

TEST(DispatchGroupTest, notifiesOnTheQueueOnceAllWorkIsDone) {
  const DispatchGroup group;
  const DispatchQueue queue("notified");
  const DispatchSemaphore notified(0);
  std::atomic<int> done = 0;
  int doneWhenNotified = -1;
  for (int number = 0; number < 10; ++number) {
    group.enter();
    DispatchQueue::global().async([&, group] {
      ++done;
      group.leave();
    });
  }

  group.notify(queue, [&] {
    EXPECT_TRUE(queue.isCurrent());
    doneWhenNotified = done;
    notified.signal();
  });

  ASSERT_TRUE(notified.wait(longEnough));
  EXPECT_EQ(doneWhenNotified, 10);
}

TEST(DispatchGroupTest, notifiesAtOnceButNotInlineWhenItIsEmpty) {
  const DispatchGroup group;
  const DispatchQueue queue("notified");
  bool wasNotified = false;

  queue.sync([&] {
    group.notify(queue, [&] { wasNotified = true; });
    EXPECT_FALSE(wasNotified);
  });
  queue.sync([] {});

  EXPECT_TRUE(wasNotified);
}

TEST(DispatchGroupTest, waitsUntilTheLastOneLeaves) {
  const DispatchGroup group;
  std::atomic<bool> left = false;
  group.enter();
  DispatchQueue::global().async([&, group] {
    left = true;
    group.leave();
  });

  group.wait();

  EXPECT_TRUE(left);
  EXPECT_TRUE(group.wait(0));
}

TEST(DispatchGroupTest, tellsWhenTheTimeOutPassedFirst) {
  const DispatchGroup group;
  group.enter();

  EXPECT_FALSE(group.wait(0.01));
  group.leave();
}

TEST(DispatchGroupTest, canBeUsedAgain) {
  const DispatchGroup group;
  const DispatchQueue queue("notified");
  int notifications = 0;

  for (int round = 0; round < 3; ++round) {
    group.enter();
    group.notify(queue, [&] { ++notifications; });
    group.leave();
  }
  queue.sync([] {});

  EXPECT_EQ(notifications, 3);
}

TEST(DispatchGroupDeathTest, trapsOnALeaveWithoutAnEnter) {
  EXPECT_DEATH(DispatchGroup().leave(), "DispatchGroup::leave was called without a matching enter");
}

}  // namespace
}  // namespace platform
