#include <atomic>
#include <chrono>
#include <memory>

#include "Corvane/Transfers/DownloadRequests.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/MainQueue.hpp"
#include "RetryFixture.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::awaitOnMain;
using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(RetryTest, tellsOfNoFailureWhenTheFirstAttemptSucceeds) {
  succeedWith("a0");

  const auto result = resultOf(attempt(), 0);

  EXPECT_EQ(result.which(), Result::Case::noFailure);
  ASSERT_TRUE(result.successfulResponse());
  EXPECT_EQ(result.successfulResponse()->data->text(), "a0");
  EXPECT_THAT(result.failedResponses(), IsEmpty());
  EXPECT_EQ(result.failCount(), 0);
  EXPECT_EQ(result.lastResponse(), result.successfulResponse());
  EXPECT_THAT(waits(), IsEmpty());
}

TEST_F(RetryTest, triesOnceMoreWithALimitOfNone) {
  failWith("a0");
  succeedWith("a1");

  EXPECT_EQ(summary(resultOf(attempt(0), 1)), "partialFailure a1 after a0");
  EXPECT_THAT(waits(), ElementsAre(2));
}

TEST_F(RetryTest, tellsTheLastFailureAsASuccessWithALimitOfNone) {
  failWith("a0");
  failWith("a1");

  const auto result = resultOf(attempt(0), 1);

  EXPECT_EQ(summary(result), "partialFailure a1 after a0");
  EXPECT_TRUE(result.successfulResponse()->result.error());
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(RetryTest, tellsOfATotalFailureWhenTheAttemptAtTheLimitSucceeds) {
  failWith("a0");
  failWith("a1");
  succeedWith("a2");

  const auto result = resultOf(attempt(2), 2);

  EXPECT_EQ(summary(result), "totalFailure after a0 a1 a2");
  EXPECT_EQ(result.successfulResponse(), nullptr);
  EXPECT_EQ(result.failCount(), 3);
  EXPECT_FALSE(result.failedResponses().back().result.error());
  EXPECT_EQ(result.lastResponse(), &result.failedResponses().back());
  EXPECT_THAT(waits(), ElementsAre(2, 3));
}

TEST_F(RetryTest, triesLimitPlusTwoTimesWhenAllFail) {
  for (const auto* text : {"a0", "a1", "a2", "a3"}) failWith(text);

  const auto result = resultOf(attempt(2), 3);

  EXPECT_EQ(summary(result), "partialFailure a3 after a0 a1 a2");
  EXPECT_EQ(server.requestCount(), 4);
  EXPECT_THAT(waits(), ElementsAre(2, 3, 4));
}

TEST_F(RetryTest, tellsOfAPartialFailureWhenItSucceedsBelowTheLimit) {
  failWith("a0");
  succeedWith("a1");

  EXPECT_EQ(summary(resultOf(attempt(2), 1)), "partialFailure a1 after a0");
}

TEST_F(RetryTest, triesOnceWithANegativeLimit) {
  failWith("a0");
  succeedWith("b0");

  const auto failed = resultOf(attempt(-1), 0);

  EXPECT_EQ(summary(failed), "noFailure a0");
  EXPECT_TRUE(failed.successfulResponse()->result.error());
  EXPECT_EQ(summary(resultOf(attempt(-5), 0)), "noFailure b0");
  EXPECT_THAT(waits(), IsEmpty());
}

TEST_F(RetryTest, waitsByItsIntervalAndDelta) {
  for (const auto* text : {"a0", "a1", "a2", "a3"}) failWith(text);
  Try request = attempt(2);
  request.retryInterval = 0.25;
  request.retryDelta = 10;

  resultOf(request, 3);

  EXPECT_THAT(waits(), ElementsAre(0.25, 10.25, 20.25));
}

TEST_F(RetryTest, sendsNothingBeforeTheWaitIsOver) {
  failWith("a0");
  succeedWith("a1");
  Expectation<Result> completion;
  attempt().sendAttemptingRetry(queue, completion);
  ASSERT_TRUE(clock.waitForTimers(1));

  clock.advance(1.999);
  DispatchQueue::global().sync([] {});
  EXPECT_EQ(server.requestCount(), 1);
  clock.advance(0.001);

  EXPECT_EQ(summary(completion.wait()), "partialFailure a1 after a0");
}

TEST_F(RetryTest, triesAgainWhenTheConnectionIsLost) {
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
  succeedWith("a1");

  const auto result = resultOf(attempt(), 1);

  ASSERT_EQ(result.failCount(), 1);
  EXPECT_TRUE(result.failedResponses()[0].result.error()->as<CFNetworkErrors>());
  EXPECT_EQ(result.successfulResponse()->data->text(), "a1");
}

/// Says it by the type.
struct StaticTry : DataGetRequestable<StaticTry>, HTTPRetryAttempting<StaticTry> {
  URL url;
  static constexpr std::chrono::milliseconds retryInterval{1500};
  static constexpr unsigned retryLimit = 0;
  HTTPHeaders sharedHeaders() const { return {}; }
};
/// Says it by functions.
struct ComputedTry : DataGetRequestable<ComputedTry>, HTTPRetryAttempting<ComputedTry> {
  URL url;
  int factor = 3;
  std::chrono::seconds retryInterval() const { return std::chrono::seconds(factor); }
  static std::int64_t retryLimit() { return 1; }
  int retryDelta() const { return 2 * factor; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, readsWhatATypeSays) {
  failWith("a0");
  succeedWith("a1");

  EXPECT_EQ(summary(resultOf(StaticTry{.url = server.url("/")}, 1)), "partialFailure a1 after a0");
  EXPECT_THAT(waits(), ElementsAre(1.5));
}

TEST_F(RetryTest, readsWhatATypeComputes) {
  for (const auto* text : {"a0", "a1", "a2"}) failWith(text);

  EXPECT_EQ(summary(resultOf(ComputedTry{.url = server.url("/")}, 2)), "partialFailure a2 after a0 a1");
  EXPECT_THAT(waits(), ElementsAre(3, 9));
}

/// Its limit changes under way.
struct FickleTry : DataGetRequestable<FickleTry>, HTTPRetryAttempting<FickleTry> {
  URL url;
  inline static std::atomic<int> limit = 0;
  static constexpr double retryInterval = 2;
  static int retryLimit() { return limit; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, goesByTheLimitOfWhenTheAttemptStarted) {
  const Latch latch;
  FickleTry::limit = 0;
  server.enqueue(MockResponse(500).text("a0").hold(Moment::beforeStatusLine, latch));
  succeedWith("a1");
  Expectation<Result> completion;
  FickleTry{.url = server.url("/")}.sendAttemptingRetry(queue, completion);
  server.takeRequest();

  FickleTry::limit = -1;
  latch.open();
  letPass(1);

  EXPECT_EQ(summary(completion.wait()), "partialFailure a1 after a0");
}

TEST_F(RetryTest, completesOnTheQueueThatIsNamed) {
  succeedWith("a0");

  EXPECT_TRUE(await<bool>(
      [&](auto done) { attempt().sendAttemptingRetry(queue, [=, this](const Result&) { done(queue.isCurrent()); }); }));
}

TEST_F(RetryTest, completesOnTheMainQueueOtherwise) {
  const auto isOnMain = [](auto done) { return [done](const Result&) { done(DispatchQueue::main().isCurrent()); }; };
  succeedWith("a0");
  succeedWith("b0");

  EXPECT_TRUE(awaitOnMain<bool>([&](auto done) { attempt().sendAttemptingRetry(isOnMain(done)); }));
  EXPECT_TRUE(awaitOnMain<bool>([&](auto done) { attempt().sendAttemptingRetry(std::nullopt, isOnMain(done)); }));
}

TEST_F(RetryTest, completesAFutureThatNeverFails) {
  failWith("a0");

  const auto result = attempt(-1).sendAttemptingRetry().result();

  ASSERT_TRUE(result);
  EXPECT_EQ(summary(*result.value()), "noFailure a0");
}

TEST_F(RetryTest, completesAFutureOnTheQueueItWasMadeOn) {
  succeedWith("a0");

  EXPECT_TRUE(await<bool>([&](auto done) {
    queue.async([=, this] {
      attempt().sendAttemptingRetry().whenCompleted(queue, [=, this](const auto&) { done(queue.isCurrent()); });
    });
  }));
}

velisand::Task<std::string> summaryOf(Try request) { co_return summary(co_await request.sendAttemptingRetry()); }

TEST_F(RetryTest, canBeAwaited) {
  failWith("a0");
  succeedWith("a1");
  const auto text = summaryOf(attempt());

  letPass(1);

  EXPECT_EQ(text.get(), "partialFailure a1 after a0");
}

/// Notes where it is asked, and sends by a `send` of its own.
struct NotingTry : DataGetRequestable<NotingTry>, HTTPRetryAttempting<NotingTry> {
  using HTTPRequestable::send;

  URL url;
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 5;
  Expectation<std::string> queues;
  std::shared_ptr<std::atomic<int>> open = std::make_shared<std::atomic<int>>(0);
  std::shared_ptr<std::atomic<int>> sends = std::make_shared<std::atomic<int>>(0);

  bool shouldRetry(const DataResponse&) const {
    queues.fulfil(DispatchQueue::current() ? DispatchQueue::current()->label() : "none");
    return true;
  }
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    ++*sends;
    EXPECT_EQ(++*open, 1) << "an attempt began before the other was over";
    sendToNetwork(std::move(queue), [open = open, completion = std::move(completion)](DataResponse response) mutable {
      --*open;
      completion(std::move(response));
    });
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, decidesOnTheQueueOfTheSend) {
  for (int i = 0; i < 3; ++i) failWith("failed");
  succeedWith("done");
  const NotingTry request{.url = server.url("/")};

  resultOf(request, 3);

  EXPECT_THAT(request.queues.waitForAll(3), Each("org.corvane.HTTPRetryAttempting.queue"));
}

TEST_F(RetryTest, makesItsAttemptsOneAfterAnotherByTheSendOfTheType) {
  server.handleAll([](const auto&) { return MockResponse(503); });
  const NotingTry request{.url = server.url("/")};

  EXPECT_EQ(resultOf(request, 6).failCount(), 6);

  EXPECT_EQ(*request.sends, 7);
  EXPECT_EQ(*request.open, 0);
}

TEST_F(RetryTest, neverCompletesWhenItShouldNotBeSent) {
  const auto held = std::make_shared<int>(1);
  Try request = attempt();
  request.shouldSend = false;
  request.retryPolicy.isCancelable = true;

  request.sendAttemptingRetry(queue, [held](const Result&) { ADD_FAILURE() << "completed"; });

  EXPECT_EQ(held.use_count(), 1);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(RetryTest, letsGoOfTheCompletionOnceItWasCalled) {
  const auto held = std::make_shared<int>(1);
  failWith("a0");
  succeedWith("a1");
  Expectation<void> completion;

  attempt().sendAttemptingRetry(queue, [held, completion](const Result&) { completion(); });
  letPass(1);
  completion.wait();
  queue.sync([] {});

  EXPECT_EQ(held.use_count(), 1);
}

struct TryFetching : DownloadRequestable<TryFetching, std::string>, HTTPRetryAttempting<TryFetching> {
  URL url;
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 2;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct TrySending : UploadRequestable<TrySending, DataResponse>, HTTPRetryAttempting<TrySending> {
  URL url;
  Data body = "the same each time";
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 2;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, repeatsADownload) {
  failWith("a0");
  succeedWith("file");

  const auto result = resultOf(TryFetching{.url = server.url("/")}, 1);

  ASSERT_TRUE(result.successfulResponse());
  EXPECT_EQ(*result.successfulResponse()->result.body(), "file");
  EXPECT_EQ(result.failCount(), 1);
}

TEST_F(RetryTest, repeatsAnUploadWithItsBody) {
  failWith("a0");
  succeedWith("a1");

  EXPECT_EQ(summary(resultOf(TrySending{.url = server.url("/")}, 1)), "partialFailure a1 after a0");
  for (const auto& received : server.requests()) EXPECT_EQ(received.body, "the same each time");
}

/// Declares what sends it, which of a transfer takes the progress, too, and hides the other forms.
struct FetchingByItself : DownloadRequestable<FetchingByItself, std::string>, HTTPRetryAttempting<FetchingByItself> {
  URL url;
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 2;
  std::shared_ptr<std::atomic<int>> sends = std::make_shared<std::atomic<int>>(0);
  void send(std::optional<DispatchQueue> queue, HTTPProgressHandler progress, Completion completion) const {
    ++*sends;
    sendToNetwork(std::move(queue), std::move(progress), std::move(completion));
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, honoursTheSendOfADownload) {
  failWith("a0");
  succeedWith("file");
  const FetchingByItself request{.url = server.url("/")};

  EXPECT_EQ(resultOf(request, 1).failCount(), 1);
  EXPECT_EQ(*request.sends, 2);
}

/// Fails as often as it is told, each time after a second.
struct TryingMock : DataGetRequestable<TryingMock>, HTTPMockable<TryingMock>, HTTPRetryAttempting<TryingMock> {
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 2;
  static constexpr double mockResponseTime = 1;
  std::shared_ptr<std::atomic<int>> failures = std::make_shared<std::atomic<int>>(0);
  HTTPStatus mockStatus() const { return (*failures)-- > 0 ? HTTPStatus::badGateway : HTTPStatus::success; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryTest, repeatsAMock) {
  const TryingMock request;
  // Its status is read twice for each response.
  *request.failures = 4;

  const auto result = resultOf(request, 5);

  EXPECT_EQ(result.which(), Result::Case::totalFailure);
  EXPECT_EQ(result.failCount(), 3);
  EXPECT_THAT(waits(), ElementsAre(1, 2, 1, 3, 1));
  EXPECT_EQ(server.connectionCount(), 0);
}

/// With the system's clock.
class RealRetryTest : public testkit::ServerTest {
 protected:
  ~RealRetryTest() override { Corvane::resetSessions(); }
};

TEST_F(RealRetryTest, waitsAndTriesAgain) {
  for (int i = 0; i < 3; ++i) server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200).text("at last"));
  const auto begin = std::chrono::steady_clock::now();

  const auto result =
      Try{.url = server.url("/"), .retryLimit = 5, .retryInterval = 0.01, .retryDelta = 0}.sendAttemptingRetry().get();

  EXPECT_EQ(result.failCount(), 3);
  EXPECT_EQ(result.successfulResponse()->data->text(), "at last");
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(30));
}

/// What the requests of a service share, whether or not they retry.
struct ServiceRules {
  static constexpr double retryInterval = 0;
  static std::int64_t retryLimit() { return 2; }
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct GetOnce : DataGetRequestable<GetOnce>, ServiceRules {
  URL url = "/";
};
struct GetAgain : DataGetRequestable<GetAgain>, HTTPRetryAttempting<GetAgain>, ServiceRules {
  URL url = "/";
};

TEST_F(RealRetryTest, takesItsRulesFromABaseThatOtherRequestsShare) {
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200).text("at last"));

  GetOnce once;
  once.url = server.url("/");
  EXPECT_TRUE(once.send().result().error());
  GetAgain again;
  again.url = server.url("/");
  const auto result = again.sendAttemptingRetry().get();

  EXPECT_EQ(result.failCount(), 1);
  EXPECT_EQ(result.successfulResponse()->data->text(), "at last");
}

}  // namespace
}  // namespace corvane
