#include "Platform/Dispatch/DispatchQueue.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <unordered_set>

#include "Platform/Dispatch/DispatchGroup.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform {
namespace {

using testing::ElementsAre;

constexpr Seconds longEnough = 20;

TEST(DispatchQueueTest, runsBlocksInTheOrderOfTheirSubmission) {
  const DispatchQueue queue("order");
  std::vector<int> seen;

  for (int number = 0; number < 5000; ++number) queue.async([&seen, number] { seen.push_back(number); });
  queue.sync([] {});

  std::vector<int> expected(5000);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(seen, expected);
}

TEST(DispatchQueueTest, runsAVectorOfBlocksInItsOrderBetweenTheNeighbours) {
  const DispatchQueue queue("batch");
  std::vector<int> seen;
  std::vector<Block> blocks;
  for (int number = 1; number <= 3; ++number) blocks.emplace_back([&seen, number] { seen.push_back(number); });

  queue.async([&] { seen.push_back(0); });
  queue.async(std::move(blocks));
  queue.async(std::vector<Block>());
  queue.async([&] { seen.push_back(4); });
  queue.sync([] {});

  EXPECT_THAT(seen, ElementsAre(0, 1, 2, 3, 4));
}

TEST(DispatchQueueTest, losesNothingAndRunsOneBlockAtATimeUnderSixteenThreads) {
  constexpr int threadCount = 16;
  constexpr int blocksPerThread = 2000;
  const DispatchQueue queue("contended");
  int unguardedCount = 0;
  std::vector<int> lastOfThread(threadCount, -1);
  bool isOrdered = true;

  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([&, thread] {
        for (int number = 0; number < blocksPerThread; ++number) {
          auto block = [&, thread, number] {
            ++unguardedCount;
            auto& last = lastOfThread[static_cast<std::size_t>(thread)];
            isOrdered = isOrdered && last == number - 1;
            last = number;
          };
          number % 7 == 3 ? queue.sync(block) : queue.async(block);
        }
      });
    }
  }
  queue.sync([] {});

  EXPECT_EQ(unguardedCount, threadCount * blocksPerThread);
  EXPECT_TRUE(isOrdered);
}

TEST(DispatchQueueTest, keepsAQueueAliveUntilItsWorkIsDone) {
  const DispatchSemaphore gate(0);
  const DispatchSemaphore finished(0);
  {
    const DispatchQueue queue("short-lived");
    queue.async([=] { gate.wait(); });
    queue.async([=] { finished.signal(); });
  }

  gate.signal();

  EXPECT_TRUE(finished.wait(longEnough));
}

TEST(DispatchQueueTest, dropsWhatABlockCapturedOnTheQueueBeforeTheNextBlockRuns) {
  struct Witness {
    std::vector<std::string>* events;
    explicit Witness(std::vector<std::string>* list) : events(list) {}
    Witness(Witness&& other) noexcept : events(std::exchange(other.events, nullptr)) {}
    ~Witness() {
      if (events) events->push_back(DispatchQueue::current() ? DispatchQueue::current()->label() : "none");
    }
  };
  const DispatchQueue queue("captures");
  std::vector<std::string> events;

  queue.async([&events, witness = Witness(&events)] { events.push_back("first"); });
  queue.async([&events] { events.push_back("second"); });
  queue.sync([] {});

  EXPECT_THAT(events, ElementsAre("first", "captures", "second"));
}

TEST(DispatchQueueTest, letsABlockSubmitToItsOwnQueue) {
  const DispatchQueue queue("recursive");
  const DispatchSemaphore finished(0);
  int rounds = 0;
  struct Again {
    const DispatchQueue& queue;
    const DispatchSemaphore& finished;
    int& rounds;
    void operator()() const { ++rounds < 1000 ? queue.async(*this) : finished.signal(); }
  };

  queue.async(Again{queue, finished, rounds});

  ASSERT_TRUE(finished.wait(longEnough));
  EXPECT_EQ(rounds, 1000);
}

TEST(DispatchQueueTest, comparesAndHashesByIdentity) {
  const DispatchQueue first("same label");
  const DispatchQueue second("same label");
  const DispatchQueue copy = first;

  const std::unordered_set<DispatchQueue> set{first, second, copy, DispatchQueue::main(), DispatchQueue::main()};

  EXPECT_EQ(first, copy);
  EXPECT_NE(first, second);
  EXPECT_EQ(set.size(), 3U);
}

