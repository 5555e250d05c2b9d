#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

#include "AsioFixture.hpp"

namespace corvane {
namespace {

using platform::DispatchQueue;
using AsioQueueTest = AsioTest;

TEST_F(AsioQueueTest, completesOnTheThreadThatRunsTheContext) {
  server.enqueue(MockResponse(200).text("hello"));
  const AsioQueue queue(context);
  std::thread::id thread;
  std::string text;

  get().send(queue, [&](const DataResponse& response) {
    thread = std::this_thread::get_id();
    text = response.data->text();
  });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(thread, std::this_thread::get_id());
  EXPECT_EQ(text, "hello");
}

TEST_F(AsioQueueTest, keepsTheContextRunningUntilTheLastCompletion) {
  constexpr int count = 500;
  server.handleAll([](const auto&) { return MockResponse(200).text("x"); });
  const AsioQueue queue(context);
  int completed = 0;

  for (int number = 0; number < count; ++number) {
    get().send(queue, [&](const DataResponse& response) { completed += response.result ? 1 : 0; });
  }

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(completed, count);
}

TEST_F(AsioQueueTest, isNoWorkByItself) {
  const AsioQueue queue(context);
  const AsioQueue copy = queue;

  EXPECT_EQ(context.run(), 0U);
}

TEST_F(AsioQueueTest, keepsTheContextRunningForDelayedBlocks) {
  const AsioQueue queue(context);
  bool wasRun = false;

  queue.queue().asyncAfter(0.01, [&] { wasRun = true; });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_TRUE(wasRun);
}

TEST_F(AsioQueueTest, isOneQueueForAllThatHoldIt) {
  const AsioQueue queue(context, "answers");

  const DispatchQueue one = queue, two = queue;

  EXPECT_EQ(one, two);
  EXPECT_EQ(one.label(), "answers");
}

TEST_F(AsioQueueTest, staysSerialInAThreadPool) {
  net::thread_pool pool(4);
  const AsioQueue queue(pool);
  int unguardedCount = 0;

  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&] {
        for (int number = 0; number < 500; ++number) queue.queue().async([&] { ++unguardedCount; });
      });
    }
  }
  pool.join();

  EXPECT_EQ(unguardedCount, 2000);
}

TEST_F(AsioQueueTest, runsOnAStrandAndOnAnyExecutor) {
  const AsioQueue onStrand(net::make_strand(context));
  const AsioQueue onAny(net::any_io_executor(context.get_executor()));
  int ran = 0;

  onStrand.queue().async([&] { ++ran; });
  onAny.queue().async([&] { ++ran; });

  EXPECT_TRUE(runToTheEnd());
  EXPECT_EQ(ran, 2);
}

TEST_F(AsioQueueTest, bringsTheResultOfASyncToAnotherThread) {
  const AsioQueue queue(context);
  const auto work = net::make_work_guard(context);
  std::jthread runner([&] { runToTheEnd(); });

  const auto thread = queue.queue().sync([] { return std::this_thread::get_id(); });
  context.stop();

  EXPECT_EQ(thread, runner.get_id());
}

TEST_F(AsioQueueTest, keepsWhatWaitsWhileTheContextIsStopped) {
  const AsioQueue queue(context);
  bool wasRun = false;
  context.stop();
  queue.queue().async([&] { wasRun = true; });

  context.run();
  const bool hasRunAlready = wasRun;
  context.restart();
  context.run();

  EXPECT_FALSE(hasRunAlready);
  EXPECT_TRUE(wasRun);
}

TEST_F(AsioQueueTest, dropsWhatWaitsWhenTheContextIsDestroyed) {
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;
  std::optional<net::io_context> ending(std::in_place);
  const DispatchQueue queue = AsioQueue(*ending);
  queue.async([token = std::move(token)] { FAIL() << "dropped blocks do not run"; });

  ending.reset();

  EXPECT_TRUE(held.expired());
}

TEST_F(AsioQueueTest, dropsWhatComesOnceTheContextIsDestroyed) {
  std::optional<net::io_context> ending(std::in_place);
  const AsioQueue queue(*ending);
  const DispatchQueue early = queue;
  ending.reset();
  const DispatchQueue late = queue;

  EXPECT_THROW(early.sync([] {}), std::runtime_error);
  EXPECT_THROW(late.sync([] {}), std::runtime_error);
}

TEST_F(AsioQueueTest, survivesTheEndOfTheContextWhileRequestsAreUnderWay) {
  holdResponses(3);
  std::optional<net::io_context> ending(std::in_place);
  const testkit::Expectation<void> released;
  {
    const std::shared_ptr<void> token(nullptr, [released](void*) { released(); });
    const AsioQueue queue(*ending);
    for (int number = 0; number < 3; ++number) {
      get().send(queue, [token](const DataResponse&) { FAIL() << "nobody runs the context"; });
    }
  }
  ASSERT_TRUE(server.waitForRequests(3));

  ending.reset();
  EXPECT_EQ(released.count(), 0);
  latch.open();

  // The responses arrive, and the completions go without being called.
  released.wait();
}

TEST_F(AsioQueueTest, survivesTheEndOfTheContextWhileBlocksAreSubmitted) {
  for (int round = 0; round < 50; ++round) {
    std::optional<net::thread_pool> pool(std::in_place, 2);
    std::atomic<bool> isSubmitting = false;
    std::jthread submitter([queue = AsioQueue(*pool).queue(), &isSubmitting] {
      for (int number = 0; number < 100; ++number) {
        queue.async([] {});
        isSubmitting = true;
        isSubmitting.notify_one();
      }
    });
    isSubmitting.wait(false);
    pool->stop();
    pool.reset();
  }
}

}  // namespace
}  // namespace corvane
