#include "Velisand/WhenAll.hpp"

#include <gmock/gmock.h>

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "FutureFixture.hpp"
#include "Velisand/Task.hpp"

namespace velisand {
namespace {

using platform::DispatchQueue;
using ::testing::ElementsAre;

Task<int> doubled(Future<int> future) { co_return 2 * co_await future; }

Task<int> sum(Future<int> one, Future<int> two) {
  const auto [first, second] = co_await whenAll(one, two);
  co_return first + second;
}

TEST(WhenAllTest, givesAllValuesInTheirOrder) {
  const Future<int> number;
  const Future<std::string> text;
  const Future<std::tuple<int, std::string>> both = whenAll(number, text);

  text.markCompletion("two");
  EXPECT_FALSE(both.isCompleted());
  number.markCompletion(1);

  EXPECT_EQ(valueOf(both), std::tuple(1, "two"));
}

TEST(WhenAllTest, takesFuturesThatAreThereAlready) {
  const Future<int> there, later;
  there.markCompletion(1);
  const auto both = whenAll(there, later);
  later.markCompletion(2);

  EXPECT_EQ(valueOf(both), std::tuple(1, 2));
  EXPECT_EQ(valueOf(whenAll(there)), std::tuple(1));
}

TEST(WhenAllTest, takesTasksAndFuturesWithoutValues) {
  const Future<int> number;
  const Future<void> nothing;
  const auto both = whenAll(doubled(number), nothing);

  nothing.markCompletion();
  number.markCompletion(4);

  EXPECT_EQ(valueOf(both), std::tuple(8, std::monostate()));
}

TEST(WhenAllTest, cancelsTheOthersAfterTheFirstFailure) {
  const auto one = Maker<int>::make(), two = Maker<int>::make(), three = Maker<int>::make();
  const auto all = whenAll(one->future, two->future, three->future);

  two->future.markFailure(failure("broken"));

  EXPECT_EQ(failureOf(all), "broken");
  EXPECT_TRUE(one->future.isCancelled());
  EXPECT_TRUE(three->future.isCancelled());
}

TEST(WhenAllTest, isOverOnlyWhenAllHaveEnded) {
  const Future<int> deaf;
  const auto failing = Maker<int>::make();
  const auto all = whenAll(deaf, failing->future);

  failing->future.markFailure(failure("broken"));

  EXPECT_TRUE(deaf.isCancelled());
  EXPECT_FALSE(all.isCompleted());
  deaf.markCompletion(1);
  EXPECT_EQ(failureOf(all), "broken");
}

TEST(WhenAllTest, keepsTheFirstOfSeveralFailures) {
  const Future<int> one, two;
  const auto all = whenAll(one, two);

  two.markFailure(failure("first"));
  one.markFailure(failure("second"));

  EXPECT_EQ(failureOf(all), "first");
}

TEST(WhenAllTest, cancelsAllWhenItIsCancelled) {
  const auto one = Maker<int>::make(), two = Maker<int>::make();
  const auto all = whenAll(one->future, two->future);

  all.cancel();

  EXPECT_EQ(failureOf(all), "stopped");
  EXPECT_TRUE(one->future.isCancelled());
  EXPECT_TRUE(two->future.isCancelled());
}

TEST(WhenAllTest, succeedsWhenAllWereFasterThanTheCancellation) {
  const Future<int> one, two;
  const auto both = whenAll(one, two);
  one.markCompletion(1);

  both.cancel();
  two.markCompletion(2);

  EXPECT_EQ(valueOf(both), std::tuple(1, 2));
}

TEST(WhenAllTest, isCancelledWithTheTaskThatAwaitsIt) {
  const auto one = Maker<int>::make(), two = Maker<int>::make();
  const auto task = sum(one->future, two->future);

  task.cancel();

  EXPECT_EQ(failureOf<int>(task), "stopped");
  EXPECT_TRUE(one->future.isCancelled());
  EXPECT_TRUE(two->future.isCancelled());
}

TEST(WhenAllTest, reachesThroughTasksAndWhatTheyAwaitTogether) {
  const auto deep = Maker<int>::make();
  const Future<int> other;
  const auto all = whenAll(sum(deep->future, other), doubled(other));

  all.cancel();

  EXPECT_TRUE(deep->future.isCancelled());
  other.markCompletion(1);
  EXPECT_EQ(failureOf(all), "stopped");
}

TEST(WhenAllTest, reachesThroughAnyNumberOfThem) {
  const auto innermost = Maker<void>::make();
  Future<void> outermost = innermost->future;
  for (int number = 0; number < 20'000; ++number) outermost = whenAll(std::vector<Future<void>>{outermost});

  outermost.cancel();

  EXPECT_TRUE(outermost.wait(10 * patience));
  EXPECT_EQ(failureOf(outermost), "stopped");
}

TEST(WhenAllTest, endsAnyNumberOfThemWhenTheInnermostIsGone) {
  std::optional<Future<void>> innermost(std::in_place);
  Future<void> outermost = *innermost;
  for (int number = 0; number < 20'000; ++number) outermost = whenAll(std::vector<Future<void>>{outermost});

  innermost.reset();

  EXPECT_EQ(failureOf(outermost), "What was awaited is gone without an outcome");
}

TEST(WhenAllTest, awaitsAListInItsOrder) {
  const std::vector<Future<std::string>> futures(3);
  const Future<std::vector<std::string>> all = whenAll(futures);

  futures[2].markCompletion("c");
  futures[0].markCompletion("a");
  futures[1].markCompletion("b");

  EXPECT_THAT(valueOf(all).value_or(std::vector<std::string>()), ElementsAre("a", "b", "c"));
}

TEST(WhenAllTest, awaitsAListOfTasks) {
  const Future<int> future;
  const std::vector<Task<int>> tasks{doubled(future), doubled(future)};
  const auto all = whenAll(tasks);

  future.markCompletion(3);

  EXPECT_THAT(valueOf(all).value_or(std::vector<int>()), ElementsAre(6, 6));
}

TEST(WhenAllTest, awaitsAListWithoutValues) {
  const std::vector<Future<void>> futures(2);
  const Future<void> all = whenAll(futures);

  for (const auto& future : futures) future.markCompletion();

  EXPECT_EQ(failureOf(all), "no failure");
}

TEST(WhenAllTest, isOverAtOnceForAnEmptyList) {
  EXPECT_TRUE(whenAll(std::vector<Future<int>>()).isCompleted());
  EXPECT_TRUE(whenAll(std::vector<Future<int>>()).get().empty());
  EXPECT_TRUE(whenAll(std::vector<Future<void>>()).result());
}

TEST(WhenAllTest, cancelsTheOthersOfAList) {
  const auto one = Maker<bool>::make(), two = Maker<bool>::make();
  const auto all = whenAll(std::vector{one->future, two->future});

  one->future.markFailure(failure("broken"));

  EXPECT_EQ(failureOf(all), "broken");
  EXPECT_TRUE(two->future.isCancelled());
}

TEST(WhenAllTest, cancelsAnotherOnlyOnceWhenItFailedWhileTheRestWasRegistered) {
  const Future<int> broken;
  broken.markFailure(failure("broken"));
  const auto other = Maker<int>::make();

  const auto all = whenAll(broken, other->future);

  EXPECT_EQ(failureOf(all), "broken");
  EXPECT_TRUE(other->future.isCancelled());
}

TEST(WhenAllTest, failsWhenOneIsGoneWithoutAnOutcome) {
  const Future<int> stays;
  const auto all = whenAll(stays, Future<int>());

  EXPECT_FALSE(all.isCompleted());
  stays.markCompletion(1);

  EXPECT_EQ(failureOf(all), "What was awaited is gone without an outcome");
  EXPECT_EQ(all.result().error()->code(), -999);
  EXPECT_EQ(failureOf(whenAll(std::vector<Future<int>>(2))), "What was awaited is gone without an outcome");
}

TEST(WhenAllTest, cancelsTheOthersWhenOneIsGoneWithoutAnOutcome) {
  const auto other = Maker<int>::make();

  const auto all = whenAll(other->future, Future<int>());

  EXPECT_EQ(failureOf(all), "What was awaited is gone without an outcome");
  EXPECT_TRUE(other->future.isCancelled());
}

TEST(WhenAllTest, keepsTheFailureBeforeOneWasGone) {
  const Future<int> broken;
  std::optional<Future<int>> goes(std::in_place);
  const auto all = whenAll(broken, *goes);

  broken.markFailure(failure("broken"));
  EXPECT_FALSE(all.isCompleted());
  goes.reset();

  EXPECT_EQ(failureOf(all), "broken");
}

TEST(WhenAllTest, leavesTheFuturesOfAnotherListAlone) {
  std::vector<Future<int>> futures(2);
  const auto of = whenAll(std::span(futures)), again = whenAll(futures);

  for (const auto& future : futures) future.markCompletion(1);

  EXPECT_THAT(valueOf(of).value_or(std::vector<int>()), ElementsAre(1, 1));
  EXPECT_THAT(valueOf(again).value_or(std::vector<int>()), ElementsAre(1, 1));
}

TEST(WhenAllTest, keepsNothingOnceItIsOver) {
  auto token = std::make_shared<int>(1);
  const std::weak_ptr<int> held = token;
  const Future<int> other;
  {
    const Future<std::shared_ptr<int>> future;
    const auto both = whenAll(future, other);
    future.markCompletion(std::move(token));
    other.markCompletion(1);
    EXPECT_TRUE(both.wait(patience));
  }

  EXPECT_TRUE(held.expired());
}

/// Throws when it is copied for the second time.
struct HardlyCopied {
  HardlyCopied() = default;
  HardlyCopied(const HardlyCopied& other) : copies(other.copies) {
    if (++*copies == 1) throw std::runtime_error("not again");
  }
  HardlyCopied(HardlyCopied&&) noexcept = default;
  std::shared_ptr<int> copies = std::make_shared<int>(0);
};

TEST(WhenAllTest, failsWithWhatTheCopyOfAValueThrows) {
  const Future<HardlyCopied> future;
  const auto other = Maker<int>::make();
  const auto both = whenAll(future, other->future);

  future.markCompletion(HardlyCopied());

  EXPECT_EQ(failureOf(both), "not again");
  EXPECT_TRUE(other->future.isCancelled());
}

TEST(WhenAllTest, resumesATaskWhereItAwaited) {
  const DispatchQueue queue("org.corvane.test.whenAll");
  const Future<int> one, two;
  const auto asks = [](Future<int> first, Future<int> second) -> Task<std::optional<DispatchQueue>> {
    co_await whenAll(first, second);
    co_return DispatchQueue::current();
  };
  const auto task = queue.sync([&] { return asks(one, two); });

  one.markCompletion(1);
  std::thread([&] { two.markCompletion(2); }).join();

  ASSERT_TRUE(task.wait(patience));
  EXPECT_EQ(task.get(), queue);
}

TEST(WhenAllTest, survivesRacesOfItsPartsAndItsCancellation) {
  int succeeded = 0, failed = 0;
  for (int round = 0; round < 300; ++round) {
    const auto one = Maker<int>::make(), two = Maker<int>::make(), three = Maker<int>::make();
    std::thread first([&] { one->future.markCompletion(1); });
    std::thread second([&] { round % 2 ? two->future.markCompletion(2) : two->future.markFailure(failure("broken")); });
    const auto all = whenAll(one->future, two->future, doubled(three->future));
    std::thread third([&] { three->future.markCompletion(3); });
    std::thread canceller([&] {
      if (round % 3 == 0) all.cancel();
    });
    for (auto* thread : {&first, &second, &third, &canceller}) thread->join();
    ASSERT_TRUE(all.wait(patience));
    EXPECT_TRUE(one->future.isCompleted() && two->future.isCompleted() && three->future.isCompleted());
    ++(all.result() ? succeeded : failed);
  }
  EXPECT_GE(succeeded, 100);
  EXPECT_GE(failed, 150);
}

TEST(WhenAllTest, isWaitedForOnTheQueueThatHasCompletedItsPart) {
  const DispatchQueue queue("org.corvane.test.whenAll");
  const auto onQueue = Future<int>::completedOn(queue);
  const Future<int> elsewhere;
  const auto both = queue.sync([&] { return whenAll(onQueue, elsewhere); });

  queue.sync([&] { onQueue.markCompletion(1); });
  EXPECT_FALSE(queue.sync([&] { return both.wait(0); }));
  elsewhere.markCompletion(2);

  EXPECT_EQ(queue.sync([&] { return both.get(); }), std::tuple(1, 2));
}

TEST(WhenAllTest, isWaitedForOnAQueueHoweverOftenItHasTheSamePart) {
  const DispatchQueue queue("org.corvane.test.whenAll");
  const Future<void> innermost;
  Future<void> outermost = innermost;
  for (int depth = 0; depth < 60; ++depth) outermost = whenAll(std::vector{outermost, outermost});

  EXPECT_FALSE(queue.sync([&] { return outermost.wait(0); }));
  innermost.markCompletion();

  EXPECT_EQ(failureOf(outermost), "no failure");
}

TEST(WhenAllDeathTest, trapsWhenAQueueWaitsForWhatItHasToComplete) {
  const DispatchQueue queue("org.corvane.test.whenAll");

  const auto future = Future<int>::completedOn(queue);

  EXPECT_DEATH(queue.sync([&] { whenAll(future).get(); }),
               "a block of the queue \"org.corvane.test.whenAll\" waits for a future");
}

TEST(WhenAllDeathTest, trapsWhereverItWasMade) {
  const DispatchQueue queue("org.corvane.test.whenAll"), other("org.corvane.test.other");
  const auto onQueue = Future<int>::completedOn(queue);
  const Future<int> later;
  const auto both = other.sync([&] { return whenAll(later, whenAll(onQueue)); });
  const auto ofTask = whenAll(queue.sync([&] { return doubled(later); }));
  const char* reason = "a block of the queue \"org.corvane.test.whenAll\" waits for a future";

  EXPECT_DEATH(queue.sync([&] { both.wait(0); }), reason);
  EXPECT_DEATH(queue.sync([&] { ofTask.wait(0); }), reason);

  later.markCompletion(1);
  EXPECT_EQ(valueOf(ofTask), std::tuple(2));
}

TEST(WhenAllDeathTest, trapsAfterItsPartsWereCancelled) {
  const DispatchQueue queue("org.corvane.test.whenAll");
  const auto onQueue = Future<int>::completedOn(queue);
  const Future<int> broken;
  const auto cancelled = whenAll(onQueue);
  const auto both = whenAll(onQueue, broken);
  const char* reason = "a block of the queue \"org.corvane.test.whenAll\" waits for a future";

  cancelled.cancel();
  broken.markFailure(failure("broken"));

  EXPECT_DEATH(queue.sync([&] { cancelled.wait(0); }), reason);
  EXPECT_DEATH(queue.sync([&] { both.wait(0); }), reason);
}

}  // namespace
}  // namespace velisand
