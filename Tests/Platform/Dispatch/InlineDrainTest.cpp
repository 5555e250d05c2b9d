#include <gtest/gtest.h>

#include <thread>

#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Dispatch/DispatchGroup.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform {
namespace {

constexpr Seconds longEnough = 20;

DispatchQueue makeLocalQueue() {
  const DispatchQueue queue("local");
  InlineDrain::allow(queue);
  return queue;
}

TEST(InlineDrainTest, runsCollectedQueuesOnTheThreadThatCollects) {
  const auto queue = makeLocalQueue();
  InlineDrain work;
  std::thread::id thread;
  std::optional<DispatchQueue> current;
  queue.async([&] { current = DispatchQueue::current(); });
  queue.async([&] { thread = std::this_thread::get_id(); });

  EXPECT_TRUE(work.run());

  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_EQ(current, queue);
  EXPECT_FALSE(work.run());
}

TEST(InlineDrainTest, leavesQueuesAloneThatAreNotAllowed) {
  const DispatchQueue queue("application");
  InlineDrain work;
  const DispatchSemaphore finished(0);

  queue.async([=] { finished.signal(); });

  EXPECT_FALSE(work.run());
  EXPECT_TRUE(finished.wait(longEnough));
}

TEST(InlineDrainTest, handsTheRestToThePoolWhenItEnds) {
  const auto queue = makeLocalQueue();
  const DispatchSemaphore finished(0);
  {
    const InlineDrain work;
    queue.async([=] { finished.signal(); });
  }

  EXPECT_TRUE(finished.wait(longEnough));
}

TEST(InlineDrainTest, handsWhatItCollectedToThePoolWhenFlushed) {
  const auto queue = makeLocalQueue();
  InlineDrain work;
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

TEST(InlineDrainTest, restsWhileItRunsBlocksSoThatTheyMayWaitForWhatTheySubmit) {
  const auto queue = makeLocalQueue();
  const auto other = makeLocalQueue();
  InlineDrain work;
  bool wasRun = false;
  queue.async([&] {
    CooperativeWait wait;
    other.async([&] { wait.signal(); });
    wasRun = wait.wait(longEnough);
  });

  EXPECT_TRUE(work.run());

  EXPECT_TRUE(wasRun);
}

TEST(InlineDrainTest, givesUpWhatItCollectedBeforeItsThreadWaits) {
  const auto queue = makeLocalQueue();
  const InlineDrain work;
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
  CooperativeWait wait;
  queue.async([&] { wait.signal(); });
  EXPECT_TRUE(wait.wait(longEnough));

  EXPECT_EQ(runs, 2);
}

TEST(InlineDrainTest, letsABlockWaitForAQueueThatWouldHaveItsTurnLater) {
  const auto first = makeLocalQueue();
  const auto second = makeLocalQueue();
  InlineDrain work;
  std::vector<int> seen;
  first.async([&] { second.sync([&] { seen.push_back(2); }); });
  second.async([&] { seen.push_back(1); });

  EXPECT_TRUE(work.run());

  EXPECT_EQ(seen, (std::vector<int>{1, 2}));
}

TEST(InlineDrainTest, leavesAFloodOfBlocksToThePool) {
  const auto queue = makeLocalQueue();
  InlineDrain work;
  int runs = 0;
  for (int number = 0; number < 10000; ++number) queue.async([&] { ++runs; });

  EXPECT_TRUE(work.run());
  queue.sync([] {});

  EXPECT_EQ(runs, 10000);
}

TEST(InlineDrainDeathTest, trapsOnASecondOneOnTheSameThread) {
  const InlineDrain first;

  EXPECT_DEATH(InlineDrain(), "only one InlineDrain at a time");
}

TEST(InlineDrainDeathTest, trapsWhenAQueueHasNoDrainOfItsOwn) {
  EXPECT_DEATH(InlineDrain::allow(DispatchQueue::main()), "not the queue \"corvane.main\"");
}

}  // namespace
}  // namespace platform
