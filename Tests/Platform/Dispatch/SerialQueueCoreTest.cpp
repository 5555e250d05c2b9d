#include "Platform/Dispatch/Internal/SerialQueueCore.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "BusyPool.hpp"
#include "Platform/Dispatch/CooperativeWait.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform::detail {
namespace {

constexpr Seconds longEnough = 20;
constexpr std::size_t blocksPerTurn = 256;

class SerialQueueCoreTest : public ::testing::Test {
 protected:
  void sync(std::function<void()> function) const {
    queue->sync(&function, [](void* object) { (*static_cast<std::function<void()>*>(object))(); });
  }
  /// Notes a number when it runs.
  Block note(int number) {
    return [this, number] { seen.push_back(number); };
  }
  /// Returns when the queue runs nothing and has nothing to run.
  void finish() const {
    sync([] {});
  }

  const std::shared_ptr<SerialQueueCore> queue = std::make_shared<SerialQueueCore>("test.serial");
  /// Written on the queue only.
  std::vector<int> seen;
};

TEST_F(SerialQueueCoreTest, runsSingleBlocksAndListsInTheOrderOfTheirSubmission) {
  std::vector<Block> list;
  list.push_back(note(2));
  list.push_back(note(3));

  queue->async(note(1));
  queue->async(std::move(list));
  queue->async(note(4));
  queue->async(std::vector<Block>());
  finish();

  EXPECT_EQ(seen, (std::vector{1, 2, 3, 4}));
}

TEST_F(SerialQueueCoreTest, runsASyncBetweenWhatCameBeforeAndWhatCameAfter) {
  const DispatchSemaphore mayGoOn(0);
  queue->async([=] { EXPECT_TRUE(mayGoOn.wait(longEnough)); });
  queue->async(note(1));

  std::jthread waiter([&] { sync([&] { seen.push_back(2); }); });
  mayGoOn.signal();
  waiter.join();
  queue->async(note(3));
  finish();

  EXPECT_EQ(seen, (std::vector{1, 2, 3}));
}

TEST_F(SerialQueueCoreTest, isReleasedByASyncThatThrows) {
  EXPECT_THROW(sync([] { throw std::runtime_error("thrown"); }), std::runtime_error);

  queue->async(note(1));
  finish();
  EXPECT_EQ(seen, std::vector{1});
}

TEST_F(SerialQueueCoreTest, runsWhatIsSubmittedDuringASyncAfterIt) {
  sync([&] {
    queue->async(note(2));
    seen.push_back(1);
  });
  finish();

  EXPECT_EQ(seen, (std::vector{1, 2}));
}

TEST_F(SerialQueueCoreTest, dropsABlockBeforeTheNextOneRuns) {
  const auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> observed = captured;
  bool wasGone = false;

  queue->async([kept = captured] { static_cast<void>(kept); });
  queue->async([&] { wasGone = observed.use_count() == 1; });
  finish();

  EXPECT_TRUE(wasGone);
}

TEST_F(SerialQueueCoreTest, livesUntilItsLastBlockHasRun) {
  auto dropped = std::make_shared<SerialQueueCore>("test.dropped");
  const std::weak_ptr<SerialQueueCore> observed = dropped;
  const DispatchSemaphore mayGoOn(0);
  const DispatchSemaphore finished(0);
  dropped->async([=] { EXPECT_TRUE(mayGoOn.wait(longEnough)); });
  dropped->async([=] { finished.signal(); });

  dropped = nullptr;

  EXPECT_FALSE(observed.expired());
  mayGoOn.signal();
  EXPECT_TRUE(finished.wait(longEnough));
}

TEST_F(SerialQueueCoreTest, drainsOneTurnOnTheThreadThatCollectedItAndLeavesTheRestToThePool) {
  queue->allowInlineDrain();
  std::size_t here = 0;
  std::size_t elsewhere = 0;
  const auto thread = std::this_thread::get_id();
  InlineDrain drain;
  for (std::size_t block = 0; block < blocksPerTurn + 44; ++block) {
    queue->async([&, thread] { ++(std::this_thread::get_id() == thread ? here : elsewhere); });
  }

  EXPECT_TRUE(drain.run());
  finish();

  EXPECT_EQ(here, blocksPerTurn);
  EXPECT_EQ(elsewhere, 44U);
}

TEST_F(SerialQueueCoreTest, leavesItsWorkerToAJobThatWaits) {
  // All workers but one are busy, so that a job waits for the one that drains the queue.
  const BusyPool busy(BusyPool::mostWorkers - 1);
  std::size_t ran = 0;
  std::size_t ranBefore = 0;
  const DispatchSemaphore jobRan(0);
  std::vector<Block> blocks;
  blocks.push_back([&] {
    ++ran;
    DispatchQueue::global().async([&] {
      ranBefore = ran;
      jobRan.signal();
    });
  });
  while (blocks.size() < 3 * blocksPerTurn) blocks.push_back([&] { ++ran; });

  queue->async(std::move(blocks));

  EXPECT_TRUE(jobRan.wait(longEnough));
  finish();
  EXPECT_EQ(ranBefore, blocksPerTurn);
  EXPECT_EQ(ran, 3 * blocksPerTurn);
}

}  // namespace
}  // namespace platform::detail
