#include "../Transport/SendFixture.hpp"
#include "BatchFixture.hpp"
#include "CorvaneTesting/MainQueue.hpp"

#include <cmath>
#include <limits>

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BatchSerialTest : public BatchTest {
 protected:
  /// Waits until a request is under way that has a time to answer and one to run out.
  void waitForTurn(std::size_t timers = 2) { ASSERT_TRUE(clock.waitForTimers(timers)); }
};

TEST_F(BatchSerialTest, completesAnEmptyListWithAnEmptyList) {
  send(std::vector<BatchItem>(), queue, false, noting(), completion);

  EXPECT_THAT(completion.wait(), IsEmpty());
  EXPECT_THAT(recorder.events(), IsEmpty());
}

TEST_F(BatchSerialTest, sendsEachRequestWhenTheOneBeforeItWasAnswered) {
  const std::vector<BatchItem> items = {item("a", 3), item("b", 1), item("c")};

  send(items, queue, false, noting(), completion);
  waitForTurn();
  clock.advance(3);
  waitForTurn();
  clock.advance(1);

  EXPECT_THAT(textsOf(completion), ElementsAre("a", "b", "c"));
  EXPECT_THAT(recorder.events(), ElementsAre("sends a", "a: a", "sends b", "b: b", "sends c", "c: c"));
  EXPECT_EQ(completion.count(), 1);
}

TEST_F(BatchSerialTest, deliversOnTheGivenQueue) {
  Expectation<bool> updated;
  Expectation<bool> completed;

  send(
      std::vector{item("a")}, queue, false, [=, this](const auto&, const auto&) { updated(queue.isCurrent()); },
      [=, this](const auto&) { completed(queue.isCurrent()); });

  EXPECT_TRUE(completed.wait());
  EXPECT_TRUE(updated.wait());
}

TEST_F(BatchSerialTest, deliversAllOnTheMainQueueWithoutAQueue) {
  Expectation<bool> updated;
  Expectation<bool> completed;

  send(
      std::vector{item("a")}, std::nullopt, false,
      [=](const auto&, const auto&) { updated(DispatchQueue::main().isCurrent()); },
      [=](const auto&) { completed(DispatchQueue::main().isCurrent()); });

  EXPECT_TRUE(testkit::waitOnMain(completed));
  EXPECT_TRUE(updated.wait());
}

TEST_F(BatchSerialTest, needsNoUpdate) {
  send(std::vector{item("a"), item("b")}, queue, false, nullptr, completion);

  EXPECT_THAT(textsOf(completion), ElementsAre("a", "b"));
}

TEST_F(BatchSerialTest, goesOnAfterAFailure) {
  std::vector<BatchItem> items = {item("a"), item("b")};
  items[0].mockStatus = HTTPStatus::notFound;

  send(items, queue, false, noting(), completion);

  EXPECT_THAT(textsOf(completion), ElementsAre("HTTPStatus: notFound:404 is unacceptable", "b"));
}

TEST_F(BatchSerialTest, putsATimeoutInThePlaceOfARequestThatTakesTooLongAndSendsTheNext) {
  std::vector<BatchItem> items = {item("slow", 10), item("b")};
  items[0].timeoutInterval = 3;

  send(items, queue, false, noting(), completion);
  waitForTurn();
  clock.advance(2.999);
  const auto eventsBefore = recorder.events();
  clock.advance(0.001);

  const auto responses = completion.wait();
  EXPECT_THAT(eventsBefore, ElementsAre("sends slow"));
  EXPECT_THAT(summaries(responses), ElementsAre("time-out", "b"));
  EXPECT_EQ(responses[0].data, std::nullopt);
  EXPECT_EQ(responses[0].urlResponse, nullptr);
  EXPECT_THAT(recorder.events(), ElementsAre("sends slow", "sends b", "b: b"));
}

TEST_F(BatchSerialTest, letsALateResponseJoinTheList) {
  std::vector<BatchItem> items = {item("slow", 5), item("b", 10)};
  items[0].timeoutInterval = 3;

  send(items, queue, false, noting(), completion);
  waitForTurn();
  clock.advance(3);
  waitForTurn(3);
  clock.advance(10);

  EXPECT_THAT(textsOf(completion), ElementsAre("time-out", "slow", "b"));
  EXPECT_THAT(recorder.events(), ElementsAre("sends slow", "sends b", "slow: slow", "b: b"));
}

