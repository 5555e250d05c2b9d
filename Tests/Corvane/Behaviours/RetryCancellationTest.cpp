#include <memory>
#include <thread>

#include "CorvaneTesting/Latch.hpp"
#include "RetryFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

const std::string cancelled = HTTPResponseError::taskCancelled().message();

bool endsWithCancellation(const HTTPRetryResult<DataResponse>& result) {
  if (result.which() != HTTPRetryResult<DataResponse>::Case::totalFailure) return false;
  const auto* error = result.lastResponse()->result.error();
  const auto* reason = error ? error->as<HTTPResponseError>() : nullptr;
  return reason && *reason == HTTPResponseError::taskCancelled();
}

class RetryCancellationTest : public RetryTest {
 protected:
  Try cancelable(std::int64_t limit = 5) const {
    Try request = attempt(limit);
    request.retryPolicy.isCancelable = true;
    return request;
  }
  /// Holds its next response back, once it has the request.
  Latch holdNextResponse() {
    Latch latch;
    server.enqueue(MockResponse(500).hold(Moment::beforeStatusLine, latch));
    return latch;
  }

  Expectation<Result> completion;
};

TEST_F(RetryCancellationTest, endsAWaitAtOnce) {
  failWith("a0");
  const Try request = cancelable();
  request.sendAttemptingRetry(queue, completion);
  ASSERT_TRUE(clock.waitForTimers(1));

  Try(request).cancel();

  const auto result = completion.wait();
  EXPECT_TRUE(endsWithCancellation(result));
  EXPECT_EQ(summary(result), "totalFailure after a0 " + cancelled);
}

TEST_F(RetryCancellationTest, sendsNothingWhenTheWaitWouldHaveBeenOver) {
  failWith("a0");
  const Try request = cancelable();
  request.sendAttemptingRetry(queue, completion);
  ASSERT_TRUE(clock.waitForTimers(1));
  request.cancel();
  completion.wait();

  clock.advance(60);
  DispatchQueue::global().sync([] {});
  queue.sync([] {});

  EXPECT_EQ(server.requestCount(), 1);
  EXPECT_EQ(completion.count(), 1);
}

TEST_F(RetryCancellationTest, endsAnAttempt) {
  const Latch latch = holdNextResponse();
  const Try request = cancelable();
  request.sendAttemptingRetry(queue, completion);
  server.takeRequest();

  request.cancel();

  EXPECT_EQ(summary(completion.wait()), "totalFailure after " + cancelled);
  EXPECT_EQ(clock.pendingTimers(), 0u);
  latch.open();
}

TEST_F(RetryCancellationTest, endsALaterAttempt) {
  failWith("a0");
  const Latch latch = holdNextResponse();
  const Try request = cancelable();
  request.sendAttemptingRetry(queue, completion);
  letPass(1);
  ASSERT_TRUE(server.waitForRequests(2));

  request.cancel();

  EXPECT_EQ(summary(completion.wait()), "totalFailure after a0 " + cancelled);
  latch.open();
}

TEST_F(RetryCancellationTest, endsTheLastAttemptLikeAnyOther) {
  const Latch latch = holdNextResponse();
  const Try request = cancelable(-1);
  request.sendAttemptingRetry(queue, completion);
  server.takeRequest();

  request.cancel();

  EXPECT_TRUE(endsWithCancellation(completion.wait()));
  latch.open();
}

