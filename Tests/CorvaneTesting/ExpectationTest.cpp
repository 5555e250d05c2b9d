#include "CorvaneTesting/Expectation.hpp"

#include <thread>

#include "CorvaneTesting/MainQueue.hpp"

namespace corvane::testkit {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;

TEST(ExpectationTest, waitsForTheValueOfAnotherThread) {
  Expectation<std::string> arrived;

  std::thread thread([=] { arrived.fulfil("here"); });

  EXPECT_EQ(arrived.wait(), "here");
  thread.join();
}

TEST(ExpectationTest, countsEveryFulfilment) {
  Expectation<int> numbers;

  for (int number : {3, 1, 2}) numbers(number);

  EXPECT_EQ(numbers.count(), 3);
  EXPECT_EQ(numbers.wait(), 3);
  EXPECT_THAT(numbers.waitForAll(3), ElementsAre(3, 1, 2));
}

TEST(ExpectationTest, givesUpInTime) {
  const Expectation<int> never;
  const Expectation<void> neither;

  EXPECT_THROW(never.wait(milliseconds(1)), std::runtime_error);
  EXPECT_THROW(neither.wait(milliseconds(1)), std::runtime_error);
  EXPECT_FALSE(never.isFulfilledWithin(milliseconds(1)));
}

TEST(ExpectationTest, needsNoValue) {
  const Expectation<void> happened;

  std::thread thread([=] {
    happened.fulfil();
    happened();
  });
  happened.waitForAll(2);
  thread.join();

  EXPECT_EQ(happened.count(), 2);
}

TEST(ExpectationTest, awaitsWhatACallbackIsGiven) {
  std::thread thread;

  const int value = await<int>([&](auto done) { thread = std::thread([=] { done(7); }); });
  thread.join();

  EXPECT_EQ(value, 7);
}

TEST(ExpectationTest, drainsTheMainQueueMeanwhile) {
  const auto respondOnMain = [](auto done) { platform::DispatchQueue::main().async([=] { done(7); }); };

  EXPECT_EQ(awaitOnMain<int>(respondOnMain), 7);
  EXPECT_THROW(waitOnMain(Expectation<int>(), milliseconds(1)), std::runtime_error);
}

}  // namespace
}  // namespace corvane::testkit
