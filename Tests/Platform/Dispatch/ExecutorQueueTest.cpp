#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <thread>

#include "Platform/Dispatch/DispatchQueue.hpp"

namespace platform {
namespace {

using testing::ElementsAre;

/// Keeps the drains until the test calls them.
struct HeldExecutor {
  std::vector<Block> drains;

  DispatchQueue::Executor executor() {
    return [this](Block drain) { drains.push_back(std::move(drain)); };
  }
  void callFirst() {
    auto drain = std::move(drains.front());
    drains.erase(drains.begin());
    drain();
  }
};

void callAtOnce(Block drain) { drain(); }

TEST(ExecutorQueueTest, asksForOneDrainHoweverManyBlocksWait) {
  HeldExecutor held;
  const DispatchQueue queue("held", held.executor());
  std::vector<int> seen;
  std::optional<DispatchQueue> current;

  queue.async([&] { seen.push_back(1); });
  queue.async([&] { current = DispatchQueue::current(); });
  queue.async([&] { seen.push_back(2); });
  const auto asked = held.drains.size();
  held.callFirst();

  EXPECT_EQ(asked, 1U);
  EXPECT_THAT(seen, ElementsAre(1, 2));
  EXPECT_EQ(current, queue);
  EXPECT_TRUE(held.drains.empty());
}

TEST(ExecutorQueueTest, leavesWhatComesDuringADrainToTheNextOne) {
  HeldExecutor held;
  const DispatchQueue queue("held", held.executor());
  std::vector<int> seen;
  queue.async([&] { queue.async([&] { seen.push_back(1); }); });

  held.callFirst();
  const bool hasRunAlready = !seen.empty();
  const auto asked = held.drains.size();
  held.callFirst();

  EXPECT_FALSE(hasRunAlready);
  EXPECT_EQ(asked, 1U);
  EXPECT_THAT(seen, ElementsAre(1));
}

TEST(ExecutorQueueTest, ignoresADrainTooMany) {
  std::vector<std::shared_ptr<Block>> drains;
  const DispatchQueue queue("twice", [&](Block drain) { drains.push_back(std::make_shared<Block>(std::move(drain))); });
  int runs = 0;
  queue.async([&] { ++runs; });

  (*drains.front())();
  (*drains.front())();

  EXPECT_EQ(runs, 1);
}

TEST(ExecutorQueueTest, acceptsACopyableFunction) {
  const std::function<void(Block)> inlineExecutor = callAtOnce;
  const DispatchQueue queue("function", inlineExecutor);
  bool wasRun = false;

  queue.async([&] { wasRun = true; });

  EXPECT_TRUE(wasRun);
}

TEST(ExecutorQueueTest, staysInOrderOnAnExecutorThatCallsAtOnce) {
  const DispatchQueue queue("inline", callAtOnce);
  std::vector<int> seen;

  queue.async([&] {
    queue.async([&] { seen.push_back(2); });
    seen.push_back(1);
  });

  EXPECT_THAT(seen, ElementsAre(1, 2));
}

TEST(ExecutorQueueTest, doesNotGrowTheStackOnAnExecutorThatCallsAtOnce) {
  const DispatchQueue queue("inline", callAtOnce);
  int rounds = 0;
  struct Again {
    const DispatchQueue& queue;
    int& rounds;
    void operator()() const {
      if (++rounds < 200'000) queue.async(*this);
    }
  };

  queue.async(Again{queue, rounds});

  EXPECT_EQ(rounds, 200'000);
}

TEST(ExecutorQueueTest, staysSerialOnAnExecutorThatCallsAtOnceOnManyThreads) {
  constexpr int threadCount = 8;
  constexpr int blocksPerThread = 2000;
  const DispatchQueue queue("inline", callAtOnce);
  int unguardedCount = 0;

  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([&] {
        for (int number = 0; number < blocksPerThread; ++number) queue.async([&] { ++unguardedCount; });
      });
    }
  }
  queue.sync([] {});

  EXPECT_EQ(unguardedCount, threadCount * blocksPerThread);
}

TEST(ExecutorQueueTest, staysSerialOnAConcurrentExecutor) {
  const DispatchQueue queue("on the global queue",
                            [](Block drain) { DispatchQueue::global().async(std::move(drain)); });
  int unguardedCount = 0;

  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 8; ++thread) {
      threads.emplace_back([&] {
        for (int number = 0; number < 1000; ++number) queue.async([&] { ++unguardedCount; });
      });
    }
  }
  queue.sync([] {});

  EXPECT_EQ(unguardedCount, 8000);
}

TEST(ExecutorQueueTest, runsSyncWhereTheExecutorRunsItAndBringsBackTheException) {
  const DispatchQueue loop("loop");
  const DispatchQueue queue("on the loop", [loop](Block drain) { loop.async(std::move(drain)); });

  EXPECT_TRUE(queue.sync([&] { return loop.isCurrent() && queue.isCurrent(); }));
  EXPECT_THROW(queue.sync([] { throw std::out_of_range("too far"); }), std::out_of_range);
}

TEST(ExecutorQueueDeathTest, trapsOnSyncInsideItsOwnBlock) {
  const DispatchQueue queue("inline", callAtOnce);

  EXPECT_DEATH(queue.async([&] { queue.sync([] {}); }), "the queue \"inline\" from inside");
}

TEST(ExecutorQueueDeathTest, endsTheProcessWhenTheExecutorThrows) {
  const DispatchQueue queue("refused", [](Block) { throw std::runtime_error("closed"); });

  EXPECT_DEATH(queue.async([] {}), "The executor of the queue \"refused\" threw: closed");
}

TEST(ExecutorQueueDeathTest, trapsOnAnEmptyExecutor) {
  EXPECT_DEATH(DispatchQueue("empty", DispatchQueue::Executor()), "\"empty\" was made with an empty executor");
}

}  // namespace
}  // namespace platform
