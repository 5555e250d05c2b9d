#include <string>
#include <vector>

#include "CorvaneTesting/TestServer.hpp"
#include "PollingFixture.hpp"
#include "RetryFixture.hpp"

namespace corvane {
namespace {

using testkit::MockResponse;
using testkit::ReceivedRequest;
using testkit::TestServer;

/// What is sent again asks the server for what is new, whatever is stored.
class RepeatedAttemptTest : public RetryTest {
 protected:
  void failForAMinute() {
    server.enqueue(MockResponse(404).header("Cache-Control", "max-age=60").header("ETag", "\"gone\"").text("gone"));
  }
};

TEST_F(RepeatedAttemptTest, isNotServedByTheStoredFailureOfTheOneBefore) {
  failForAMinute();
  succeedWith("back");

  EXPECT_EQ(summary(resultOf(attempt(), 1)), "partialFailure back after gone");
  ASSERT_EQ(server.requestCount(), 2);
  EXPECT_EQ(server.requests().back().header("If-None-Match"), "\"gone\"");
}

TEST_F(RepeatedAttemptTest, isServedByTheStoredFailureOnceTheServerConfirmsThat) {
  failForAMinute();
  server.enqueue(MockResponse(304));

  EXPECT_EQ(summary(resultOf(attempt(0), 1)), "partialFailure gone after gone");
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(RepeatedAttemptTest, isServedWhereThePolicySaysSo) {
  struct Stored : DataGetRequestable<Stored>, HTTPRetryAttempting<Stored> {
    URL url;
    std::int64_t retryLimit = 0;
    double retryInterval = 2;
    URLRequestCachePolicy cachePolicy = URLRequestCachePolicy::returnCacheDataElseLoad;
    HTTPHeaders sharedHeaders() const { return {}; }
  };
  failForAMinute();

  EXPECT_EQ(summary(resultOf(Stored{.url = server.url("/")}, 1)), "partialFailure gone after gone");
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(RepeatedAttemptTest, theFirstOneMayBeServed) {
  server.enqueue(MockResponse().header("Cache-Control", "max-age=60").text("stored"));
  EXPECT_EQ(summary(resultOf(attempt(), 0)), "noFailure stored");

  EXPECT_EQ(summary(resultOf(attempt(), 0)), "noFailure stored");
  EXPECT_EQ(server.requestCount(), 1);
}

// Never destroyed: a tick may read it while the process ends.
URL& polledAddress = *new URL("/");

struct Watch : DataGetRequestable<Watch>, HTTPPolling<Watch> {
  static constexpr double pollingRate = 10;
  URL url = polledAddress;
  HTTPHeaders sharedHeaders() const { return {}; }
};
struct RetryingWatch : DataGetRequestable<RetryingWatch>,
                       HTTPRetryAttempting<RetryingWatch>,
                       HTTPPolling<RetryingWatch> {
  static constexpr double retryInterval = 2;
  static constexpr std::int64_t retryLimit = 2;
  static constexpr double pollingRate = 10;
  URL url = polledAddress;
  HTTPHeaders sharedHeaders() const { return {}; }
};

template <class Request>
class RepeatedTickTest : public PollingTest {
 protected:
  ~RepeatedTickTest() override { Corvane::resetSessions(); }

  TestServer server;
};
using Watches = ::testing::Types<Watch, RetryingWatch>;
TYPED_TEST_SUITE(RepeatedTickTest, Watches);

TYPED_TEST(RepeatedTickTest, validatesWhatIsStoredAndFresh) {
  polledAddress = this->server.url("/");
  this->server.handleAll([](const ReceivedRequest& request) {
    if (request.header("If-None-Match")) return MockResponse(304);
    return MockResponse().header("Cache-Control", "max-age=86400").header("ETag", "\"1\"").text("news");
  });
  TypeParam::poll([this](const TypeParam&, const DataResponse& response) { this->note(response.data->text()); });
  for (std::size_t tick = 1; tick <= 2; ++tick) {
    ASSERT_TRUE(this->clock.waitForTimers(1));
    this->clock.advance(TypeParam::pollingRate);
    ASSERT_TRUE(this->hears(tick));
  }
  TypeParam::stopPolling();

  EXPECT_THAT(this->events, ::testing::ElementsAre("news", "news"));
  ASSERT_EQ(this->server.requestCount(), 2);
  EXPECT_EQ(this->server.requests().back().header("If-None-Match"), "\"1\"");
}

}  // namespace
}  // namespace corvane
