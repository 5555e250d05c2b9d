#include "PollingFixture.hpp"

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Is answered never.
struct EndlessPoll : DataGetRequestable<EndlessPoll>, HTTPMockable<EndlessPoll>, HTTPPolling<EndlessPoll> {
  static constexpr double pollingRate = 10;
  inline static testkit::Expectation<std::string> processings;

  URL baseURL = "https://example.com/news";
  double mockResponseTime = 3600;
  HTTPHeaders sharedHeaders() const { return {}; }
  void process(const DataResponse& response) const { processings.fulfil(response.result.error()->message()); }
};

class PollingOptionsTest : public PollingTest {
 protected:
  void SetUp() override {
    PollingTest::SetUp();
    EndlessPoll::processings = {};
  }
  void TearDown() override {
    if (EndlessPoll::isPolling()) EndlessPoll::stopPolling();
    PollingTest::TearDown();
  }
  /// Waits until the tick's request was made.
  void tickEndless() {
    ASSERT_TRUE(clock.waitForTimers(1));
    clock.advance(EndlessPoll::pollingRate);
    ASSERT_TRUE(clock.waitForTimers(2));
  }

  std::stop_source stop;
};

TEST_F(PollingOptionsTest, callsHandlersOfTicksOnTheQueueOfTheOptions) {
  const DispatchQueue queue("polling options");
  testkit::Expectation<std::string> labels;
  NumberedPoll::poll({.queue = queue},
                     [labels](const NumberedPoll&, const DataResponse&) { labels(DispatchQueue::current()->label()); });

  tick(1);

  EXPECT_EQ(labels.wait(), "polling options");
}

TEST_F(PollingOptionsTest, endsWithTheStopOfWhoStartedIt) {
  NumberedPoll::poll({.stop = stop.get_token()}, noting("heard"));
  tick(1);
  ASSERT_TRUE(hears(1));

  stop.request_stop();
  clock.advance(NumberedPoll::pollingRate);

  EXPECT_FALSE(NumberedPoll::isPolling());
  EXPECT_EQ(NumberedPoll::made, 1);
  EXPECT_THAT(events, ElementsAre("heard 1:1"));
}

TEST_F(PollingOptionsTest, endsAtOnceWithAStopThatWasRequested) {
  stop.request_stop();

  NumberedPoll::poll({.stop = stop.get_token()}, noting("heard"));

  EXPECT_FALSE(NumberedPoll::isPolling());
  EXPECT_THAT(events, IsEmpty());
}

TEST_F(PollingOptionsTest, forgetsTheHandlerOfALaterStop) {
  NumberedPoll::poll(noting("first"));
  NumberedPoll::poll({.stop = stop.get_token()}, noting("second"));
  tick(1);
  ASSERT_TRUE(hears(2));

  stop.request_stop();
  tick(2);
  ASSERT_TRUE(hears(3));

  EXPECT_TRUE(NumberedPoll::isPolling());
  EXPECT_THAT(events, ElementsAre("first 1:1", "second 1:1", "first 2:2"));
}

TEST_F(PollingOptionsTest, mayBeStoppedAnewByAnother) {
  NumberedPoll::poll({.stop = stop.get_token()}, noting("first"));
  NumberedPoll::stopPolling();
  NumberedPoll::poll(noting("second"));

  stop.request_stop();

  EXPECT_TRUE(NumberedPoll::isPolling());
}

TEST_F(PollingOptionsTest, cancelsATickThatIsUnderWayWhenItEnds) {
  EndlessPoll::poll();
  tickEndless();

  EndlessPoll::stopPolling();

  EXPECT_EQ(EndlessPoll::processings.wait(), HTTPResponseError::taskCancelled().message());
}

TEST_F(PollingOptionsTest, givesEachTickTheDeadline) {
  testkit::Expectation<std::int64_t> codes;
  const DispatchQueue queue("polling options");
  EndlessPoll::poll({.queue = queue, .deadline = 3}, [codes](const EndlessPoll&, const DataResponse& response) {
    codes(response.result.error()->code());
  });
  tickEndless();

  ASSERT_TRUE(clock.waitForTimers(3));
  clock.advance(3);

  EXPECT_EQ(codes.wait(), CFNetworkErrors::timedOut().rawValue());
}

}  // namespace
}  // namespace corvane
