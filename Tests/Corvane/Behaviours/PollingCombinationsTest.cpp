#include "../Transfers/TransferFixture.hpp"
#include "Corvane/Behaviours/HTTPRetryAtempting.hpp"
#include "CorvaneTesting/MainQueue.hpp"
#include "PollingFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::MockResponse;
using ::testing::ElementsAre;
using Case = HTTPRetryResult<DataResponse>::Case;

/// Fails as often as it is told to.
struct StubbornPoll : DataGetRequestable<StubbornPoll>,
                      HTTPMockable<StubbornPoll>,
                      HTTPRetryAttempting<StubbornPoll>,
                      HTTPPolling<StubbornPoll> {
  static constexpr double pollingRate = 100;
  static constexpr double retryInterval = 2;
  inline static std::int64_t retryLimit = 1;
  inline static std::atomic<int> attempts = 0;
  inline static std::atomic<int> failures = 0;

  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
  void validate() const { ++attempts; }
  HTTPStatus mockStatus() const { return attempts > failures ? HTTPStatus::success : HTTPStatus::serviceUnavailable; }
  std::optional<Data> mockResponseData() const { return Data("attempt " + std::to_string(attempts)); }
};

class RetryingPollTest : public PollingTest {
 protected:
  void SetUp() override {
    StubbornPoll::retryLimit = 1;
    StubbornPoll::attempts = 0;
    StubbornPoll::failures = 0;
  }
  void TearDown() override {
    if (StubbornPoll::isPolling()) StubbornPoll::stopPolling();
    PollingTest::TearDown();
  }

  auto noting(std::string name) {
    return [this, name = std::move(name)](const StubbornPoll&, const DataResponse& response) {
      note(name + ": " + response.data->text());
    };
  }
  /// Drains the main queue, on which such a type decides, until a wait was begun; then lets it pass.
  [[nodiscard]] bool passesWaits(std::size_t count) {
    for (; count > 0; --count) {
      const std::size_t before = clock.waits().size();
      if (!DispatchQueue::main().runUntil([&] { return clock.waits().size() > before; }, 10)) return false;
      clock.advance(clock.waits().back());
    }
    return true;
  }
  /// How many waits there were for a first retry.
  int retryWaits() const {
    int count = 0;
    for (const auto wait : clock.waits()) count += wait == StubbornPoll::retryInterval;
    return count;
  }
};

TEST_F(RetryingPollTest, tellsItsHandlersOfTheAttemptThatSucceeded) {
  StubbornPoll::failures = 2;
  StubbornPoll::poll(noting("heard"));

  clock.advance(100);
  ASSERT_TRUE(passesWaits(2));
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("heard: attempt 3"));
  EXPECT_THAT(clock.waits(), ElementsAre(100, 100, 2, 3));
}

TEST_F(RetryingPollTest, tellsItsHandlersOfTheLastAttemptWhenAllFail) {
  StubbornPoll::failures = 100;
  StubbornPoll::poll([&](const auto&, const DataResponse& response) { note(response.result.error()->message()); });

  clock.advance(100);
  ASSERT_TRUE(passesWaits(2));
  ASSERT_TRUE(hears(1));

  EXPECT_EQ(StubbornPoll::attempts, 3);
  EXPECT_THAT(events, ElementsAre("HTTPStatus: serviceUnavailable:503 is unacceptable"));
}

TEST_F(RetryingPollTest, doesNotRetryAPlainSend) {
  StubbornPoll::failures = 100;
  StubbornPoll::poll(noting("heard"));

  StubbornPoll().send([&](const DataResponse& response) { note(response.data->text()); });
  ASSERT_TRUE(hears(2));

  EXPECT_THAT(events, ElementsAre("heard: attempt 1", "attempt 1"));
}

TEST_F(RetryingPollTest, retriesAPollThatIsFiredForIt) {
  StubbornPoll::failures = 1;
  StubbornPoll::poll(noting("heard"));

  StubbornPoll::firePollForRetryable(StubbornPoll(), DispatchQueue::main(),
                                     [&](const DataResponse& response) { note(response.data->text()); });
  const std::size_t timersMeanwhile = clock.pendingTimers();
  ASSERT_TRUE(passesWaits(1));
  ASSERT_TRUE(hears(2));

  EXPECT_EQ(timersMeanwhile, 0u);
  EXPECT_EQ(clock.pendingTimers(), 1u);
  EXPECT_THAT(events, ElementsAre("heard: attempt 2", "attempt 2"));
}

