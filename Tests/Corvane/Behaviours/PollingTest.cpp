#include "CorvaneTesting/LogCapture.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "PollingFixture.hpp"

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(PollingTest, sendsAFreshRequestAtEveryTickAndTellsTheHandlerOnTheMainQueue) {
  NumberedPoll::poll([&](const NumberedPoll& request, const DataResponse& response) {
    note(std::to_string(request.number) + response.data->text() +
         (DispatchQueue::main().isCurrent() ? " main" : " elsewhere"));
  });

  tick(1);
  ASSERT_TRUE(hears(1));
  tick(2);
  ASSERT_TRUE(hears(2));

  EXPECT_THAT(events, ElementsAre("11 main", "22 main"));
}

TEST_F(PollingTest, ticksFirstOneRateAfterItWasStarted) {
  NumberedPoll::poll(noting("heard"));

  clock.advance(9.999);
  const std::size_t wakeUpsBefore = clock.wakeUps();
  clock.advance(0.001);
  ASSERT_TRUE(hears(1));

  EXPECT_EQ(wakeUpsBefore, 0u);
  EXPECT_THAT(events, ElementsAre("heard 1:1"));
}

TEST_F(PollingTest, isPollingFromItsStartToItsStop) {
  const bool before = NumberedPoll::isPolling();
  NumberedPoll::poll();
  const bool meanwhile = NumberedPoll::isPolling();
  NumberedPoll::stopPolling();

  EXPECT_FALSE(before);
  EXPECT_TRUE(meanwhile);
  EXPECT_FALSE(NumberedPoll::isPolling());
}

TEST_F(PollingTest, sendsAlsoWithoutAHandlerAndTellsNobody) {
  NumberedPoll::poll(nullptr);

  tick(1);
  NumberedPoll::processings.wait();
  detail::mockBackgroundQueue().sync([] {});
  DispatchQueue::main().runOnce();
  NumberedPoll::addPollingHandler(noting("late"));
  tick(2);
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("late 2:2"));
}

TEST_F(PollingTest, addsTheHandlerOfASecondStartAndLeavesTheTimer) {
  NumberedPoll::poll(noting("first"));

  clock.advance(6);
  NumberedPoll::poll(noting("second"));
  clock.advance(4);
  ASSERT_TRUE(hears(2));

  EXPECT_THAT(events, ElementsAre("first 1:1", "second 1:1"));
  EXPECT_EQ(clock.pendingTimers(), 1u);
}

TEST_F(PollingTest, startsAgainOneRateAfterASecondStart) {
  NumberedPoll::poll(noting("first"));
  clock.advance(6);
  NumberedPoll::stopPolling();
  NumberedPoll::poll(noting("second"));

  clock.advance(9.999);
  const std::size_t wakeUpsBefore = clock.wakeUps();
  clock.advance(0.001);
  ASSERT_TRUE(hears(1));

  EXPECT_EQ(wakeUpsBefore, 0u);
  EXPECT_THAT(events, ElementsAre("second 1:1"));
}

TEST_F(PollingTest, stopsItsTimer) {
  NumberedPoll::poll(noting("heard"));
  NumberedPoll::stopPolling();

  clock.advance(100);

  EXPECT_EQ(clock.wakeUps(), 0u);
  EXPECT_EQ(clock.pendingTimers(), 0u);
}

TEST_F(PollingTest, logsAFaultWhenItIsStoppedTwice) {
  const testkit::LogCapture log;
  NumberedPoll::poll();

  NumberedPoll::stopPolling();
  NumberedPoll::stopPolling();

  ASSERT_EQ(log->records().size(), 1u);
  const auto record = log->records().front();
  EXPECT_EQ(record.level, vantorel::LogLevel::fault);
  EXPECT_EQ(record.message, "Not currently polling corvane::NumberedPoll");
  EXPECT_EQ(record.function, "stopPolling()");
  EXPECT_EQ(record.line, 194);
}

TEST_F(PollingTest, logsAFaultForAHandlerBeforeItPolls) {
  const testkit::LogCapture log;

  NumberedPoll::addPollingHandler(noting("early"));
  NumberedPoll::poll(noting("heard"));
  tick(1);
  ASSERT_TRUE(hears(1));

  ASSERT_EQ(log->records().size(), 1u);
  const auto record = log->records().front();
  EXPECT_EQ(record.level, vantorel::LogLevel::fault);
  EXPECT_EQ(record.message, "Polling handler should already be provided corvane::NumberedPoll");
  EXPECT_EQ(record.function, "_addPollingHandler(_:)");
  EXPECT_EQ(record.line, 147);
  EXPECT_THAT(events, ElementsAre("heard 1:1"));
}

TEST_F(PollingTest, takesNoHandlerForNothingToAdd) {
  const testkit::LogCapture log;
  NumberedPoll::poll(noting("heard"));

  NumberedPoll::addPollingHandler(nullptr);
  tick(1);
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(log->records(), IsEmpty());
  EXPECT_THAT(events, ElementsAre("heard 1:1"));
}

