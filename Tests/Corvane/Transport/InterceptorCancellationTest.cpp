#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stop_token>

#include "Corvane/Transport/HTTPInterceptor.hpp"
#include "InterceptorFixture.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane {
namespace {

using testkit::Expectation;
using testkit::Latch;
using testkit::MockResponse;
using testkit::Moment;
using testkit::ReceivedRequest;

Error taskCancelled() { return HTTPResponseError::taskCancelled(); }

/// Responds when the test says so, whatever the request wishes.
struct Waiting final : HTTPInterceptor {
  Future<HTTPInterceptedResponse> intercept(URLRequest, HTTPInterceptorChain) override {
    called.fulfil();
    return response;
  }

  const Expectation<void> called;
  const Future<HTTPInterceptedResponse> response;
};

class InterceptorCancellationTest : public InterceptorTest {
 protected:
  /// The library keeps an interceptor until its future is completed.
  ~InterceptorCancellationTest() override {
    if (waiting_) waiting_->response.markFailure(Error("Test", 1, "over"));
  }

  std::shared_ptr<Waiting> addWaiting() {
    waiting_ = std::make_shared<Waiting>();
    add(waiting_);
    return waiting_;
  }

 private:
  std::shared_ptr<Waiting> waiting_;
};

TEST_F(InterceptorCancellationTest, endsARequestThatAnInterceptorHoldsByItsFuture) {
  const auto waiting = addWaiting();
  Expectation<void> told;
  const std::stop_callback telling(waiting->response.stopToken(), [told] { told.fulfil(); });
  const auto future = get().send();
  waiting->called.wait();

  future.cancel();

  EXPECT_EQ(*future.result().error(), taskCancelled());
  told.wait();
}

TEST_F(InterceptorCancellationTest, endsItByItsRequest) {
  const auto waiting = addWaiting();
  const auto request = get();
  const auto future = request.send();
  waiting->called.wait();

  request.cancel();

  EXPECT_EQ(*future.result().error(), taskCancelled());
}

TEST_F(InterceptorCancellationTest, endsItByAStop) {
  const auto waiting = addWaiting();
  std::stop_source stop;
  const auto future = get().send({.stop = stop.get_token()});
  waiting->called.wait();

  stop.request_stop();

  EXPECT_EQ(*future.result().error(), taskCancelled());
}

TEST_F(InterceptorCancellationTest, endsItByItsDeadline) {
  addWaiting();

  const Error error = failureOf(get(), {.deadline = 0.05});

  const auto* const network = error.as<CFNetworkErrors>();
  ASSERT_TRUE(network);
  EXPECT_EQ(network->errorCode(), platform::URLErrorCode::timedOut);
}

TEST_F(InterceptorCancellationTest, isAskedForNothingOnceItWasCancelled) {
  std::stop_source stop;
  stop.request_stop();
  const auto waiting = addWaiting();

  EXPECT_EQ(failureOf(get(), {.stop = stop.get_token()}), taskCancelled());
  EXPECT_EQ(waiting->called.count(), 0);
}

TEST_F(InterceptorCancellationTest, hasNoUseForAResponseThatComesLater) {
  const auto waiting = addWaiting();
  const auto request = get();
  const auto future = request.send();
  waiting->called.wait();
  request.cancel();
  EXPECT_EQ(*future.result().error(), taskCancelled());

  waiting->response.markCompletion(HTTPInterceptedResponse(request.url, 200));

  EXPECT_EQ(*future.result().error(), taskCancelled());
}

TEST_F(InterceptorCancellationTest, endsTheExchangeUnderWay) {
  add(HTTPInterceptor::changing([](URLRequest&) {}));
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  const auto future = get().send();
  ASSERT_TRUE(server.waitForStall());

  future.cancel();

  EXPECT_EQ(*future.result().error(), taskCancelled());
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(InterceptorCancellationTest, reachesWhatACoroutineAwaits) {
  Expectation<void> ended;
  intercept([ended](URLRequest request, Chain chain) -> Task<Intercepted> {
    const auto response = co_await chain.send(std::move(request));
    if (response.error && response.error->code() == platform::URLErrorCode::cancelled) ended.fulfil();
    co_return response;
  });
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  const auto future = get().send();
  ASSERT_TRUE(server.waitForStall());

  future.cancel();

  ended.wait();
}

TEST_F(InterceptorCancellationTest, ofOneSendLeavesTheRequestAlone) {
  Future<Future<HTTPInterceptedResponse>> first;
  intercept([first](URLRequest request, Chain chain) -> Task<Intercepted> {
    const auto hanging = chain.send(request);
    first.markCompletion(hanging);
    const auto failed = co_await hanging;
    if (!failed.error) co_return failed;
    co_return co_await chain.send(std::move(request));
  });
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  server.enqueue(MockResponse(200).text("second"));
  const auto future = get().send();
  ASSERT_TRUE(server.waitForStall());

  first.get().cancel();

  EXPECT_EQ(future.get().body.text(), "second");
}

TEST_F(InterceptorCancellationTest, passesOnToWhatAnInterceptorCancelledByATimeOut) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    const auto hanging = chain.send(request);
    const auto failed = co_await withTimeout(0.05, hanging);
    if (!failed.error) co_return failed;
    request.allHTTPHeaderFields.set("X-Second", "1");
    co_return co_await chain.send(std::move(request));
  });
  add(HTTPInterceptor::changing([](URLRequest&) {}));
  // By what the request is: the first may be cancelled before the server has seen it.
  server.handleAll([](const ReceivedRequest& request) {
    return request.hasHeader("X-Second") ? MockResponse(200).text("second")
                                         : MockResponse(200).stall(Moment::beforeStatusLine);
  });

  EXPECT_EQ(bodyOf(get()), "second");
}