TEST_F(RetryingPollTest, startsPollingWithARetryingSend) {
  testkit::Expectation<HTTPRetryResult<DataResponse>> completion;

  StubbornPoll().sendAttemptingRetry(completion);
  ASSERT_TRUE(DispatchQueue::main().runUntil([&] { return completion.isFulfilled(); }, 10));

  EXPECT_TRUE(StubbornPoll::isPolling());
  EXPECT_EQ(completion.wait().which(), Case::noFailure);
  EXPECT_EQ(completion.wait().successfulResponse()->data->text(), "attempt 1");
  EXPECT_EQ(clock.pendingTimers(), 1u);
}

TEST_F(RetryingPollTest, leavesThePollingOfATypeThatPollsWithARetryingSend) {
  testkit::Expectation<HTTPRetryResult<DataResponse>> completion;
  StubbornPoll::poll(noting("heard"));
  clock.advance(60);

  StubbornPoll().sendAttemptingRetry(completion);
  ASSERT_TRUE(DispatchQueue::main().runUntil([&] { return completion.isFulfilled(); }, 10));
  clock.advance(40);
  ASSERT_TRUE(hears(2));

  EXPECT_THAT(events, ElementsAre("heard: attempt 1", "heard: attempt 2"));
}

TEST_F(RetryingPollTest, repeatsTheRetryingPollsOfARetryingSendByTheSameRule) {
  testkit::Expectation<HTTPRetryResult<DataResponse>> completion;
  StubbornPoll::retryLimit = 0;
  StubbornPoll::failures = 100;
  StubbornPoll::poll(noting("heard"));

  StubbornPoll().sendAttemptingRetry(completion);
  // Attempt, wait, attempt: one poll. Another wait, and the same again. No tick comes in these 6 seconds.
  for (int count = 1; count <= 3; ++count) {
    ASSERT_TRUE(DispatchQueue::main().runUntil([&] { return retryWaits() == count; }, 10));
    clock.advance(2);
  }
  ASSERT_TRUE(DispatchQueue::main().runUntil([&] { return completion.isFulfilled(); }, 10));

  EXPECT_EQ(StubbornPoll::attempts, 4);
  EXPECT_EQ(completion.wait().which(), Case::partialFailure);
  EXPECT_EQ(completion.wait().successfulResponse()->data->text(), "attempt 4");
  EXPECT_EQ(completion.wait().failedResponses().front().data->text(), "attempt 2");
  EXPECT_THAT(events, ElementsAre("heard: attempt 2", "heard: attempt 4"));
}

