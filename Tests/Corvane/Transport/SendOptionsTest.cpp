#include "Corvane/Transport/SendOptions.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "CallRequests.hpp"
#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "CorvaneTesting/MainQueue.hpp"
#include "SendFixture.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testkit::Expectation;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using velisand::Task;

constexpr platform::Seconds patience(10);

template <class Value>
bool wasCancelled(const Future<Value>& future) {
  if (!future.wait(patience)) return false;
  const auto result = future.result();
  const auto* error = result.error() ? result.error()->template as<HTTPResponseError>() : nullptr;
  return error && *error == HTTPResponseError::taskCancelled();
}
bool wasCancelled(const DataResponse& response) {
  const auto* error = responseError(response);
  return error && *error == HTTPResponseError::taskCancelled();
}

class SendStopTest : public SendTest {
 protected:
  /// Held back until the end of the test, which then lets the connection go.
  void holdResponses(int count) {
    for (int number = 0; number < count; ++number)
      server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  }
  void TearDown() override { latch.open(); }
  PlainGet plainGet() const { return {.url = server.url("/")}; }

  const Latch latch;
  std::stop_source stop;
};

TEST_F(SendStopTest, callsTheCompletionOnTheQueueOfTheOptions) {
  server.enqueue(MockResponse(200).text("done"));
  Expectation<std::string> label;

  plainGet().send({.queue = queue}, [label](const DataResponse&) { label(DispatchQueue::current()->label()); });

  EXPECT_EQ(label.wait(), "SendTest");
}

TEST_F(SendStopTest, callsTheCompletionOnTheMainQueueByDefault) {
  server.enqueue(MockResponse(200).text("done"));
  const auto response = testkit::awaitOnMain<DataResponse>([&](auto done) { plainGet().send(SendOptions(), done); });

  EXPECT_EQ(response.data->text(), "done");
}

TEST_F(SendStopTest, takesBracesWithoutNamesForAnAbsentQueue) {
  server.enqueue(MockResponse(200).text("done"));
  const auto response = testkit::awaitOnMain<DataResponse>([&](auto done) { plainGet().send({}, done); });

  EXPECT_EQ(response.data->text(), "done");
}

TEST_F(SendStopTest, completesAFutureOnTheQueueOfTheOptions) {
  server.enqueue(MockResponse(200).text("done"));

  EXPECT_EQ(plainGet().send({.queue = queue}).get().body.text(), "done");
}

TEST_F(SendStopTest, cancelsASendThatIsUnderWay) {
  holdResponses(1);
  Expectation<DataResponse> completion;
  plainGet().send({.queue = queue, .stop = stop.get_token()}, completion);
  server.takeRequest();

  stop.request_stop();

  EXPECT_TRUE(wasCancelled(completion.wait()));
}

TEST_F(SendStopTest, cancelsAllThatShareTheStopAndNoOther) {
  holdResponses(3);
  Expectation<DataResponse> first, second, other;
  plainGet().send({.queue = queue, .stop = stop.get_token()}, first);
  plainGet().send({.queue = queue, .stop = stop.get_token()}, second);
  plainGet().send(queue, other);
  for (int number = 0; number < 3; ++number) server.takeRequest();

  stop.request_stop();

  EXPECT_TRUE(wasCancelled(first.wait()));
  EXPECT_TRUE(wasCancelled(second.wait()));
  latch.open();
  EXPECT_TRUE(other.wait().result);
}

