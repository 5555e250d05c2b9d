#include "PollingFixture.hpp"

namespace corvane {
namespace {

using ::testing::ElementsAre;

class PollingHandlersTest : public PollingTest {};

TEST_F(PollingHandlersTest, areToldOfASendInTheirOrderAndThenTheCompletionIs) {
  NumberedPoll::poll(noting("first"));
  NumberedPoll::addPollingHandler(noting("second"));
  NumberedPoll::poll(noting("third"));

  NumberedPoll{.number = 7}.send(notingCompletion("completion"));
  ASSERT_TRUE(hears(4));

  EXPECT_THAT(events, ElementsAre("first 7:7", "second 7:7", "third 7:7", "completion:7"));
}

TEST_F(PollingHandlersTest, areToldOnTheQueueOfTheSend) {
  const DispatchQueue queue("PollingHandlersTest");
  testkit::Expectation<bool> handled;
  testkit::Expectation<bool> completed;
  NumberedPoll::poll([=](const auto&, const auto&) { handled(queue.isCurrent()); });

  NumberedPoll().send(queue, [=](const auto&) { completed(queue.isCurrent() && handled.isFulfilled()); });

  EXPECT_TRUE(completed.wait());
  EXPECT_TRUE(handled.wait());
}

TEST_F(PollingHandlersTest, areToldOnTheMainQueueWithoutAQueue) {
  NumberedPoll::poll(noting("heard"));

  NumberedPoll{.number = 7}.send(std::nullopt, notingCompletion("completion"));
  ASSERT_TRUE(hears(2));

  EXPECT_THAT(events, ElementsAre("heard 7:7", "completion:7"));
}

TEST_F(PollingHandlersTest, areToldOfASendInTheFormOfAFuture) {
  NumberedPoll::poll([this](const auto&, const auto&) { note("heard"); });

  // Outside of any queue, everything is delivered where it arises.
  const auto body = NumberedPoll{.number = 7}.send().get().body;

  EXPECT_EQ(body.text(), "7");
  EXPECT_THAT(events, ElementsAre("heard"));
}

TEST_F(PollingHandlersTest, areNotNeededForASendOfATypeThatDoesNotPoll) {
  NumberedPoll{.number = 7}.send(notingCompletion("completion"));
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("completion:7"));
  EXPECT_FALSE(NumberedPoll::isPolling());
}

TEST_F(PollingHandlersTest, maySayThatTheLaterOnesAreNotCalled) {
  NumberedPoll::poll([&](const auto&, const auto&) {
    note("stops");
    NumberedPoll::stopPolling();
  });
  NumberedPoll::addPollingHandler(noting("later"));

  NumberedPoll{.number = 7}.send(notingCompletion("completion"));
  ASSERT_TRUE(hears(2));

  EXPECT_THAT(events, ElementsAre("stops", "completion:7"));
}

TEST_F(PollingHandlersTest, mayStartAnew) {
  NumberedPoll::poll([&](const auto&, const auto&) {
    note("restarts");
    NumberedPoll::stopPolling();
    NumberedPoll::poll(noting("fresh"));
  });
  NumberedPoll::addPollingHandler(noting("old"));

  NumberedPoll{.number = 7}.send(notingCompletion("completion"));
  ASSERT_TRUE(hears(2));
  clock.advance(10);
  ASSERT_TRUE(hears(3));

  EXPECT_THAT(events, ElementsAre("restarts", "completion:7", "fresh 1:1"));
}

TEST_F(PollingHandlersTest, mayAddAnotherWhichHearsFromTheNextResponseOn) {
  bool isFirst = true;
  NumberedPoll::poll([&](const auto&, const auto&) {
    note("adds");
    if (std::exchange(isFirst, false)) NumberedPoll::addPollingHandler(noting("added"));
  });

  tick(1);
  ASSERT_TRUE(hears(1));
  tick(2);
  ASSERT_TRUE(hears(3));

  EXPECT_THAT(events, ElementsAre("adds", "adds", "added 2:2"));
}

TEST_F(PollingHandlersTest, mayFireAPoll) {
  NumberedPoll::poll([&](const NumberedPoll& request, const auto&) {
    note("heard " + std::to_string(request.number));
    if (request.number < 3) NumberedPoll{.number = request.number + 1}.send(notingCompletion("completion"));
  });

  tick(1);
  ASSERT_TRUE(hears(5));

  EXPECT_THAT(events, ElementsAre("heard 1", "heard 2", "completion:2", "heard 3", "completion:3"));
}

TEST_F(PollingHandlersTest, areForgottenWhenItStopsWhileAResponseIsOnItsWay) {
  NumberedPoll::poll(noting("heard"));
  NumberedPoll{.number = 7, .mockResponseTime = 5}.send(notingCompletion("completion"));

  NumberedPoll::stopPolling();
  clock.advance(5);
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("completion:7"));
}

TEST_F(PollingHandlersTest, areReleasedWhenItStops) {
  const auto watched = std::make_shared<int>();
  NumberedPoll::poll([watched](const auto&, const auto&) {});
  const long countWhilePolling = watched.use_count();

  NumberedPoll::stopPolling();

  EXPECT_EQ(countWhilePolling, 2);
  EXPECT_EQ(watched.use_count(), 1);
}

}  // namespace
}  // namespace corvane