struct TestedPoll : DataGetRequestable<TestedPoll>, HTTPTestMockable<TestedPoll>, HTTPPolling<TestedPoll> {
  static constexpr double pollingRate = 10;
  URL baseURL = "https://example.com/";
  std::optional<Data> mockResponseData = Data("mock");
  std::optional<Data> testResponseData = Data("test");
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(PollingTest, prefersTheResponseForTests) {
  TestedPoll::poll([&](const auto&, const DataResponse& response) { note("heard " + response.data->text()); });

  clock.advance(10);
  ASSERT_TRUE(hears(1));
  TestedPoll().send([&](const DataResponse& response) { note(response.data->text()); });
  ASSERT_TRUE(hears(3));
  TestedPoll().mock(DispatchQueue::main(), [&](const DataResponse& response) { note(response.data->text()); });
  ASSERT_TRUE(hears(4));

  EXPECT_THAT(events, ElementsAre("heard test", "heard test", "test", "mock"));
  TestedPoll::stopPolling();
}

struct TestedStubbornPoll : DataGetRequestable<TestedStubbornPoll>,
                            HTTPTestMockable<TestedStubbornPoll>,
                            HTTPRetryAttempting<TestedStubbornPoll>,
                            HTTPPolling<TestedStubbornPoll> {
  static constexpr double pollingRate = 10;
  static constexpr double retryInterval = 1;
  static constexpr std::int64_t retryLimit = 0;
  inline static std::atomic<int> attempts = 0;
  URL baseURL = "https://example.com/";
  HTTPHeaders sharedHeaders() const { return {}; }
  void validate() const { ++attempts; }
  HTTPStatus testStatus() const { return attempts > 1 ? HTTPStatus::success : HTTPStatus::badGateway; }
  std::optional<Data> testResponseData() const { return Data("attempt " + std::to_string(attempts)); }
};

TEST_F(RetryingPollTest, retriesTheResponseForTests) {
  TestedStubbornPoll::attempts = 0;
  TestedStubbornPoll::poll([&](const auto&, const DataResponse& response) { note(response.data->text()); });

  clock.advance(10);
  ASSERT_TRUE(passesWaits(1));
  ASSERT_TRUE(hears(1));

  EXPECT_THAT(events, ElementsAre("attempt 2"));
  TestedStubbornPoll::stopPolling();
}

struct NetworkPoll : DataGetRequestable<NetworkPoll>, HTTPPolling<NetworkPoll> {
  static constexpr double pollingRate = 10;
  inline static URL target = "https://example.com/";
  static URL url() { return target; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct FilePoll : DownloadRequestable<FilePoll>, HTTPPolling<FilePoll> {
  static constexpr double pollingRate = 10;
  inline static URL target = "https://example.com/";
  static URL url() { return target; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Polling over the network, with the ticks of a clock that stands still.
class NetworkPollTest : public TransferTest {
 protected:
  platform::detail::ManualClock clock;
};

TEST_F(NetworkPollTest, asksTheServerAtEveryTick) {
  testkit::Expectation<std::string> heard;
  server.enqueue(MockResponse(200).text("first"));
  server.enqueue(MockResponse(200).text("second"));
  NetworkPoll::target = server.url("/news");
  NetworkPoll::poll([=](const auto&, const DataResponse& response) { heard(response.data->text()); });

  clock.advance(10);
  ASSERT_TRUE(DispatchQueue::main().runUntil([&] { return heard.count() == 1; }, 10));
  clock.advance(10);
  ASSERT_TRUE(DispatchQueue::main().runUntil([&] { return heard.count() == 2; }, 10));

  EXPECT_THAT(heard.waitForAll(2), ElementsAre("first", "second"));
  NetworkPoll::stopPolling();
}

TEST_F(NetworkPollTest, sendsWithoutAHandler) {
  const testkit::Latch latch;
  testkit::Expectation<std::string> heard;
  server.enqueue(MockResponse(200).text("news").hold(testkit::Moment::beforeStatusLine, latch));
  NetworkPoll::target = server.url("/news");
  NetworkPoll::poll();

  clock.advance(10);
  const auto received = server.takeRequest();
  NetworkPoll::addPollingHandler([=](const auto&, const DataResponse& response) { heard(response.data->text()); });
  latch.open();

  EXPECT_EQ(received.target, "/news");
  EXPECT_EQ(testkit::waitOnMain(heard), "news");
  NetworkPoll::stopPolling();
}

TEST_F(NetworkPollTest, handsOutTheFilesOfDownloads) {
  testkit::Expectation<URL> heard;
  server.enqueue(MockResponse(200).header("Content-Disposition", "attachment; filename=\"news.txt\"").body("content"));
  FilePoll::target = server.url("/news");
  FilePoll::poll([=](const auto&, const auto& response) {
    heard(response.result.url() ? *response.result.url() : URL("file:///nowhere"));
  });

  clock.advance(10);
  ASSERT_TRUE(DispatchQueue::main().runUntil([&] { return heard.isFulfilled(); }, 10));

  EXPECT_EQ(heard.wait().lastPathComponent(), "news.txt");
  EXPECT_EQ(contentOf(heard.wait()), "content");
  FilePoll::stopPolling();
}

TEST_F(NetworkPollTest, reportsTheProgressOfADownloadThatIsSentByHand) {
  testkit::Expectation<std::string> heard;
  testkit::Expectation<std::string> completion;
  testkit::Expectation<double> progress;
  const testkit::Latch latch;
  server.enqueue(MockResponse(200).generatedBody(1 << 16).hold(testkit::Moment::insideBody, latch));
  FilePoll::target = server.url("/news");
  FilePoll::poll([=](const auto&, const auto&) { heard("heard"); });
  const std::size_t timersBefore = clock.pendingTimers();

  FilePoll().send(
      queue, [=](const auto& told) { progress(*told.percentCompleted()); },
      [=](const auto& response) {
        completion(response.result.isSuccess() && heard.isFulfilled() ? "after" : "alone");
      });

  const std::size_t timersMeanwhile = clock.pendingTimers();
  latch.open();

  EXPECT_EQ(timersBefore, 1u);
  EXPECT_EQ(timersMeanwhile, 0u);
  EXPECT_EQ(completion.wait(), "after");
  EXPECT_EQ(progress.waitForAll(1).back(), 1);
  EXPECT_EQ(clock.pendingTimers(), 1u);
  FilePoll::stopPolling();
}

}  // namespace
}  // namespace corvane
