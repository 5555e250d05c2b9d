#include "Corvane/Transport/SendCancellation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Latch.hpp"
#include "SendFixture.hpp"
#include "Velisand/Task.hpp"

namespace corvane {
namespace {

using corvane::testing::Expectation;
using corvane::testing::Latch;
using corvane::testing::MockResponse;
using corvane::testing::Moment;
using velisand::Task;

constexpr platform::Seconds patience(10);

/// A request without `HTTPRequestCancelable`.
struct PlainGet : DataGetRequestable<PlainGet> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct PlainDownload : DownloadRequestable<PlainDownload> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct RetriedGet : DataGetRequestable<RetriedGet>, HTTPRetryAttempting<RetriedGet> {
  URL url;
  double retryInterval = 3600;
  std::int64_t retryLimit = 5;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct SlowMock : DataGetRequestable<SlowMock>, HTTPMockable<SlowMock> {
  URL baseURL = "https://example.com/items";
  double mockResponseTime = 3600;
  HTTPHeaders sharedHeaders() const { return {}; }
  std::optional<Data> mockResponseData() const { return Data("mock"); }
};
/// Sends on a thread of its own, and takes the cancellation along.
struct WanderingGet : DataGetRequestable<WanderingGet> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }

  using HTTPRequestable::send;
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    DispatchQueue::global().async([request = *this, queue = std::move(queue), completion = std::move(completion),
                                   cancellation = SendCancellation::current()]() mutable {
      const SendCancellation::Scope scope(*cancellation);
      request.sendToNetwork(std::move(queue), std::move(completion));
    });
  }
};

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

class SendCancellationTest : public SendTest {
 protected:
  /// Held back until the end of the test, which then lets the connection go.
  void holdResponses(int count) {
    for (int number = 0; number < count; ++number)
      server.enqueue(MockResponse(200).hold(Moment::beforeStatusLine, latch));
  }
  void TearDown() override { latch.open(); }

  const Latch latch;
};

TEST_F(SendCancellationTest, cancelsTheRequestOfAFuture) {
  holdResponses(1);
  const auto future = PlainGet{.url = server.url("/")}.send();
  server.takeRequest();

  future.cancel();

  EXPECT_TRUE(wasCancelled(future));
}

TEST_F(SendCancellationTest, cancelsADownloadOfAFuture) {
  server.enqueue(MockResponse(200).generatedBody(1'000'000).hold(Moment::insideBody, latch));
  const auto future = PlainDownload{.url = server.url("/file")}.send();
  server.takeRequest();

  future.cancel();

  EXPECT_TRUE(wasCancelled(future));
}

TEST_F(SendCancellationTest, cancelsARequestThatATaskAwaits) {
  holdResponses(1);
  const auto body = [](PlainGet request) -> Task<std::string> { co_return (co_await request.send()).body.text(); };
  const auto nested = [body](PlainGet request) -> Task<std::size_t> { co_return (co_await body(request)).size(); };
  const auto task = nested({.url = server.url("/")});
  server.takeRequest();

  task.cancel();

  EXPECT_TRUE(wasCancelled(task));
}

TEST_F(SendCancellationTest, sendsNothingInTheScopeOfACancelledOne) {
  const SendCancellation cancellation;
  cancellation.cancel();
  const SendCancellation::Scope scope(cancellation);

  const auto future = PlainGet{.url = server.url("/")}.send();

  EXPECT_TRUE(wasCancelled(future));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(SendCancellationTest, cancelsAllThatWereStartedInItsScopeAndNoOther) {
  holdResponses(2);
  const SendCancellation cancellation;
  const PlainGet request{.url = server.url("/")};
  Expectation<DataResponse> inside;
  {
    const SendCancellation::Scope scope(cancellation);
    request.send(queue, inside);
  }
  server.takeRequest();
  Expectation<DataResponse> outside;
  request.send(queue, outside);
  server.takeRequest();

  cancellation.cancel();

  EXPECT_TRUE(wasCancelled(inside.wait()));
  latch.open();
  EXPECT_TRUE(outside.wait().result);
}

TEST_F(SendCancellationTest, cancelsTheWaitOfARetryingSend) {
  server.enqueue(MockResponse(500));
  const auto future = RetriedGet{.url = server.url("/")}.sendAttemptingRetry();
  server.takeRequest();

  future.cancel();

  ASSERT_TRUE(future.wait(patience));
  EXPECT_TRUE(wasCancelled(*future.get().lastResponse()));
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(SendCancellationTest, cancelsAnAttemptOfARetryingSendWhateverItsPolicy) {
  holdResponses(1);
  const auto future = RetriedGet{.url = server.url("/")}.sendAttemptingRetry();
  server.takeRequest();

  future.cancel();

  ASSERT_TRUE(future.wait(patience));
  EXPECT_TRUE(wasCancelled(*future.get().lastResponse()));
}

TEST_F(SendCancellationTest, cancelsAMockThatIsAwaited) {
  const auto future = SlowMock().send();

  future.cancel();

  EXPECT_TRUE(wasCancelled(future));
}

TEST_F(SendCancellationTest, cancelsEveryRequestOfABatchAndSendsNoMore) {
  for (const auto mode : {HTTPBatchMode::parallel(2), HTTPBatchMode::serial()}) {
    holdResponses(2);
    const std::vector<PlainGet> requests(6, PlainGet{.url = server.url("/")});
    const auto future = send(requests, mode);
    server.takeRequest();

    future.cancel();

    ASSERT_TRUE(future.wait(patience));
    EXPECT_THAT(future.get(), ::testing::SizeIs(6));
    EXPECT_THAT(future.get(),
                ::testing::Each(::testing::Truly([](const auto& response) { return wasCancelled(response); })));
    EXPECT_LE(server.requestCount(), 4);
  }
}

TEST_F(SendCancellationTest, goesAlongWithASendOfOnesOwn) {
  holdResponses(1);
  const auto future = WanderingGet{.url = server.url("/")}.send();
  server.takeRequest();

  future.cancel();

  EXPECT_TRUE(wasCancelled(future));
}

TEST_F(SendCancellationTest, isCancelledWithTheOneAroundIt) {
  const SendCancellation outer;
  const auto inner = [&] {
    const SendCancellation::Scope scope(outer);
    return SendCancellation();
  }();

  outer.cancel();

  EXPECT_TRUE(inner.isCancelled());
  EXPECT_FALSE(SendCancellation::current());
}

TEST_F(SendCancellationTest, survivesRacesWithResponses) {
  server.handleAll([](const auto&) { return MockResponse(200).text("fast"); });
  for (int round = 0; round < 50; ++round) {
    const auto future = PlainGet{.url = server.url("/")}.send();
    std::thread canceller([&] { future.cancel(); });
    ASSERT_TRUE(future.wait(patience));
    canceller.join();
    EXPECT_TRUE(future.result() || wasCancelled(future));
  }
}

}  // namespace
}  // namespace corvane