TEST_F(InterceptorCancellationTest, endsTheExchangesThatLost) {
  Future<Future<HTTPInterceptedResponse>> slow;
  intercept([slow](URLRequest request, Chain chain) -> Task<Intercepted> {
    const auto slower = chain.send(request);
    slow.markCompletion(slower);
    request.allHTTPHeaderFields.set("X-Second", "1");
    co_return co_await chain.send(std::move(request));
  });
  Latch latch;
  server.handleAll([latch](const ReceivedRequest& request) {
    return request.hasHeader("X-Second") ? MockResponse(200).text("second").hold(Moment::beforeStatusLine, latch)
                                         : MockResponse(200).stall(Moment::beforeStatusLine);
  });
  const auto future = get().send();
  ASSERT_TRUE(server.waitForStall());

  latch.open();

  EXPECT_EQ(future.get().body.text(), "second");
  EXPECT_EQ(slow.get().get().error->code(), platform::URLErrorCode::cancelled);
  EXPECT_TRUE(server.waitUntil([&] { return server.stalledConnections() == 0; }));
}

TEST_F(InterceptorCancellationTest, boundsWhatAnInterceptorSendsBeside) {
  testkit::TestServer other;
  other.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Expectation<Error> failed;
  intercept([failed, url = other.url()](URLRequest request, Chain chain) -> Task<Intercepted> {
    const DataGetRequest beside(url);
    try {
      co_await beside.send(chain.options());
    } catch (const Error& error) {
      failed.fulfil(error);
    }
    co_return co_await chain.send(std::move(request));
  });
  const auto request = get();
  const auto future = request.send();
  ASSERT_TRUE(other.waitForStall());

  request.cancel();

  EXPECT_EQ(failed.wait(), taskCancelled());
  EXPECT_EQ(*future.result().error(), taskCancelled());
}

TEST_F(InterceptorCancellationTest, happensOnceBesideAResponse) {
  server.handleAll([](const auto&) { return MockResponse(200); });
  intercept(
      [](URLRequest request, Chain chain) -> Task<Intercepted> { co_return co_await chain.send(std::move(request)); });

  for (int i = 0; i < 100; ++i) {
    Expectation<int> ended;
    const auto request = get();
    request.send(DispatchQueue::global(), [ended](const DataResponse&) { ended.fulfil(1); });
    request.cancel();
    ended.wait();
    EXPECT_EQ(ended.count(), 1);
  }
}

}  // namespace
}  // namespace corvane
