#include "Velisand/Task.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "Platform/Dispatch/DispatchQueue.hpp"

namespace velisand {
namespace {

using platform::DispatchQueue;
using platform::Error;
using platform::NSError;
using platform::Seconds;

constexpr Seconds patience(10);

Task<int> doubled(Future<int> future) { co_return 2 * co_await future; }

Task<> forwarded(Future<int> from, Future<int> to) { to.markCompletion(co_await doubled(from)); }

Task<std::string> messageOfFailure(Future<int> future) {
  try {
    co_await future;
    co_return "no failure";
  } catch (const Error& error) {
    co_return error.message();
  }
}

Task<std::optional<DispatchQueue>> queueAfter(Future<int> future) {
  co_await future;
  co_return DispatchQueue::current();
}

TEST(TaskTest, givesWhatTheCoroutineReturns) {
  const Future<int> future;
  const auto task = doubled(future);

  EXPECT_FALSE(task.isCompleted());
  future.markCompletion(21);

  ASSERT_TRUE(task.wait(patience));
  EXPECT_EQ(task.get(), 42);
}

TEST(TaskTest, runsOnWithoutSuspendingWhenTheFutureIsThere) {
  const Future<int> future;
  future.markCompletion(1);

  const auto task = doubled(future);

  EXPECT_TRUE(task.isCompleted());
}

TEST(TaskTest, isAFutureThatOtherTasksAwait) {
  const Future<int> from, to;
  const Future<void> task = forwarded(from, to);

  from.markCompletion(4);

  ASSERT_TRUE(task.wait(patience));
  EXPECT_EQ(to.get(), 8);
}

TEST(TaskTest, seesAFailureAsAThrownError) {
  const Future<int> future;
  const auto task = messageOfFailure(future);

  future.markFailure(NSError("Printer", 7, "The printer is out of paper"));

  ASSERT_TRUE(task.wait(patience));
  EXPECT_EQ(task.get(), "The printer is out of paper");
}

TEST(TaskTest, failsWithWhatTheCoroutineThrows) {
  const auto thrower = []() -> Task<int> {
    throw std::out_of_range("beyond the end");
    co_return 1;
  };

  const auto task = thrower();

  ASSERT_FALSE(task.result());
  EXPECT_TRUE(task.result().error()->is<std::out_of_range>());
  EXPECT_EQ(task.result().error()->message(), "beyond the end");
}

TEST(TaskTest, resumesOnTheQueueItAwaitedOn) {
  const DispatchQueue queue("org.corvane.test.coroutine");
  const Future<int> future;
  const auto task = queue.sync([&] { return queueAfter(future); });

  std::thread completer([&] { future.markCompletion(1); });
  completer.join();

  ASSERT_TRUE(task.wait(patience));
  EXPECT_EQ(task.get(), queue);
}

TEST(TaskTest, resumesOnTheGlobalQueueWhenItAwaitedOnNone) {
  const Future<int> future;
  const auto task = queueAfter(future);

  future.markCompletion(1);

  ASSERT_TRUE(task.wait(patience));
  EXPECT_EQ(task.get(), DispatchQueue::global());
}

TEST(TaskTest, isCompletedAfterTheCoroutineIsGone) {
  const Future<int> future;
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;
  const auto keeper = [](Future<int> awaited, std::shared_ptr<int>) -> Task<int> { co_return co_await awaited; };
  const auto task = keeper(future, std::move(token));

  future.markCompletion(1);

  ASSERT_TRUE(task.wait(patience));
  EXPECT_TRUE(held.expired());
}

TEST(TaskTest, runsToItsEndWhenNobodyKeepsIt) {
  const Future<int> from, to;

  forwarded(from, to);
  from.markCompletion(1);

  ASSERT_TRUE(to.wait(patience));
  EXPECT_EQ(to.get(), 2);
}

TEST(TaskTest, survivesManyRacesBetweenSuspendingAndCompleting) {
  std::atomic<int> sum = 0;
  for (int round = 0; round < 200; ++round) {
    const Future<int> future;
    std::thread completer([&] { future.markCompletion(1); });
    const auto task = doubled(future);
    completer.join();
    ASSERT_TRUE(task.wait(patience));
    sum += task.get();
  }
  EXPECT_EQ(sum, 400);
}

TEST(TaskDeathTest, trapsWhenTheQueueItResumesOnWaitsForIt) {
  const DispatchQueue queue("org.corvane.test.coroutine");

  EXPECT_DEATH(queue.sync([] { doubled(Future<int>()).get(); }),
               "a block of the queue \"org.corvane.test.coroutine\" waits for a future");
}

}  // namespace
}  // namespace velisand
