#include "Platform/Dispatch/MainQueueAttachment.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace platform {
namespace {

using testing::ElementsAre;

/// Keeps the drains until the test calls them.
struct HeldLoop {
  std::vector<Block> drains;

  DispatchQueue::Executor executor() {
    return [this](Block drain) { drains.push_back(std::move(drain)); };
  }
  void iterate() {
    auto due = std::exchange(drains, {});
    for (auto& drain : due) drain();
  }
};

class MainQueueAttachmentTest : public testing::Test {
 protected:
  const DispatchQueue main = DispatchQueue::main();
  HeldLoop loop;
  std::vector<int> seen;

  void submit(int number) {
    main.async([this, number] { seen.push_back(number); });
  }
  void TearDown() override { EXPECT_EQ(main.runOnce(), 0U); }
};

TEST_F(MainQueueAttachmentTest, hasTheLoopDrainTheMainQueue) {
  submit(1);
  const MainQueueAttachment attachment(loop.executor());
  submit(2);

  loop.iterate();

  EXPECT_THAT(seen, ElementsAre(1, 2));
}

TEST_F(MainQueueAttachmentTest, asksForAnotherTurnWhenWorkIsLeft) {
  const MainQueueAttachment attachment(loop.executor());
  main.async([this] { submit(2); });
  submit(1);

  loop.iterate();
  const auto first = seen;
  loop.iterate();

  EXPECT_THAT(first, ElementsAre(1));
  EXPECT_THAT(seen, ElementsAre(1, 2));
  EXPECT_TRUE(loop.drains.empty());
}

TEST_F(MainQueueAttachmentTest, isToldOfWorkThatCameWhileOtherBlocksWaited) {
  const MainQueueAttachment attachment(loop.executor());
  main.async([this] { submit(2); });
  submit(1);
  loop.iterate();

  EXPECT_EQ(loop.drains.size(), 1U);
  loop.iterate();
}

TEST_F(MainQueueAttachmentTest, leavesTheQueueToTheNextOneAtItsEnd) {
  HeldLoop next;
  {
    const MainQueueAttachment attachment(loop.executor());
    submit(1);
  }

  const MainQueueAttachment attachment(next.executor());
  loop.iterate();
  const auto byTheFirst = seen;
  next.iterate();

  EXPECT_TRUE(byTheFirst.empty());
  EXPECT_THAT(seen, ElementsAre(1));
}

TEST_F(MainQueueAttachmentTest, letsGoOfTheExecutorWhenItIsDetached) {
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;
  MainQueueAttachment attachment([token = std::move(token)](Block) {});

  attachment.detach();

  EXPECT_TRUE(held.expired());
}

TEST_F(MainQueueAttachmentTest, waitsUntilTheExecutorHasReturnedOnAnotherThread) {
  std::latch isInside(1), mayReturn(1);
  std::atomic<bool> hasReturned = false;
  std::optional<MainQueueAttachment> attachment(std::in_place, [&](const Block&) {
    isInside.count_down();
    mayReturn.wait();
    hasReturned = true;
  });
  std::jthread submitter([this] { submit(1); });
  isInside.wait();
  std::jthread opener([&] { mayReturn.count_down(); });

  attachment.reset();

  EXPECT_TRUE(hasReturned);
  submitter.join();
  EXPECT_EQ(main.runOnce(), 1U);
}

TEST_F(MainQueueAttachmentTest, canBeDetachedInsideItsOwnExecutor) {
  std::optional<MainQueueAttachment> attachment(std::in_place, [](Block drain) { drain(); });
  main.async([&] { attachment->detach(); });
  submit(1);

  EXPECT_EQ(main.runOnce(), 1U);
  EXPECT_THAT(seen, ElementsAre(1));
}

TEST_F(MainQueueAttachmentTest, leavesNothingAttachedWhenTheExecutorThrowsAtOnce) {
  submit(1);
  EXPECT_THROW(MainQueueAttachment([](const Block&) { throw std::runtime_error("no loop"); }), std::runtime_error);

  const MainQueueAttachment attachment(loop.executor());
  loop.iterate();

  EXPECT_THAT(seen, ElementsAre(1));
}

TEST(MainQueueAttachmentDeathTest, trapsOnASecondOneAtATime) {
  const MainQueueAttachment attachment([](Block) {});

  EXPECT_DEATH(MainQueueAttachment([](Block) {}), "attached to a host's event loop while another one had it");
}

TEST(ExecutorQueueEndTest, dropsWhatWaitsWhenTheExecutorDropsItsDrain) {
  std::vector<Block> drains;
  const DispatchQueue queue("ending", [&](Block drain) { drains.push_back(std::move(drain)); });
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;
  queue.async([token = std::move(token)] { FAIL() << "dropped blocks do not run"; });

  drains.clear();

  EXPECT_TRUE(held.expired());
}

TEST(ExecutorQueueEndTest, offersLaterBlocksToTheExecutorAgain) {
  std::vector<Block> drains;
  const DispatchQueue queue("ending", [&](Block drain) { drains.push_back(std::move(drain)); });
  queue.async([] {});
  drains.clear();
  bool wasRun = false;

  queue.async([&] { wasRun = true; });
  ASSERT_EQ(drains.size(), 1U);
  drains.front()();

  EXPECT_TRUE(wasRun);
}

TEST(ExecutorQueueEndTest, goesOnAfterADrainWasDroppedInTheMiddleOfOne) {
  std::vector<Block> drains;
  bool drops = false;
  const DispatchQueue queue("ending", [&](Block drain) {
    if (!drops) drains.push_back(std::move(drain));
  });
  int ran = 0;
  queue.async([&] {
    drops = true;
    queue.async([&] { ran = 100; });
  });

  drains.front()();
  drops = false;
  drains.clear();
  queue.async([&] { ++ran; });
  ASSERT_EQ(drains.size(), 1U);
  drains.front()();

  EXPECT_EQ(ran, 1);
}

TEST(ExecutorQueueEndTest, throwsFromASyncThatWasDropped) {
  const DispatchQueue queue("ended", [](Block) {});

  EXPECT_THROW(
      {
        try {
          queue.sync([] {});
        } catch (const std::runtime_error& error) {
          EXPECT_STREQ(error.what(), "the executor of the queue \"ended\" has ended");
          throw;
        }
      },
      std::runtime_error);
}

TEST(ExecutorQueueEndTest, wakesAThreadThatWaitsInSync) {
  std::jthread dropper;
  const DispatchQueue queue("ending", [&](Block given) {
    dropper = std::jthread([given = std::move(given)]() mutable { given = nullptr; });
  });

  EXPECT_THROW(queue.sync([] {}), std::runtime_error);
}

}  // namespace
}  // namespace platform