TEST_F(BatchSerialTest, tellsOfALateResponseThatMissesTheList) {
  std::vector<BatchItem> items = {item("slow", 5)};
  items[0].timeoutInterval = 3;
  Expectation<std::string> updated;
  const auto released = std::make_shared<Expectation<void>>();

  send(
      items, queue, false, [=](const auto&, const DataResponse& response) { updated(summary(response)); },
      [this, held = std::shared_ptr<void>(this, [released](void*) { (*released)(); })](Responses responses) {
        completion(std::move(responses));
      });
  waitForTurn();
  clock.advance(3);
  const auto list = textsOf(completion);
  const bool isToldEarly = updated.isFulfilled();
  clock.advance(2);

  EXPECT_THAT(list, ElementsAre("time-out"));
  EXPECT_FALSE(isToldEarly);
  EXPECT_EQ(updated.wait(), "slow");
  EXPECT_EQ(completion.count(), 1);
  released->wait();
}

TEST_F(BatchSerialTest, doesNotTakeALateResponseForThatOfTheRequestUnderWay) {
  std::vector<BatchItem> items = {item("slow", 4), item("b", 5), item("c")};
  items[0].timeoutInterval = 3;
  Expectation<void> updated;

  send(
      items, queue, false,
      [=, note = noting()](const BatchItem& request, const DataResponse& response) {
        note(request, response);
        updated();
      },
      completion);
  waitForTurn();
  clock.advance(3);
  waitForTurn(3);
  clock.advance(1);
  updated.wait();
  queue.sync([] {});
  clock.advance(4);

  EXPECT_THAT(textsOf(completion), ElementsAre("time-out", "slow", "b", "c"));
  EXPECT_THAT(recorder.events(), ElementsAre("sends slow", "sends b", "slow: slow", "b: b", "sends c", "c: c"));
}

TEST_F(BatchSerialTest, timesOutForARequestThatShouldNotBeSent) {
  std::vector<BatchItem> items = {item("a"), item("b")};
  items[0].shouldSend = false;
  items[0].timeoutInterval = 2;

  send(items, queue, false, noting(), completion);
  waitForTurn(1);
  clock.advance(2);

  EXPECT_THAT(textsOf(completion), ElementsAre("time-out", "b"));
}

TEST_F(BatchSerialTest, cutsTheTimeToWholeSeconds) {
  std::vector<BatchItem> items = {item("none", 100), item("two", 100)};
  items[0].timeoutInterval = 0.9;
  items[1].timeoutInterval = 2.9;

  send(items, queue, false, {}, completion);
  waitForTurn();
  clock.advance(0);
  waitForTurn(3);
  clock.advance(2);

  EXPECT_THAT(textsOf(completion), ElementsAre("time-out", "time-out"));
  EXPECT_THAT(clock.waits(), ElementsAre(100, 0, 100, 2));
}

TEST_F(BatchSerialTest, takesANegativeTimeForNone) {
  std::vector<BatchItem> items = {item("none", 100)};
  items[0].timeoutInterval = -5;

  send(items, queue, false, {}, completion);
  waitForTurn();
  clock.advance(0);

  EXPECT_THAT(textsOf(completion), ElementsAre("time-out"));
}