TEST_F(SendStopTest, sendsNothingOnceTheStopIsRequested) {
  stop.request_stop();

  const auto future = plainGet().send({.stop = stop.get_token()});

  EXPECT_TRUE(wasCancelled(future));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(SendStopTest, leavesASendAloneThatIsOver) {
  server.enqueue(MockResponse(200).text("done"));
  const auto future = plainGet().send({.stop = stop.get_token()});
  ASSERT_TRUE(future.wait(patience));

  stop.request_stop();

  EXPECT_EQ(future.get().body.text(), "done");
}

TEST_F(SendStopTest, isNotCalledBackByASendThatShouldNotBe) {
  const auto held = std::make_shared<int>(1);
  PlainGet request = plainGet();
  request.shouldSend = false;
  request.send({.queue = queue, .stop = stop.get_token()}, [held](const DataResponse&) { ADD_FAILURE(); });

  stop.request_stop();

  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SendStopTest, mayBeRequestedWithinACompletion) {
  server.enqueue(MockResponse(200));
  holdResponses(1);
  Expectation<DataResponse> second;
  plainGet().send({.queue = queue, .stop = stop.get_token()}, [this](const DataResponse&) { stop.request_stop(); });
  server.takeRequest();

  plainGet().send({.queue = queue, .stop = stop.get_token()}, second);

  EXPECT_TRUE(wasCancelled(second.wait()));
}

TEST_F(SendStopTest, endsAFutureByEitherStop) {
  holdResponses(2);
  const auto first = plainGet().send({.stop = stop.get_token()});
  const auto second = plainGet().send({.stop = stop.get_token()});
  server.takeRequest();
  server.takeRequest();

  first.cancel();
  EXPECT_TRUE(wasCancelled(first));
  EXPECT_FALSE(second.isCompleted());

  stop.request_stop();
  EXPECT_TRUE(wasCancelled(second));
}

TEST_F(SendStopTest, isRequestedByAFuture) {
  holdResponses(1);
  const auto future = plainGet().send();
  server.takeRequest();

  future.cancel();

  EXPECT_TRUE(wasCancelled(future));
}

TEST_F(SendStopTest, endsADownload) {
  server.enqueue(MockResponse(200).generatedBody(1'000'000).hold(Moment::insideBody, latch));
  server.enqueue(MockResponse(200).generatedBody(1'000'000).hold(Moment::insideBody, latch));
  const auto first = PlainDownload{.url = server.url("/file")}.send();
  const auto second = PlainDownload{.url = server.url("/file")}.send({.stop = stop.get_token()});
  server.takeRequest();
  server.takeRequest();

  first.cancel();
  stop.request_stop();

  EXPECT_TRUE(wasCancelled(first));
  EXPECT_TRUE(wasCancelled(second));
}

TEST_F(SendStopTest, isRequestedByATask) {
  holdResponses(1);
  const auto body = [](PlainGet request) -> Task<std::string> { co_return (co_await request.send()).body.text(); };
  const auto nested = [body](PlainGet request) -> Task<std::size_t> { co_return (co_await body(request)).size(); };
  const auto task = nested(plainGet());
  server.takeRequest();

  task.cancel();

  EXPECT_TRUE(wasCancelled(task));
}

TEST_F(SendStopTest, endsTheWaitOfARetryingSend) {
  for (const bool isByFuture : {true, false}) {
    server.enqueue(MockResponse(500));
    std::stop_source own;
    const auto future = RetriedGet{.url = server.url("/")}.sendAttemptingRetry({.stop = own.get_token()});
    server.takeRequest();

    if (isByFuture) {
      future.cancel();
    } else {
      own.request_stop();
    }

    ASSERT_TRUE(future.wait(patience));
    EXPECT_TRUE(wasCancelled(*future.get().lastResponse()));
  }
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(SendStopTest, endsAnAttemptOfARetryingSendWhateverItsPolicy) {
  holdResponses(1);
  const auto future = RetriedGet{.url = server.url("/")}.sendAttemptingRetry();
  server.takeRequest();

  future.cancel();

  ASSERT_TRUE(future.wait(patience));
  EXPECT_TRUE(wasCancelled(*future.get().lastResponse()));
}

TEST_F(SendStopTest, makesNoAttemptOnceItIsRequested) {
  stop.request_stop();
  Expectation<HTTPRetryResult<DataResponse>> completion;

  RetriedGet{.url = server.url("/")}.sendAttemptingRetry({.queue = queue, .stop = stop.get_token()}, completion);

  const auto result = completion.wait();
  EXPECT_TRUE(wasCancelled(*result.lastResponse()));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(SendStopTest, endsAMockThatIsAwaited) {
  const auto first = SlowMock().send();
  const auto second = SlowMock().send({.stop = stop.get_token()});

  first.cancel();
  stop.request_stop();

  EXPECT_TRUE(wasCancelled(first));
  EXPECT_TRUE(wasCancelled(second));
}

TEST_F(SendStopTest, endsEveryRequestOfABatchAndSendsNoMore) {
  for (const auto mode : {HTTPBatchMode::parallel(2), HTTPBatchMode::serial()}) {
    holdResponses(2);
    const std::vector<PlainGet> requests(6, plainGet());
    std::stop_source own;
    const auto future = send(requests, {.stop = own.get_token()}, mode);
    server.takeRequest();

    if (mode.shouldParallelize()) {
      future.cancel();
    } else {
      own.request_stop();
    }

    ASSERT_TRUE(future.wait(patience));
    EXPECT_THAT(future.get(), ::testing::SizeIs(6));
    EXPECT_THAT(future.get(),
                ::testing::Each(::testing::Truly([](const auto& response) { return wasCancelled(response); })));
    EXPECT_LE(server.requestCount(), 4);
  }
}

TEST_F(SendStopTest, survivesRacesWithResponses) {
  server.handleAll([](const auto&) { return MockResponse(200).text("fast"); });
  for (int round = 0; round < 50; ++round) {
    std::stop_source own;
    const auto future = plainGet().send({.stop = own.get_token()});
    std::thread canceller([&] { round % 2 ? future.cancel() : static_cast<void>(own.request_stop()); });
    ASSERT_TRUE(future.wait(patience));
    canceller.join();
    EXPECT_TRUE(future.result() || wasCancelled(future));
  }
}

}  // namespace
}  // namespace corvane
