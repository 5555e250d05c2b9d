#include "Velisand/Future.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Velisand/OptionalQueue.hpp"

namespace velisand {
namespace {

using platform::DispatchQueue;
using platform::Error;
using platform::NSError;
using platform::Seconds;
using testing::ElementsAre;

constexpr Seconds patience(10);

NSError outOfPaper() { return NSError("Printer", 7, "The printer is out of paper"); }

TEST(FutureTest, givesTheValueItWasCompletedWith) {
  const Future<std::string> future;

  EXPECT_TRUE(future.markCompletion("done"));

  EXPECT_TRUE(future.isCompleted());
  EXPECT_EQ(future.get(), "done");
}

TEST(FutureTest, throwsTheErrorItFailedWith) {
  const Future<int> future;

  future.markFailure(outOfPaper());

  try {
    future.get();
    FAIL() << "get() returned";
  } catch (const Error& error) {
    EXPECT_EQ(error, Error(outOfPaper()));
  }
}

TEST(FutureTest, givesTheOutcomeWithoutThrowing) {
  const Future<int> completed, failed;

  completed.markCompletion(3);
  failed.markFailure(outOfPaper());

  ASSERT_TRUE(completed.result());
  EXPECT_EQ(*completed.result().value(), 3);
  EXPECT_EQ(completed.result().error(), nullptr);
  ASSERT_FALSE(failed.result());
  EXPECT_EQ(failed.result().value(), nullptr);
  EXPECT_EQ(failed.result().error()->code(), 7);
}

TEST(FutureTest, keepsTheFirstOutcome) {
  const Future<int> future;

  EXPECT_TRUE(future.markCompletion(1));
  EXPECT_FALSE(future.markCompletion(2));
  EXPECT_FALSE(future.markFailure(outOfPaper()));

  EXPECT_EQ(future.get(), 1);
}

TEST(FutureTest, worksWithoutAValue) {
  const Future<void> completed, failed;
  std::vector<std::string> calls;

  completed.whenSucceeded([&] { calls.push_back("succeeded"); });
  EXPECT_TRUE(completed.markCompletion());
  failed.markFailure(outOfPaper());

  EXPECT_NO_THROW(completed.get());
  EXPECT_THROW(failed.get(), Error);
  EXPECT_TRUE(DispatchQueue::main().runUntil([&] { return !calls.empty(); }, patience));
}

TEST(FutureTest, sharesOneOutcomeAmongItsCopies) {
  const Future<int> future;
  const auto copy = future;

  copy.markCompletion(5);

  EXPECT_EQ(future.get(), 5);
}

TEST(FutureTest, givesUpWaitingAtTheLimit) {
  const Future<int> future;

  EXPECT_FALSE(future.wait(Seconds(0.01)));
  EXPECT_FALSE(future.wait(Seconds(0)));

  future.markCompletion(1);
  EXPECT_TRUE(future.wait(Seconds(0)));
}

TEST(FutureTest, wakesEveryWaitingThread) {
  const Future<int> future;
  std::atomic<int> sum = 0;
  std::vector<std::thread> waiters;
  for (int count = 0; count < 8; ++count) waiters.emplace_back([&] { sum += future.get(); });

  std::thread completer([&] { future.markCompletion(2); });

  completer.join();
  for (auto& waiter : waiters) waiter.join();
  EXPECT_EQ(sum, 16);
}

TEST(FutureTest, letsOneOfManyCompletersWin) {
  for (int round = 0; round < 100; ++round) {
    const Future<int> future;
    std::atomic<int> winners = 0;
    std::vector<std::thread> completers;
    for (int value = 0; value < 4; ++value)
      completers.emplace_back([&, value] {
        if (future.markCompletion(value)) ++winners;
      });

    for (auto& completer : completers) completer.join();

    EXPECT_EQ(winners, 1);
    EXPECT_TRUE(future.isCompleted());
  }
}

TEST(FutureTest, callsEveryCallbackOnceHoweverItRacesTheCompletion) {
  for (int round = 0; round < 50; ++round) {
    const DispatchQueue queue("org.corvane.test.callbacks");
    const Future<int> future;
    std::atomic<int> calls = 0;
    std::vector<std::thread> threads;
    for (int count = 0; count < 4; ++count)
      threads.emplace_back([&] {
        for (int callback = 0; callback < 10; ++callback)
          future.whenSucceeded(queue, [&](int value) { calls += value; });
      });
    threads.emplace_back([&] { future.markCompletion(1); });

    for (auto& thread : threads) thread.join();
    // Everything is submitted by now, so a block submitted here runs last.
    const Future<void> drained;
    queue.async([drained] { drained.markCompletion(); });

    ASSERT_TRUE(drained.wait(patience));
    EXPECT_EQ(calls, 40);
  }
}

TEST(FutureTest, callsBackInTheOrderOfRegistration) {
  const DispatchQueue queue("org.corvane.test.order");
  const Future<int> future;
  const Future<void> done;
  std::vector<std::string> calls;

  future.whenCompleted(queue, [&](const Result<int>& result) { calls.push_back(std::to_string(*result.value())); });
  future.whenSucceeded(queue, [&](int) { calls.push_back("succeeded"); });
  future.whenFailed(queue, [&](const Error&) { calls.push_back("failed"); });
  future.whenCompleted(queue, [&](const Result<int>&) { done.markCompletion(); });
  future.markCompletion(1);

  ASSERT_TRUE(done.wait(patience));
  EXPECT_THAT(calls, ElementsAre("1", "succeeded"));
}

TEST(FutureTest, tellsFailuresToThoseWhoAskForThem) {
  const DispatchQueue queue("org.corvane.test.failure");
  const Future<int> future;
  const Future<std::string> told;

  future.whenSucceeded(queue, [&](int) { told.markCompletion("succeeded"); });
  future.whenFailed(queue, [&](const Error& error) { told.markCompletion(error.message()); });
  future.markFailure(outOfPaper());

  ASSERT_TRUE(told.wait(patience));
  EXPECT_EQ(told.get(), "The printer is out of paper");
}

TEST(FutureTest, callsBackOnTheMainQueueUnlessToldOtherwise) {
  const Future<int> future;
  bool wasOnMain = false, wasCalled = false;

  future.whenCompleted([&](const Result<int>&) {
    wasOnMain = DispatchQueue::main().isCurrent();
    wasCalled = true;
  });
  future.markCompletion(1);

  EXPECT_FALSE(wasCalled) << "the callback ran before the main queue did";
  EXPECT_TRUE(DispatchQueue::main().runUntil([&] { return wasCalled; }, patience));
  EXPECT_TRUE(wasOnMain);
}

TEST(FutureTest, callsBackWhenItWasCompletedAlready) {
  const DispatchQueue queue("org.corvane.test.late");
  const Future<int> future;
  const Future<bool> wasOnQueue;
  future.markCompletion(1);

  future.whenSucceeded(queue, [&](int) { wasOnQueue.markCompletion(queue.isCurrent()); });

  ASSERT_TRUE(wasOnQueue.wait(patience));
  EXPECT_TRUE(wasOnQueue.get());
}

TEST(FutureTest, keepsTheValueForItsCallbacksWhenAllHandlesAreGone) {
  const DispatchQueue queue("org.corvane.test.gone");
  const Future<std::string> seen;
  const Future<void> gate;
  queue.async([gate] { gate.wait(patience); });

  {
    const Future<std::string> future;
    future.whenSucceeded(queue, [seen](const std::string& value) { seen.markCompletion(value); });
    future.markCompletion("still here");
  }
  gate.markCompletion();

  ASSERT_TRUE(seen.wait(patience));
  EXPECT_EQ(seen.get(), "still here");
}

TEST(FutureTest, dropsItsCallbacksWhenNobodyCanCompleteItAnyMore) {
  auto token = std::make_shared<int>(0);
  const std::weak_ptr<int> held = token;

  {
    const Future<int> future;
    future.whenCompleted([token = std::move(token)](const Result<int>&) { FAIL() << *token; });
    EXPECT_FALSE(held.expired());
  }

  EXPECT_TRUE(held.expired());
}

TEST(FutureTest, mayBeWaitedForOutsideTheQueueThatCompletesIt) {
  const DispatchQueue queue("org.corvane.test.completing");
  const auto future = Future<int>::completedOn(queue);

  queue.async([future] { future.markCompletion(4); });

  EXPECT_EQ(future.get(), 4);
}

TEST(FutureTest, mayBeReadOnItsCompletingQueueOnceItIsCompleted) {
  const DispatchQueue queue("org.corvane.test.completing");
  const auto future = Future<int>::completedOn(queue);

  future.markCompletion(4);

  EXPECT_EQ(queue.sync([&] { return future.get(); }), 4);
}

TEST(FutureTest, mayBeWaitedForOnTheGlobalQueueThatCompletesIt) {
  const auto global = DispatchQueue::global();
  const auto future = Future<int>::completedOn(global);
  const Future<int> relayed;

  global.async([=] { relayed.markCompletion(future.get()); });
  global.async([=] { future.markCompletion(6); });

  ASSERT_TRUE(relayed.wait(patience));
  EXPECT_EQ(relayed.get(), 6);
}

TEST(FutureDeathTest, trapsWhenTheCompletingQueueWaitsForIt) {
  const DispatchQueue queue("org.corvane.test.completing");
  const auto future = Future<int>::completedOn(queue);
  const char* reason = "a block of the queue \"org.corvane.test.completing\" waits for a future";

  EXPECT_DEATH(queue.sync([&] { future.get(); }), reason);
  EXPECT_DEATH(queue.sync([&] { future.wait(Seconds(1)); }), reason);
}

TEST(OptionalQueueTest, isWhereTheBlockRuns) {
  const DispatchQueue queue("org.corvane.test.current");

  const auto current = queue.sync([] { return currentQueue(); });

  EXPECT_EQ(current, queue);
}

TEST(OptionalQueueTest, letsAThreadOutsideAnyQueueBlockOnWhatIsDeliveredToIt) {
  const auto here = currentQueue();
  const auto future = Future<std::thread::id>::completedOn(*here);

  std::thread deliverer([&] { async(here, [&] { future.markCompletion(std::this_thread::get_id()); }); });

  EXPECT_EQ(future.get(), deliverer.get_id()) << "the block did not run where it arose";
  deliverer.join();
}

TEST(OptionalQueueTest, meansTheMainQueueWhenItIsAbsent) {
  bool wasOnMain = false;

  async(std::nullopt, [&] { wasOnMain = DispatchQueue::main().isCurrent(); });

  EXPECT_TRUE(DispatchQueue::main().runUntil([&] { return wasOnMain; }, patience));
}

}  // namespace
}  // namespace velisand