/// Is cancelled when it has failed and is not yet waiting.
struct CancelledBetween : DataGetRequestable<CancelledBetween>,
                          HTTPRetryAttempting<CancelledBetween>,
                          HTTPRequestCancelable<CancelledBetween> {
  URL url;
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 5;
  static HTTPRetryPolicy retryPolicy() { return {.isCancelable = true}; }
  bool shouldRetry(const DataResponse&) const {
    cancel();
    return true;
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryCancellationTest, endsBetweenAttemptAndWait) {
  server.handleAll([](const auto&) { return MockResponse(500).text("x"); });
  for (int i = 0; i < 50; ++i) {
    Expectation<Result> ended;
    CancelledBetween{.url = server.url("/")}.sendAttemptingRetry(queue, ended);

    EXPECT_EQ(summary(ended.wait()), "totalFailure after x " + cancelled);
  }
}

TEST_F(RetryCancellationTest, endsWhenItIsCancelledRightAfterItWasSent) {
  server.handleAll([](const auto&) { return MockResponse(500); });
  const Try request = cancelable();

  request.sendAttemptingRetry(queue, completion);
  request.cancel();

  EXPECT_TRUE(endsWithCancellation(completion.wait()));
}

TEST_F(RetryCancellationTest, endsOnceAtWhateverMomentAnotherThreadCancels) {
  server.handleAll([](const auto&) { return MockResponse(500); });
  for (int i = 0; i < 100; ++i) {
    Expectation<Result> ended;
    Try request = cancelable();
    request.retryInterval = -1;  // the waits take no time
    request.retryDelta = 0;
    request.retryLimit = 1'000'000;
    const int attempts = server.headCount() + i % 5;

    request.sendAttemptingRetry(queue, ended);
    std::thread canceller([&] {
      EXPECT_TRUE(server.waitUntil([&] { return server.headCount() >= attempts; }));
      request.cancel();
    });
    canceller.join();

    EXPECT_TRUE(endsWithCancellation(ended.wait()));
    queue.sync([] {});
    EXPECT_EQ(ended.count(), 1);
  }
}

TEST_F(RetryCancellationTest, isIgnoredBeforeTheSendAndAfterIt) {
  succeedWith("a0");
  succeedWith("b0");
  const Try request = cancelable();

  request.cancel();
  EXPECT_EQ(summary(resultOf(request, 0)), "noFailure a0");
  request.cancel();
  EXPECT_EQ(summary(resultOf(request, 0)), "noFailure b0");
}

TEST_F(RetryCancellationTest, letsGoOfEverything) {
  failWith("a0");
  const auto held = std::make_shared<int>(1);
  Expectation<void> called;
  const Try request = cancelable();
  request.sendAttemptingRetry(queue, [held, called](const Result&) { called(); });
  ASSERT_TRUE(clock.waitForTimers(1));

  request.cancel();
  called.wait();
  queue.sync([] {});

  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(RetryCancellationTest, isAFailureLikeOthersByThePlainRule) {
  const Latch latch = holdNextResponse();
  succeedWith("a1");
  const Try request = attempt();
  request.sendAttemptingRetry(queue, completion);
  server.takeRequest();

  request.cancel();
  letPass(1);

  EXPECT_EQ(summary(completion.wait()), "partialFailure a1 after " + cancelled);
  latch.open();
}

TEST_F(RetryCancellationTest, doesNotEndAWaitByThePlainRule) {
  failWith("a0");
  succeedWith("a1");
  const Try request = attempt();
  request.sendAttemptingRetry(queue, completion);
  ASSERT_TRUE(clock.waitForTimers(1));

  request.cancel();
  letPass(1);

  EXPECT_EQ(summary(completion.wait()), "partialFailure a1 after a0");
}

/// A mock takes the place of the network.
struct CancelableMock : DataGetRequestable<CancelableMock>,
                        HTTPMockable<CancelableMock>,
                        HTTPRetryAttempting<CancelableMock>,
                        HTTPRequestCancelable<CancelableMock> {
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 5;
  static constexpr double mockResponseTime = 1;
  static constexpr HTTPRetryPolicy retryPolicy{.isCancelable = true};
  HTTPStatus mockStatus = HTTPStatus::badGateway;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryCancellationTest, endsAMockAndItsWaits) {
  for (const int waitsBefore : {0, 1, 2, 3}) {
    SCOPED_TRACE(waitsBefore);
    Expectation<Result> ended;
    const CancelableMock request;
    request.sendAttemptingRetry(queue, ended);
    letPass(waitsBefore);
    // The timer of what is cancelled now.
    ASSERT_TRUE(clock.waitForTimers(1));

    request.cancel();

    EXPECT_TRUE(endsWithCancellation(ended.wait()));
    clock.advance(10);
  }
}

/// Has a policy that allows it, but no `cancel`.
struct NotCancelable : DataGetRequestable<NotCancelable>, HTTPRetryAttempting<NotCancelable> {
  URL url;
  static constexpr double retryInterval = 2;
  static constexpr int retryLimit = 5;
  static constexpr HTTPRetryPolicy retryPolicy{.isCancelable = true};
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(RetryCancellationTest, isNothingForARequestThatIsNotCancelable) {
  failWith("a0");
  succeedWith("a1");

  EXPECT_EQ(summary(resultOf(NotCancelable{.url = server.url("/")}, 1)), "partialFailure a1 after a0");
}

}  // namespace
}  // namespace corvane