TEST(DispatchQueueTest, knowsTheCurrentQueue) {
  const DispatchQueue outer("outer");
  const DispatchQueue inner("inner");

  EXPECT_FALSE(DispatchQueue::current().has_value());
  outer.sync([&] {
    EXPECT_EQ(DispatchQueue::current(), outer);
    inner.sync([&] {
      EXPECT_EQ(DispatchQueue::current(), inner);
      EXPECT_TRUE(outer.isCurrent());
      EXPECT_TRUE(inner.isCurrent());
    });
    EXPECT_EQ(DispatchQueue::current(), outer);
    EXPECT_FALSE(inner.isCurrent());
  });
  EXPECT_FALSE(DispatchQueue::current().has_value());
  EXPECT_EQ(DispatchQueue::global().sync([] { return DispatchQueue::current(); }), DispatchQueue::global());
}

TEST(DispatchQueueTest, namesTheWorkerAfterTheEndOfTheLabel) {
  const DispatchQueue queue("com.example.transfers");
  const DispatchSemaphore finished(0);
  std::string name;
  const auto look = [&] {
    char text[16] = {};
    pthread_getname_np(pthread_self(), text, sizeof text);
    name = text;
    finished.signal();
  };

  // A worker that got another name a moment ago keeps it for a millisecond.
  for (int round = 0; round < 100'000 && name != "ample.transfers"; ++round) {
    queue.async(look);
    ASSERT_TRUE(finished.wait(longEnough));
  }

  EXPECT_EQ(name, "ample.transfers");
}

TEST(DispatchQueueTest, blocksTheProcessesSignalsInWorkersButNotTheirOwnFaults) {
  const DispatchSemaphore finished(0);
  sigset_t mask;
  sigemptyset(&mask);

  DispatchQueue::global().async([&] {
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    finished.signal();
  });

  ASSERT_TRUE(finished.wait(longEnough));
  EXPECT_EQ(sigismember(&mask, SIGINT), 1);
  EXPECT_EQ(sigismember(&mask, SIGPIPE), 1);
  for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
    EXPECT_EQ(sigismember(&mask, fault), 0) << strsignal(fault);
}

TEST(DispatchQueueTest, runsGlobalBlocksThatWaitForEachOther) {
  constexpr int count = 16;
  const DispatchGroup arrived;
  const DispatchGroup finished;
  for (int block = 0; block < count; ++block) {
    arrived.enter();
    finished.enter();
  }

  for (int block = 0; block < count; ++block) {
    DispatchQueue::global().async([=] {
      arrived.leave();
      EXPECT_TRUE(arrived.wait(longEnough));
      finished.leave();
    });
  }

  EXPECT_TRUE(finished.wait(longEnough));
}

TEST(DispatchQueueTest, runsAllOfManyGlobalBlocks) {
  std::atomic<int> sum = 0;
  const DispatchGroup group;
  std::vector<Block> blocks;
  for (int number = 0; number < 1000; ++number) {
    group.enter();
    blocks.emplace_back([&sum, group] {
      ++sum;
      group.leave();
    });
  }

  DispatchQueue::global().async(std::move(blocks));

  ASSERT_TRUE(group.wait(longEnough));
  EXPECT_EQ(sum, 1000);
}

TEST(DispatchQueueTest, letsManyBusyQueuesTakeTurns) {
  // More self-feeding queues than there are workers: none of them ends before all have had a turn.
  constexpr int queueCount = 24;
  std::atomic<int> started = 0;
  const DispatchGroup group;
  struct Feed {
    DispatchQueue queue;
    DispatchGroup group;
    std::atomic<int>& started;
    bool isFirst;
    void operator()() const {
      if (isFirst) ++started;
      if (started == queueCount) return group.leave();
      queue.async(Feed{queue, group, started, false});
    }
  };

  for (int number = 0; number < queueCount; ++number) {
    group.enter();
    const DispatchQueue queue("feeding");
    queue.async(Feed{queue, group, started, true});
  }

  EXPECT_TRUE(group.wait(longEnough));
}

using DispatchQueueDeathTest = testing::Test;

TEST_F(DispatchQueueDeathTest, endsTheProcessWhenAnExceptionEscapesABlock) {
  const auto fail = [] {
    const DispatchQueue queue("careless");
    queue.async([] { throw std::runtime_error("no such luck"); });
    DispatchSemaphore(0).wait(longEnough);
  };

  EXPECT_DEATH(fail(), "An exception escaped a block of the queue \"careless\": no such luck");
}

TEST_F(DispatchQueueDeathTest, keepsTheMainQueuesDrainToTheMainQueue) {
  EXPECT_DEATH(DispatchQueue("other").run(), "run is for the main queue only, but was called on the queue \"other\"");
}

}  // namespace
}  // namespace platform
