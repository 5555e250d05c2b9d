#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Dispatch/Internal/ManualClock.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "TestSupport/NetworkTime.hpp"

/// Requests of a service with limits.
namespace corvane {
namespace {

using namespace std::chrono_literals;
using testkit::MockResponse;
using testkit::Moment;
using testkit::NetworkTime;
using testkit::ReceivedRequest;
using testkit::TestServer;
namespace URLErrorCode = platform::URLErrorCode;

struct LimitedGet : DataGetRequestable<LimitedGet> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "limited";
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct LimitedPost : DataPostRequestable<LimitedPost> {
  URL url;
  Data body;
  std::optional<std::string> sessionConfigurationIdentifier = "limited";
  HTTPHeaders sharedHeaders() const { return {}; }
};

using Sent = decltype(std::declval<LimitedGet>().send());

/// Requests that a server is at work on.
class Work {
 public:
  MockResponse respond(const ReceivedRequest& request) {
    const int now = ++count_;
    int most = most_.load();
    while (now > most && !most_.compare_exchange_weak(most, now)) {
    }
    MockResponse response = MockResponse(200).text(request.target);
    // From here on the client may know of the response, and send the next request.
    --count_;
    return response;
  }
  int most() const { return most_.load(); }

 private:
  std::atomic<int> count_ = 0;
  std::atomic<int> most_ = 0;
};

class LimitedRequestTest : public ::testing::Test {
 protected:
  ~LimitedRequestTest() override {
    HTTPClientConfiguration::removeAll();
    Corvane::resetSessions();
  }

  void use() { HTTPClientConfiguration::set("limited", configuration_); }
  static Sent send(const TestServer& server, std::string target = "/") {
    return LimitedGet{.url = server.url(target)}.send();
  }

  HTTPClientConfiguration configuration_;
};

TEST_F(LimitedRequestTest, haveNoMoreConnectionsInAllThanTheLimit) {
  TestServer first;
  TestServer second;
  Work work;
  for (TestServer* const server : {&first, &second})
    server->handleAll([&](const auto& request) { return work.respond(request); });
  configuration_.connections.maximumConnections = 3;
  use();

  std::vector<Sent> futures;
  for (int count = 0; count < 200; ++count)
    futures.push_back(send(count % 3 == 0 ? second : first, "/" + std::to_string(count)));
  for (std::size_t index = 0; index < futures.size(); ++index)
    EXPECT_EQ(futures[index].get().body.text(), "/" + std::to_string(index));

  EXPECT_LE(work.most(), 3);
  EXPECT_EQ(first.requestCount() + second.requestCount(), 200);
  EXPECT_TRUE(first.waitUntil([&] { return first.openConnections() <= 3; }));
  EXPECT_TRUE(second.waitUntil([&] { return second.openConnections() <= 3; }));
}

TEST_F(LimitedRequestTest, thatWaitForAConnectionCanBeCancelled) {
  TestServer busy;
  TestServer other;
  busy.handleAll([](const auto&) { return MockResponse(200).stall(Moment::beforeStatusLine); });
  other.handleAll([](const auto&) { return MockResponse(200).text("other"); });
  configuration_.connections.maximumConnections = 1;
  use();
  auto holding = send(busy);
  ASSERT_TRUE(busy.waitForStall());

  auto waiting = send(other);
  waiting.cancel();
  const auto result = waiting.result();
  ASSERT_TRUE(result.error());
  EXPECT_EQ(other.connectionCount(), 0);

  holding.cancel();
  EXPECT_TRUE(holding.result().error());
  EXPECT_EQ(send(other).get().body.text(), "other");
}

TEST_F(LimitedRequestTest, thatWaitForAConnectionHaveTheirDeadline) {
  platform::detail::ManualClock clock;
  TestServer busy;
  TestServer other;
  busy.handleAll([](const auto&) { return MockResponse(200).stall(Moment::beforeStatusLine); });
  configuration_.connections.maximumConnections = 1;
  use();
  auto holding = send(busy);
  ASSERT_TRUE(busy.waitForStall());

  const auto waiting = LimitedGet{.url = other.url()}.send({.deadline = 5});
  ASSERT_TRUE(clock.waitForTimers(1));
  clock.advance(5);

  const auto result = waiting.result();
  ASSERT_TRUE(result.error());
  EXPECT_EQ(result.error()->code(), URLErrorCode::timedOut);
  EXPECT_EQ(other.connectionCount(), 0);
  holding.cancel();
  EXPECT_TRUE(holding.result().error());
}

TEST_F(LimitedRequestTest, areSpacedByTheLimitOfRequestsPerSecond) {
  NetworkTime time;
  TestServer server;
  server.handleAll([](const auto& request) { return MockResponse(200).text(request.target); });
  configuration_.connections.maximumRequestsPerSecondPerHost = 0.5;
  use();
  std::vector<Sent> futures;
  for (int count = 0; count < 3; ++count) futures.push_back(send(server));

  ASSERT_TRUE(server.waitForRequests(1));
  time.settle();
  EXPECT_EQ(server.requestCount(), 1);
  time.pass(1999ms);
  EXPECT_EQ(server.requestCount(), 1);
  time.pass(1ms);
  ASSERT_TRUE(server.waitForRequests(2));
  time.pass(2s);
  ASSERT_TRUE(server.waitForRequests(3));
  for (auto& future : futures) EXPECT_EQ(future.get().body.text(), "/");
}

TEST_F(LimitedRequestTest, thatWaitForTheirTurnCanBeCancelled) {
  NetworkTime time;
  TestServer server;
  server.handleAll([](const auto& request) { return MockResponse(200).text(request.target); });
  configuration_.connections.maximumRequestsPerSecondPerHost = 1;
  use();
  EXPECT_EQ(send(server, "/first").get().body.text(), "/first");

  auto waiting = send(server, "/second");
  time.settle();
  waiting.cancel();
  EXPECT_TRUE(waiting.result().error());

  time.pass(1s);
  EXPECT_EQ(send(server, "/third").get().body.text(), "/third");
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(LimitedRequestTest, moveWholeBodiesWithinALimitOfBytes) {
  TestServer server;
  const std::string sent(100'000, 'u');
  const std::string received(200'000, 'd');
  server.handleAll(
      [&](const ReceivedRequest& request) { return MockResponse(request.body == sent ? 200 : 400).text(received); });
  configuration_.connections.maximumBytesPerSecond = 3'000'000;
  use();

  std::vector<decltype(std::declval<LimitedPost>().send())> futures;
  for (int count = 0; count < 3; ++count)
    futures.push_back(LimitedPost{.url = server.url(), .body = Data(sent)}.send());

  for (auto& future : futures) EXPECT_EQ(future.get().body.text(), received);
}

TEST_F(LimitedRequestTest, thatAreHeldBackCanBeCancelledAndHaveTheirDeadline) {
  NetworkTime time;
  platform::detail::ManualClock clock;
  TestServer server;
  configuration_.connections.maximumBytesPerSecond = 1;
  use();
  auto cancelled = send(server);
  ASSERT_TRUE(server.waitForConnections(1));
  time.settle();
  cancelled.cancel();
  EXPECT_TRUE(cancelled.result().error());

  const auto late = LimitedGet{.url = server.url()}.send({.deadline = 5});
  ASSERT_TRUE(clock.waitForTimers(1));
  clock.advance(5);
  const auto result = late.result();
  ASSERT_TRUE(result.error());
  EXPECT_EQ(result.error()->code(), URLErrorCode::timedOut);
  EXPECT_EQ(server.requestCount(), 0);
}

}  // namespace
}  // namespace corvane
