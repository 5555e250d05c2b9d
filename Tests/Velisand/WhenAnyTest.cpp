#include "Velisand/WhenAny.hpp"

#include <string>
#include <thread>
#include <vector>

#include "FutureFixture.hpp"
#include "Velisand/Task.hpp"

namespace velisand {
namespace {

Task<std::size_t> indexOfFirst(Future<int> one, Future<std::string> two) {
  co_return (co_await whenAny(one, two)).index();
}

TEST(WhenAnyTest, givesTheValueOfTheFirstToEndAndCancelsTheOthers) {
  const auto one = Maker<int>::make();
  const auto two = Maker<std::string>::make();
  const Future<std::variant<int, std::string>> first = whenAny(one->future, two->future);

  two->future.markCompletion("two");

  EXPECT_EQ(valueOf(first), (std::variant<int, std::string>("two")));
  EXPECT_TRUE(one->future.isCancelled());
}

TEST(WhenAnyTest, tellsEqualTypesApart) {
  const auto one = Maker<int>::make(), two = Maker<int>::make();
  const auto first = whenAny(one->future, two->future);

  two->future.markCompletion(7);

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index(), 1U);
  EXPECT_EQ(std::get<1>(first.get()), 7);
}

TEST(WhenAnyTest, takesFuturesWithoutValues) {
  const Future<void> nothing;
  const auto other = Maker<int>::make();
  const auto first = whenAny(nothing, other->future);

  nothing.markCompletion();

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index(), 0U);
}

TEST(WhenAnyTest, failsWithTheFirstToEnd) {
  const auto one = Maker<int>::make(), two = Maker<int>::make();
  const auto first = whenAny(one->future, two->future);

  one->future.markFailure(failure("broken"));

  EXPECT_EQ(failureOf(first), "broken");
  EXPECT_TRUE(two->future.isCancelled());
}

TEST(WhenAnyTest, waitsForTheOthers) {
  const Future<int> deaf, fast;
  const auto first = whenAny(deaf, fast);

  fast.markCompletion(1);

  EXPECT_TRUE(deaf.isCancelled());
  EXPECT_FALSE(first.isCompleted());
  deaf.markCompletion(2);
  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index(), 1U);
}

TEST(WhenAnyTest, takesTheFirstInTheListOfThoseThatAreThere) {
  const Future<int> one, two;
  one.markCompletion(1);
  two.markCompletion(2);

  EXPECT_EQ(whenAny(one, two).get().index(), 0U);
}

TEST(WhenAnyTest, cancelsAllWhenItIsCancelled) {
  const auto one = Maker<int>::make(), two = Maker<int>::make();
  const auto first = whenAny(one->future, two->future);

  first.cancel();

  EXPECT_EQ(failureOf(first), "stopped");
  EXPECT_TRUE(one->future.isCancelled() && two->future.isCancelled());
}

TEST(WhenAnyTest, isCancelledWithTheTaskThatAwaitsIt) {
  const auto one = Maker<int>::make();
  const auto two = Maker<std::string>::make();
  const auto task = indexOfFirst(one->future, two->future);

  task.cancel();

  EXPECT_EQ(failureOf<std::size_t>(task), "stopped");
  EXPECT_TRUE(one->future.isCancelled() && two->future.isCancelled());
}

TEST(WhenAnyTest, givesThePlaceInAList) {
  const auto one = Maker<std::string>::make(), two = Maker<std::string>::make();
  const auto first = whenAny(std::vector{one->future, two->future});

  two->future.markCompletion("two");

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index, 1U);
  EXPECT_EQ(first.get().value, "two");
  EXPECT_TRUE(one->future.isCancelled());
}

TEST(WhenAnyTest, givesThePlaceInAListWithoutValues) {
  const auto one = Maker<void>::make(), two = Maker<void>::make();
  const auto first = whenAny(std::vector{one->future, two->future});

  two->future.markCompletion();

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index, 1U);
}

TEST(WhenAnyTest, failsForAnEmptyList) {
  EXPECT_EQ(failureOf(whenAny(std::vector<Future<int>>())), "There is no future to await the first of");
  EXPECT_EQ(failureOf(whenAnySucceeds(std::vector<Future<int>>())), "There is no future to await the first of");
}

TEST(WhenAnyTest, failsWhenOneIsGoneWithoutAnOutcome) {
  const auto other = Maker<int>::make();

  const auto first = whenAny(Future<int>(), other->future);

  EXPECT_EQ(failureOf(first), "What was awaited is gone without an outcome");
  EXPECT_TRUE(other->future.isCancelled());
}

TEST(WhenAnySucceedsTest, passesOverFailures) {
  const auto one = Maker<int>::make(), two = Maker<int>::make(), three = Maker<int>::make();
  const auto first = whenAnySucceeds(one->future, two->future, three->future);

  one->future.markFailure(failure("broken"));
  EXPECT_FALSE(two->future.isCancelled());
  two->future.markCompletion(2);

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index(), 1U);
  EXPECT_TRUE(three->future.isCancelled());
}

TEST(WhenAnySucceedsTest, failsWithTheFirstFailureWhenAllFail) {
  const std::vector<Future<int>> futures(2);
  const auto first = whenAnySucceeds(futures);

  futures[1].markFailure(failure("first"));
  EXPECT_FALSE(first.isCompleted());
  futures[0].markFailure(failure("second"));

  EXPECT_EQ(failureOf(first), "first");
}

TEST(WhenAnySucceedsTest, cancelsAllWhenItIsCancelled) {
  const auto one = Maker<int>::make(), two = Maker<int>::make();
  const auto first = whenAnySucceeds(one->future, two->future);

  first.cancel();

  EXPECT_EQ(failureOf(first), "stopped");
  EXPECT_TRUE(one->future.isCancelled() && two->future.isCancelled());
}

TEST(WhenAnySucceedsTest, passesOverWhatIsGoneWithoutAnOutcome) {
  const auto other = Maker<int>::make();
  const auto first = whenAnySucceeds(Future<int>(), other->future);

  EXPECT_FALSE(first.isCompleted());
  EXPECT_FALSE(other->future.isCancelled());
  other->future.markCompletion(2);

  ASSERT_TRUE(first.wait(patience));
  EXPECT_EQ(first.get().index(), 1U);
}

TEST(WhenAnySucceedsTest, failsWhenAllAreGoneWithoutAnOutcome) {
  EXPECT_EQ(failureOf(whenAnySucceeds(std::vector<Future<int>>(2))), "What was awaited is gone without an outcome");
}

TEST(WhenAnyTest, hasOneWinnerInARace) {
  for (int round = 0; round < 300; ++round) {
    const auto one = Maker<int>::make(), two = Maker<int>::make();
    const auto first = whenAny(one->future, two->future);
    std::thread first_([&] { one->future.markCompletion(0); });
    std::thread second([&] { two->future.markCompletion(1); });
    first_.join();
    second.join();
    ASSERT_TRUE(first.wait(patience));
    const auto value = first.get();
    EXPECT_EQ(static_cast<int>(value.index()), value.index() == 0 ? std::get<0>(value) : std::get<1>(value));
  }
}

}  // namespace
}  // namespace velisand
