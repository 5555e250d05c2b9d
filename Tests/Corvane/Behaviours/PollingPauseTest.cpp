#include "PollingFixture.hpp"

namespace corvane {
namespace {

using ::testing::ElementsAre;

/// What a poll that is fired by hand does to the timer.
class PollingPauseTest : public PollingTest {};

TEST_F(PollingPauseTest, holdsTheTicksForTheLengthOfTheExchange) {
  NumberedPoll::poll(noting("heard"));

  NumberedPoll{.number = 100, .mockResponseTime = 25}.send(notingCompletion("completion"));
  clock.advance(24.9);
  const std::size_t wakeUpsMeanwhile = clock.wakeUps();
  clock.advance(0.1);
  ASSERT_TRUE(hears(2));

  EXPECT_EQ(wakeUpsMeanwhile, 0u);
  EXPECT_THAT(events, ElementsAre("heard 100:100", "completion:100"));
}

TEST_F(PollingPauseTest, letsTheTicksThatCameDueMeanwhileComeAsOneAndKeepsTheBeat) {
  NumberedPoll::poll(noting("heard"));
  NumberedPoll{.number = 100, .mockResponseTime = 25}.send([](const auto&) {});
  clock.advance(25);
  ASSERT_TRUE(hears(1));

  clock.advance(0);
  ASSERT_TRUE(hears(2));
  const std::size_t wakeUpsBefore = clock.wakeUps();
  clock.advance(4.999);
  const std::size_t wakeUpsBeforeTheBeat = clock.wakeUps();
  clock.advance(0.001);
  ASSERT_TRUE(hears(3));

  EXPECT_EQ(wakeUpsBeforeTheBeat, wakeUpsBefore);
  EXPECT_THAT(events, ElementsAre("heard 100:100", "heard 1:1", "heard 2:2"));
}

TEST_F(PollingPauseTest, doesNotPutOffTheNextTick) {
  NumberedPoll::poll(noting("heard"));
  clock.advance(4);
  NumberedPoll{.number = 100, .mockResponseTime = 3}.send([](const auto&) {});
  clock.advance(3);
  ASSERT_TRUE(hears(1));

  clock.advance(3);
  ASSERT_TRUE(hears(2));

  EXPECT_THAT(events, ElementsAre("heard 100:100", "heard 1:1"));
}

TEST_F(PollingPauseTest, endsBeforeTheCompletionIsCalled) {
  NumberedPoll::poll();

  NumberedPoll().send([&](const auto&) { note(std::to_string(clock.pendingTimers())); });
  const std::size_t timersMeanwhile = clock.pendingTimers();
  ASSERT_TRUE(hears(1));

  EXPECT_EQ(timersMeanwhile, 0u);
  EXPECT_THAT(events, ElementsAre("1"));
}

TEST_F(PollingPauseTest, endsAlsoWhenTheRequestShouldNotBeSent) {
  NumberedPoll::poll(noting("heard"));

  NumberedPoll{.shouldSend = false}.send(notingCompletion("completion"));
  tick(1);
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("heard 1:1"));
}

struct RefusingPoll : DataGetRequestable<RefusingPoll>, HTTPMockable<RefusingPoll>, HTTPPolling<RefusingPoll> {
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
  void validate() const { throw Error("Test", 1, "not now"); }
};

TEST_F(PollingPauseTest, endsAlsoWhenTheRequestIsRefused) {
  RefusingPoll::poll([&](const auto&, const DataResponse& response) { note(response.result.error()->message()); });

  RefusingPoll().send([&](const auto&) { note("completion"); });
  const std::size_t timersMeanwhile = clock.pendingTimers();
  ASSERT_TRUE(hears(2));

  EXPECT_EQ(timersMeanwhile, 0u);
  EXPECT_EQ(clock.pendingTimers(), 1u);
  EXPECT_THAT(events, ElementsAre("not now", "completion"));
  RefusingPoll::stopPolling();
}

TEST_F(PollingPauseTest, leavesATypeThatWasStoppedMeanwhileStopped) {
  NumberedPoll::poll();
  NumberedPoll{.mockResponseTime = 3}.send(notingCompletion("completion"));
  NumberedPoll::stopPolling();

  clock.advance(3);
  ASSERT_TRUE(hears(1));

  EXPECT_EQ(clock.pendingTimers(), 0u);
  EXPECT_FALSE(NumberedPoll::isPolling());
}

TEST_F(PollingPauseTest, ofSeveralAtATimeEndsWithTheFirst) {
  NumberedPoll::poll();
  NumberedPoll{.number = 1, .mockResponseTime = 3}.send(notingCompletion("completion"));
  NumberedPoll{.number = 2, .mockResponseTime = 4}.send(notingCompletion("completion"));
  const std::size_t timersOfMocks = clock.pendingTimers();

  clock.advance(3);
  ASSERT_TRUE(hears(1));

  EXPECT_EQ(timersOfMocks, 2u);
  EXPECT_EQ(clock.pendingTimers(), 2u);
  clock.advance(1);
  ASSERT_TRUE(hears(2));
}

}  // namespace
}  // namespace corvane
