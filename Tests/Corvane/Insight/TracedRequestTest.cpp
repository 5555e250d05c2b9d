#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/TestServer.hpp"

/// Requests that carry a trace context.
namespace corvane {
namespace {

using testkit::MockResponse;
using testkit::TestServer;

const TraceContext current = *TraceContext::parse("00-4bf92f3577b34da6a3ce929d0e0e4736-00f067aa0ba902b7-01", "a=1");

struct TracedGet : DataGetRequestable<TracedGet> {
  URL url;
  HTTPHeaders own = {};
  std::optional<std::string> sessionConfigurationIdentifier = "traced";
  HTTPHeaders sharedHeaders() const { return own; }
};

/// What an application has as its current span.
thread_local std::optional<TraceContext> ofThread;

struct TracedRetry : DataGetRequestable<TracedRetry>, HTTPRetryAttempting<TracedRetry> {
  URL url;
  HTTPHeaders own = {};
  int retryLimit = 5;
  double retryInterval = 0;
  int retryDelta = 0;
  std::optional<std::string> sessionConfigurationIdentifier = "traced";
  HTTPHeaders sharedHeaders() const { return own; }
};

class TracedRequestTest : public ::testing::Test {
 protected:
  ~TracedRequestTest() override {
    ofThread.reset();
    HTTPClientConfiguration::removeAll();
    Corvane::resetSessions();
  }

  void use(TraceContextSource source, std::vector<std::shared_ptr<HTTPInterceptor>> interceptors = {}) {
    HTTPClientConfiguration configuration;
    configuration.interceptors = std::move(interceptors);
    configuration.traceContext = std::move(source);
    HTTPClientConfiguration::set("traced", configuration);
  }
  testkit::ReceivedRequest received(HTTPHeaders own = {}) {
    server_.enqueue(MockResponse(200));
    TracedGet{.url = server_.url(), .own = std::move(own)}.send().get();
    return server_.takeRequest();
  }

  TestServer server_;
};

TEST_F(TracedRequestTest, carryTheContextOfTheirConfiguration) {
  use([] { return current; });

  const auto request = received();

  EXPECT_EQ(request.header("traceparent"), current.traceparent());
  EXPECT_EQ(request.header("tracestate"), "a=1");
}

TEST_F(TracedRequestTest, beginTracesOfTheirOwn) {
  use([] { return TraceContext::random(); });

  const auto one = TraceContext::parse(received().header("traceparent").value_or(""));
  const auto other = TraceContext::parse(received().header("traceparent").value_or(""));

  ASSERT_TRUE(one && other);
  EXPECT_NE(one->traceID(), other->traceID());
}

TEST_F(TracedRequestTest, keepAContextOfTheirOwn) {
  use([] { return current; });

  const auto request = received({{"Traceparent", "own"}, {"tracestate", "b=2"}});

  EXPECT_EQ(request.header("traceparent"), "own");
  EXPECT_EQ(request.header("tracestate"), "b=2");
}

TEST_F(TracedRequestTest, takeNoStateOfAnotherContext) {
  use([] { return TraceContext::random(); });

  EXPECT_FALSE(received({{"tracestate", "b=2"}}).hasHeader("tracestate"));
}

TEST_F(TracedRequestTest, carryNothingWhereThereIsNoContext) {
  use([]() -> std::optional<TraceContext> { return std::nullopt; });
  EXPECT_FALSE(received().hasHeader("traceparent"));

  HTTPClientConfiguration::removeAll();
  EXPECT_FALSE(received().hasHeader("traceparent"));
}

TEST_F(TracedRequestTest, keepTheirContextOnRedirects) {
  const auto calls = std::make_shared<std::atomic<int>>(0);
  use([calls] {
    ++*calls;
    return current;
  });
  server_.enqueue(MockResponse(302).header("Location", "/there"));
  received();

  EXPECT_EQ(server_.takeRequest().header("traceparent"), current.traceparent());
  EXPECT_EQ(*calls, 1);
}

TEST_F(TracedRequestTest, takeTheContextOfTheThreadThatSendsAlsoWhereTheyAreIntercepted) {
  ofThread = current;
  const auto seen = std::make_shared<std::optional<std::string>>();
  use([] { return ofThread; }, {HTTPInterceptor::changing([seen](URLRequest& request) {
        *seen = request.allHTTPHeaderFields.value("traceparent");
      })});

  EXPECT_EQ(received().header("traceparent"), current.traceparent());
  EXPECT_EQ(*seen, current.traceparent());
}

TEST_F(TracedRequestTest, haveTheContextThatTheyTookAlongInAllAttempts) {
  use([] { return ofThread; });
  server_.enqueue(MockResponse(503));
  server_.enqueue(MockResponse(200));

  const auto result =
      TracedRetry{.url = server_.url(), .own = {{"traceparent", current.traceparent()}}}.sendAttemptingRetry().get();

  EXPECT_EQ(result.failCount(), 1);
  EXPECT_EQ(server_.takeRequest().header("traceparent"), current.traceparent());
  EXPECT_EQ(server_.takeRequest().header("traceparent"), current.traceparent());
}

TEST_F(TracedRequestTest, failWithWhatTheFunctionThrows) {
  use([]() -> std::optional<TraceContext> { throw std::runtime_error("no span"); });

  const auto result = TracedGet{.url = server_.url()}.send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(result.error()->message(), "no span");
  EXPECT_EQ(server_.requestCount(), 0);
}

}  // namespace
}  // namespace corvane