TEST_F(PollingTest, keepsTickingAndSendsNothingWhileItShouldNotFire) {
  NumberedPoll::poll(noting("heard"));

  NumberedPoll::mayFire = false;
  tick(1);
  tick(2);
  NumberedPoll::askings.waitForAll(2);
  NumberedPoll::mayFire = true;
  tick(3);
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("heard 3:3"));
}

TEST_F(PollingTest, leavesOutATickThatMakesNoRequest) {
  NumberedPoll::poll(noting("heard"));

  NumberedPoll::hasNothingToMake = true;
  tick(1);
  NumberedPoll::hasNothingToMake = false;
  tick(2);
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("heard 2:2"));
}

TEST_F(PollingTest, sendsNothingForATickThatStopsItWhileItMakesTheRequest) {
  NumberedPoll::poll(noting("heard"));
  NumberedPoll::whileMade = [] { NumberedPoll::stopPolling(); };
  tick(1);

  NumberedPoll::whileMade = nullptr;
  NumberedPoll::poll(noting("later"));
  tick(2);
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("later 2:2"));
}

TEST_F(PollingTest, doesNotWaitForATickThatIsMakingItsRequestWhenItStops) {
  const platform::DispatchSemaphore isMaking(0);
  const platform::DispatchSemaphore hasStopped(0);
  NumberedPoll::poll(noting("heard"));
  NumberedPoll::whileMade = [&] {
    isMaking.signal();
    hasStopped.wait(20);
  };

  clock.advance(10);
  ASSERT_TRUE(isMaking.wait(20));
  NumberedPoll::stopPolling();
  hasStopped.signal();
  NumberedPoll::makings.wait();

  NumberedPoll::whileMade = nullptr;
  NumberedPoll::poll(noting("later"));
  tick(2);
  ASSERT_TRUE(hears(1));
  EXPECT_THAT(events, ElementsAre("later 2:2"));
}

struct LeisurelyPoll : DataGetRequestable<LeisurelyPoll>, HTTPPolling<LeisurelyPoll> {
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct MinutePoll : DataGetRequestable<MinutePoll>, HTTPPolling<MinutePoll> {
  static constexpr std::chrono::minutes pollingRate{2};
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct ComputedPoll : DataGetRequestable<ComputedPoll>, HTTPPolling<ComputedPoll> {
  static std::chrono::milliseconds pollingRate() { return std::chrono::milliseconds(1500); }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(PollingTest, pollsEveryFiveMinutesWhenItDoesNotSay) {
  LeisurelyPoll::poll();
  LeisurelyPoll::stopPolling();

  EXPECT_EQ(LeisurelyPoll::pollingRate(), 300);
  EXPECT_THAT(clock.waits(), ElementsAre(300));
}

/// Has always a request to make, and says so.
struct CertainPoll : DataGetRequestable<CertainPoll>, HTTPMockable<CertainPoll>, HTTPPolling<CertainPoll> {
  static CertainPoll make() { return {.name = "made"}; }
  std::string name = "by default";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(PollingTest, takesARequestThatIsNeverAbsentFromItsMaker) {
  CertainPoll::poll([this](const CertainPoll& request, const DataResponse&) { note(request.name); });

  clock.advance(300);
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("made"));
  CertainPoll::stopPolling();
}

TEST_F(PollingTest, takesItsRateInAnyUnit) {
  MinutePoll::poll();
  MinutePoll::stopPolling();
  ComputedPoll::poll();
  ComputedPoll::stopPolling();

  EXPECT_THAT(clock.waits(), ElementsAre(120, 1.5));
}

/// Two types of one name, in two unnamed places.
auto oneOfTheName() {
  struct Twin : DataGetRequestable<Twin>, HTTPPolling<Twin> {
    HTTPHeaders sharedHeaders() const { return {}; }
  };
  return Twin();
}
auto otherOfTheName() {
  struct Twin : DataGetRequestable<Twin>, HTTPPolling<Twin> {
    HTTPHeaders sharedHeaders() const { return {}; }
  };
  return Twin();
}
template <class Topic>
struct TopicPoll : DataGetRequestable<TopicPoll<Topic>>, HTTPPolling<TopicPoll<Topic>> {
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(PollingTest, keepsTypesApartThatDifferInTheirPlaceOrTheirArgumentsOnly) {
  const auto one = oneOfTheName();
  const auto other = otherOfTheName();

  one.poll();
  TopicPoll<int>::poll();

  EXPECT_TRUE(one.isPolling());
  EXPECT_FALSE(other.isPolling());
  EXPECT_TRUE(TopicPoll<int>::isPolling());
  EXPECT_FALSE(TopicPoll<long>::isPolling());
  one.stopPolling();
  TopicPoll<int>::stopPolling();
}

}  // namespace
}  // namespace corvane
