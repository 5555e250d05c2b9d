#include "Platform/Dispatch/Internal/WorkerPool.hpp"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "BusyPool.hpp"
#include "Platform/Dispatch/DispatchGroup.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "Platform/Dispatch/Internal/Thread.hpp"

namespace platform::detail {
namespace {

constexpr Seconds longEnough = 20;

/// Runs its blocks, and tells when it is gone.
class Client final : public PoolClient {
 public:
  Client() = default;
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() override { gone_.signal(); }

  const ThreadName& threadName() const override { return name_; }
  void work(Block& block) override { block(); }
  DispatchSemaphore gone() const { return gone_; }

 private:
  const ThreadName name_{"test.client"};
  const DispatchSemaphore gone_{0};
};

TEST(WorkerPoolTest, runsAJobOnAThreadOfItsOwn) {
  const DispatchSemaphore finished(0);
  std::thread::id thread;

  WorkerPool::shared().submit({std::make_shared<Client>(), [&] {
                                 thread = std::this_thread::get_id();
                                 finished.signal();
                               }});

  ASSERT_TRUE(finished.wait(longEnough));
  EXPECT_NE(thread, std::this_thread::get_id());
  EXPECT_GE(WorkerPool::shared().workerThreads().size(), 1U);
}

TEST(WorkerPoolTest, runsEachBlockOfAListOnce) {
  constexpr std::size_t count = 500;
  std::array<std::atomic<int>, count> runs{};
  const DispatchGroup group;
  std::vector<Block> blocks;
  for (auto& run : runs) {
    group.enter();
    blocks.emplace_back([&run, group] {
      ++run;
      group.leave();
    });
  }

  WorkerPool::shared().submit(std::make_shared<Client>(), std::move(blocks));

  ASSERT_TRUE(group.wait(longEnough));
  for (const auto& run : runs) EXPECT_EQ(run, 1);
}

TEST(WorkerPoolTest, doesNothingWithAnEmptyList) {
  const auto client = std::make_shared<Client>();

  WorkerPool::shared().submit(client, {});

  EXPECT_EQ(client.use_count(), 1);
}

TEST(WorkerPoolTest, letsGoOfAJobBeforeItLooksForAnother) {
  auto client = std::make_shared<Client>();
  const DispatchSemaphore gone = client->gone();

  WorkerPool::shared().submit({std::move(client), [] {}});

  EXPECT_TRUE(gone.wait(longEnough));
}

TEST(WorkerPoolTest, startsAnotherWorkerForAJobThatAWorkerWaitsFor) {
  const DispatchSemaphore finished(0);

  WorkerPool::shared().submit({std::make_shared<Client>(), [=] {
                                 const DispatchSemaphore inner(0);
                                 WorkerPool::shared().submit({std::make_shared<Client>(), [=] { inner.signal(); }});
                                 if (inner.wait(longEnough)) finished.signal();
                               }});

  EXPECT_TRUE(finished.wait(longEnough));
}

TEST(WorkerPoolTest, growsWhileItsWorkersAreBlocked) {
  // Returns when all of them are under way, which takes a thread for each.
  const BusyPool busy(12);

  EXPECT_GE(WorkerPool::shared().workerThreads().size(), 12U);
}

TEST(WorkerPoolTest, keepsTheJobsThatSixtyFourBlockedWorkersCannotTake) {
  auto busy = std::make_unique<BusyPool>(BusyPool::mostWorkers);
  EXPECT_EQ(WorkerPool::shared().workerThreads().size(), BusyPool::mostWorkers);
  std::atomic<int> runs = 0;
  const DispatchGroup group;
  for (int job = 0; job < 3; ++job) {
    group.enter();
    WorkerPool::shared().submit({std::make_shared<Client>(), [&runs, group] {
                                   ++runs;
                                   group.leave();
                                 }});
  }
  EXPECT_TRUE(WorkerPool::shared().hasWaitingJobs());
  EXPECT_EQ(runs, 0);

  busy->release(1);

  EXPECT_TRUE(group.wait(longEnough));
  EXPECT_EQ(runs, 3);
  EXPECT_FALSE(WorkerPool::shared().hasWaitingJobs());
  EXPECT_EQ(WorkerPool::shared().workerThreads().size(), BusyPool::mostWorkers);
}

}  // namespace
}  // namespace platform::detail
