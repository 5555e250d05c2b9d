#include <gtest/gtest.h>

#include <thread>

#include "Platform/Dispatch/AssistedWait.hpp"
#include "Platform/Dispatch/DispatchGroup.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform {
namespace {

constexpr Seconds longEnough = 20;

DispatchQueue makeLocalQueue() {
  const DispatchQueue queue("local");
  LocalWork::allow(queue);
  return queue;
}

TEST(LocalWorkTest, runsCollectedQueuesOnTheThreadThatCollects) {
  const auto queue = makeLocalQueue();
  LocalWork work;
  std::thread::id thread;
  std::optional<DispatchQueue> current;
  queue.async([&] { current = DispatchQueue::current(); });
  queue.async([&] { thread = std::this_thread::get_id(); });

  EXPECT_TRUE(work.run());

  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_EQ(current, queue);
  EXPECT_FALSE(work.run());
}

TEST(LocalWorkTest, leavesQueuesAloneThatAreNotAllowed) {
  const DispatchQueue queue("application");
  LocalWork work;
  const DispatchSemaphore finished(0);

  queue.async([=] { finished.signal(); });

  EXPECT_FALSE(work.run());
  EXPECT_TRUE(finished.wait(longEnough));
}

TEST(LocalWorkTest, handsTheRestToThePoolWhenItEnds) {
  const auto queue = makeLocalQueue();
  const DispatchSemaphore finished(0);
  {
    const LocalWork work;
    queue.async([=] { finished.signal(); });
  }

  EXPECT_TRUE(finished.wait(longEnough));
}

TEST(LocalWorkTest, handsWhatItCollectedToThePoolWhenFlushed) {
  const auto queue = makeLocalQueue();
  LocalWork work;
  const DispatchSemaphore finished(0);
  std::thread::id thread;
  queue.async([&] {
    thread = std::this_thread::get_id();
    finished.signal();
  });

  work.flush();

  EXPECT_TRUE(finished.wait(longEnough));
  EXPECT_NE(thread, std::this_thread::get_id());
  EXPECT_FALSE(work.run());
}

TEST(LocalWorkTest, restsWhileItRunsBlocksSoThatTheyMayWaitForWhatTheySubmit) {
  const auto queue = makeLocalQueue();
  const auto other = makeLocalQueue();
  LocalWork work;
  bool wasRun = false;
  queue.async([&] {
    AssistedWait wait;
    other.async([&] { wait.signal(); });
    wasRun = wait.wait(longEnough);
  });

  EXPECT_TRUE(work.run());

  EXPECT_TRUE(wasRun);
}

TEST(LocalWorkTest, givesUpWhatItCollectedBeforeItsThreadWaits) {
  const auto queue = makeLocalQueue();
  const LocalWork work;
  int runs = 0;

  queue.async([&] { ++runs; });
  queue.sync([&] { ++runs; });
  const DispatchGroup group;
  group.enter();
  queue.async([=] { group.leave(); });
  EXPECT_TRUE(group.wait(longEnough));
  const DispatchSemaphore semaphore(0);
  queue.async([=] { semaphore.signal(); });
  EXPECT_TRUE(semaphore.wait(longEnough));
  AssistedWait wait;
  queue.async([&] { wait.signal(); });
  EXPECT_TRUE(wait.wait(longEnough));

  EXPECT_EQ(runs, 2);
}

TEST(LocalWorkTest, letsABlockWaitForAQueueThatWouldHaveItsTurnLater) {
  const auto first = makeLocalQueue();
  const auto second = makeLocalQueue();
  LocalWork work;
  std::vector<int> seen;
  first.async([&] { second.sync([&] { seen.push_back(2); }); });
  second.async([&] { seen.push_back(1); });

  EXPECT_TRUE(work.run());

  EXPECT_EQ(seen, (std::vector<int>{1, 2}));
}

TEST(LocalWorkTest, leavesAFloodOfBlocksToThePool) {
  const auto queue = makeLocalQueue();
  LocalWork work;
  int runs = 0;
  for (int number = 0; number < 10000; ++number) queue.async([&] { ++runs; });

  EXPECT_TRUE(work.run());
  queue.sync([] {});

  EXPECT_EQ(runs, 10000);
}

TEST(LocalWorkDeathTest, trapsOnASecondOneOnTheSameThread) {
  const LocalWork first;

  EXPECT_DEATH(LocalWork(), "only one LocalWork at a time");
}

TEST(LocalWorkDeathTest, trapsWhenAQueueHasNoDrainOfItsOwn) {
  EXPECT_DEATH(LocalWork::allow(DispatchQueue::main()), "not the queue \"corvane.main\"");
}

}  // namespace
}  // namespace platform