struct DurationItem : DataGetRequestable<DurationItem>, HTTPMockable<DurationItem> {
  std::chrono::milliseconds timeoutInterval{1900};
  static constexpr double mockResponseTime = 100;
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(BatchSerialTest, takesATimeInAnyUnit) {
  send(std::vector<DurationItem>(1), queue, false, {}, completion);
  waitForTurn();
  clock.advance(1);

  EXPECT_THAT(textsOf(completion), ElementsAre("time-out"));
}

TEST_F(BatchSerialTest, runsAfterTheOneBefore) {
  Expectation<Responses> otherCompletion;

  send(std::vector{item("a1", 1), item("a2", 1)}, queue, false, noting(), completion);
  send(std::vector{item("b1", 1), item("b2", 1)}, DispatchQueue::global(), false, noting(), otherCompletion);
  for (int iteration = 0; iteration < 4; ++iteration) {
    waitForTurn();
    clock.advance(1);
  }

  EXPECT_THAT(textsOf(completion), ElementsAre("a1", "a2"));
  EXPECT_THAT(textsOf(otherCompletion), ElementsAre("b1", "b2"));
  EXPECT_THAT(recorder.events(),
              ElementsAre("sends a1", "a1: a1", "sends a2", "a2: a2", "sends b1", "b1: b1", "sends b2", "b2: b2"));
}

TEST_F(BatchSerialTest, runsBesideAParallelOne) {
  Expectation<Responses> otherCompletion;

  send(std::vector{item("slow", 5)}, queue, false, noting(), completion);
  send(std::vector{item("quick")}, queue, true, noting(), otherCompletion);
  const auto quick = textsOf(otherCompletion);
  const bool isDone = completion.isFulfilled();
  waitForTurn();
  clock.advance(5);

  EXPECT_THAT(quick, ElementsAre("quick"));
  EXPECT_FALSE(isDone);
  EXPECT_THAT(textsOf(completion), ElementsAre("slow"));
}

TEST_F(BatchSerialTest, maySendAnotherInItsUpdate) {
  Expectation<Responses> otherCompletion;

  send(
      std::vector{item("a")}, queue, false,
      [=, this](const auto&, const auto&) { send(std::vector{item("b")}, queue, false, noting(), otherCompletion); },
      completion);

  EXPECT_THAT(textsOf(completion), ElementsAre("a"));
  EXPECT_THAT(textsOf(otherCompletion), ElementsAre("b"));
}

TEST_F(BatchSerialTest, goesOnWhenTheRequestUnderWayIsCancelled) {
  const std::vector<BatchItem> items = {item("a", 5), item("b")};
  send(items, queue, false, noting(), completion);
  waitForTurn();

  items.front().cancel();

  const auto responses = completion.wait();
  ASSERT_EQ(responses.size(), 2u);
  EXPECT_EQ(*responseError(responses[0]), HTTPResponseError::taskCancelled());
  EXPECT_EQ(summary(responses[1]), "b");
}

struct TimedGet : DataGetRequestable<TimedGet> {
  URL url;
  double timeoutInterval = 60;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// The same over the network, by the clock.
class BatchTimeoutTest : public SendTest {
 protected:
  platform::detail::ManualClock clock;
};

TEST_F(BatchTimeoutTest, leavesARequestThatTakesTooLongUnderWay) {
  const Latch latch;
  Expectation<std::vector<DataResponse>> completion;
  Expectation<std::string> updates;
  server.handle("/slow",
                [=](const auto&) { return MockResponse(200).text("slow").hold(Moment::beforeStatusLine, latch); });
  server.handle("/next", [](const auto&) { return MockResponse(200).text("next"); });
  const std::vector<TimedGet> requests = {{.url = server.url("/slow"), .timeoutInterval = 30},
                                          {.url = server.url("/next")}};

  send(
      requests, queue, false, [=](const auto&, const DataResponse& response) { updates(summary(response)); },
      completion);
  ASSERT_TRUE(server.waitForRequests(1));
  ASSERT_TRUE(clock.waitForTimers(1));
  clock.advance(30);
  const auto list = summaries(completion.wait());
  latch.open();

  EXPECT_THAT(list, ElementsAre("time-out", "next"));
  EXPECT_THAT(updates.waitForAll(2), ElementsAre("next", "slow"));
}

TEST_F(BatchTimeoutTest, hasNoTimeForARequestWithLessThanASecond) {
  const Latch latch;
  Expectation<std::vector<DataResponse>> completion;
  server.handleAll([=](const auto&) { return MockResponse(200).text("held").hold(Moment::beforeStatusLine, latch); });

  send(std::vector<TimedGet>{{.url = server.url("/"), .timeoutInterval = 0.9}}, queue, false, {}, completion);
  ASSERT_TRUE(clock.waitForTimers(1));
  clock.advance(0);

  EXPECT_THAT(summaries(completion.wait()), ElementsAre("time-out"));
  latch.open();
}

TEST(BatchRealTimeTest, timesOutByTheRealClock) {
  const DispatchQueue queue("BatchRealTimeTest");
  const std::vector<BatchItem> items = {{.name = "slow", .mockResponseTime = 3600, .timeoutInterval = 0},
                                        {.name = "b"}};

  const auto responses =
      testkit::await<std::vector<DataResponse>>([&](auto done) { send(items, queue, false, {}, done); });

  EXPECT_THAT(summaries(responses), ElementsAre("time-out", "b"));
  cancel(items);
}

class BatchSerialDeathTest : public ::testing::Test {
 protected:
  static void sendWithTimeout(double timeout) {
    const DispatchQueue queue("BatchSerialDeathTest");
    const std::vector<BatchItem> items = {{.name = "a", .timeoutInterval = timeout}};
    testkit::await<std::vector<DataResponse>>([&](auto done) { send(items, queue, false, {}, done); });
  }
  static constexpr const char* message = "The time-out of a request in a serial batch is no whole number of seconds";
};

TEST_F(BatchSerialDeathTest, trapsForATimeThatIsNotFinite) {
  EXPECT_DEATH(sendWithTimeout(std::numeric_limits<double>::infinity()), message);
  EXPECT_DEATH(sendWithTimeout(std::nan("")), message);
}

TEST_F(BatchSerialDeathTest, trapsForATimeBeyond64Bits) {
  EXPECT_DEATH(sendWithTimeout(9223372036854775808.0), message);
  EXPECT_DEATH(sendWithTimeout(-1e19), message);
}

TEST_F(BatchSerialDeathTest, waitsForAVeryLongTime) {
  sendWithTimeout(9223372036854774784.0);
  sendWithTimeout(1e12);
}

}  // namespace
}  // namespace corvane
