#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Velisand/Task.hpp"

namespace velisand {
namespace {

using platform::DispatchQueue;
using platform::Error;
using platform::NSError;
using platform::Seconds;

constexpr Seconds patience(10);

Error stopped() { return NSError("TaskCancellationTest", 1, "stopped"); }

/// Fails a future when that is cancelled.
struct Fail {
  void operator()() const noexcept { future.markFailure(stopped()); }

  Future<int> future;
};

/// A future that fails when it is cancelled.
Future<int> cancelable() {
  const Future<int> future;
  const auto stopping = std::make_shared<std::optional<std::stop_callback<Fail>>>();
  stopping->emplace(future.stopToken(), Fail{future});
  // Held by the future, which it holds, until that is completed.
  future.whenCompleted(DispatchQueue::global(), [stopping](const Result<int>&) { stopping->reset(); });
  return future;
}

Task<int> doubled(Future<int> future) { co_return 2 * co_await future; }

Task<int> doubledTwice(Future<int> future) { co_return 2 * co_await doubled(future); }

std::string failureOf(const Future<int>& future) {
  if (!future.wait(patience)) return "not completed";
  const auto result = future.result();
  return result.error() ? result.error()->message() : "no failure";
}

TEST(FutureCancellationTest, requestsItsStopOnce) {
  const Future<int> future;
  int calls = 0;
  const std::stop_callback callback(future.stopToken(), [&] { ++calls; });

  future.cancel();
  future.cancel();

  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(future.isCancelled());
  EXPECT_FALSE(future.isCompleted());
}

TEST(FutureCancellationTest, tellsAMakerWhoAsksLater) {
  const Future<int> future;
  future.cancel();

  EXPECT_TRUE(future.stopToken().stop_requested());
}

TEST(FutureCancellationTest, hasOneStopForAllWhoAsk) {
  const Future<int> future;

  EXPECT_EQ(future.stopToken(), Future<int>(future).stopToken());
}

TEST(FutureCancellationTest, doesNothingOnceTheFutureIsCompleted) {
  const Future<int> future;
  const std::stop_callback callback(future.stopToken(), [] { ADD_FAILURE() << "too late"; });

  future.markCompletion(1);
  future.cancel();

  EXPECT_FALSE(future.stopToken().stop_possible());
  EXPECT_FALSE(future.isCancelled());
  EXPECT_EQ(future.get(), 1);
}

TEST(TaskCancellationTest, cancelsWhatTheTaskAwaits) {
  const auto future = cancelable();
  const auto task = doubled(future);

  task.cancel();

  EXPECT_EQ(failureOf(task), "stopped");
  EXPECT_TRUE(future.isCancelled());
}

TEST(TaskCancellationTest, reachesThroughNestedTasks) {
  const auto future = cancelable();
  const auto task = doubledTwice(future);

  task.cancel();

  EXPECT_EQ(failureOf(task), "stopped");
  EXPECT_TRUE(future.isCancelled());
}

TEST(TaskCancellationTest, reachesThroughAnyNumberOfTasks) {
  const auto innermost = cancelable();
  Future<int> outermost = innermost;
  for (int number = 0; number < 50'000; ++number)
    outermost = [](Future<int> next) -> Task<int> { co_return co_await next; }(outermost);

  outermost.cancel();

  EXPECT_TRUE(innermost.isCancelled());
  // So many coroutines that end one after the other take their time under a sanitizer.
  EXPECT_TRUE(outermost.wait(10 * patience));
}

TEST(TaskCancellationTest, leavesATaskAloneThatHasEnded) {
  const auto future = cancelable();
  future.markCompletion(2);
  const auto task = doubled(future);

  task.cancel();

  EXPECT_EQ(task.get(), 4);
}

TEST(TaskCancellationTest, cancelsWhatTheTaskAwaitsLater) {
  const auto first = cancelable(), second = cancelable();
  const auto both = [](Future<int> one, Future<int> two) -> Task<int> {
    int sum = 0;
    try {
      sum += co_await one;
    } catch (const Error&) {
      sum += 100;
    }
    co_return sum + co_await two;
  };
  const auto task = both(first, second);

  task.cancel();

  EXPECT_EQ(failureOf(task), "stopped");
  EXPECT_TRUE(second.isCancelled());
}

TEST(TaskCancellationTest, letsTheCoroutineMakeOfItWhatItLikes) {
  const auto tolerant = [](Future<int> future) -> Task<int> {
    try {
      co_return co_await future;
    } catch (const Error&) {
      co_return -1;
    }
  };
  const auto task = tolerant(cancelable());

  task.cancel();

  ASSERT_TRUE(task.wait(patience));
  EXPECT_EQ(task.get(), -1);
}

TEST(TaskCancellationTest, destroysTheCoroutinesVariablesFirst) {
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;
  const auto keeper = [](Future<int> awaited, std::shared_ptr<int>) -> Task<int> { co_return co_await awaited; };
  const auto task = keeper(cancelable(), std::move(token));

  task.cancel();

  EXPECT_EQ(failureOf(task), "stopped");
  EXPECT_TRUE(held.expired());
}

TEST(TaskCancellationTest, goesOnAwaitingWhatCannotBeCancelled) {
  const Future<int> future;
  const auto task = doubled(future);

  task.cancel();
  const bool wasCompleted = task.isCompleted();
  future.markCompletion(3);

  EXPECT_FALSE(wasCompleted);
  ASSERT_TRUE(task.wait(patience));
  EXPECT_EQ(task.get(), 6);
}

TEST(TaskCancellationTest, canBeCalledInsideTheTaskItself) {
  const auto future = cancelable();
  const Future<Future<int>> itself;
  const auto selfish = [](Future<Future<int>> self, Future<int> awaited) -> Task<int> {
    (co_await self).cancel();
    co_return co_await awaited;
  };
  const auto task = selfish(itself, future);

  itself.markCompletion(task);

  EXPECT_EQ(failureOf(task), "stopped");
}

TEST(TaskCancellationTest, resumesOnTheQueueItAwaitedOn) {
  const DispatchQueue queue("org.corvane.test.cancelled");
  const auto asks = [](Future<int> future) -> Task<bool> {
    try {
      co_await future;
    } catch (const Error&) {
    }
    const auto current = DispatchQueue::current();
    co_return current && current->label() == "org.corvane.test.cancelled";
  };
  const auto task = queue.sync([&] { return asks(cancelable()); });

  std::thread(&Future<bool>::cancel, &task).join();

  ASSERT_TRUE(task.wait(patience));
  EXPECT_TRUE(task.get());
}

TEST(TaskCancellationTest, survivesRacesWithCompletionAndSuspension) {
  std::atomic<int> cancelled = 0, completed = 0;
  for (int round = 0; round < 300; ++round) {
    const auto future = cancelable();
    std::thread completer([&] { future.markCompletion(1); });
    const auto task = doubledTwice(future);
    std::thread first([&] { task.cancel(); });
    std::thread second([&] { task.cancel(); });
    completer.join();
    first.join();
    second.join();
    ASSERT_TRUE(task.wait(patience));
    ++(task.result() ? completed : cancelled);
  }
  EXPECT_EQ(cancelled + completed, 300);
}

}  // namespace
}  // namespace velisand
