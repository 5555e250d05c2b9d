#include <cmath>

#include "CorvaneTesting/Ports.hpp"
#include "SessionTest.hpp"
#include "TestSupport/HeldLookUps.hpp"
#include "TestSupport/NetworkTime.hpp"

namespace platform {
namespace {

using namespace std::chrono_literals;
using corvane::testkit::Latch;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::NetworkTime;

/// By a clock that is set by hand.
class ConnectTimeoutTest : public SessionTest {
 protected:
  static URLRequest requestTo(const std::string& url, double connectTimeout = 2) {
    URLRequest request{URL(url)};
    request.connectTimeout = connectTimeout;
    return request;
  }
  /// Expects that a load under way ends when its connect time-out has passed, and not before.
  void expectTimeOut(Load& loading) {
    time.pass(2s - 1ms);
    EXPECT_FALSE(loading.isDone());
    time.pass(1ms);
    const Loaded loaded = loading.wait();
    EXPECT_EQ(loaded.code(), URLErrorCode::timedOut) << loaded.message();
    EXPECT_EQ(loaded.message(), "there was no connection within 2 seconds");
    EXPECT_EQ(loaded.error->userInfo().find(URLErrorKey::requestWasSent)->boolean(), false);
  }

  NetworkTime time;
};

TEST_F(ConnectTimeoutTest, endsAConnectThatIsNotAnswered) {
  const corvane::testkit::SilentPort silent;
  Load loading(session, requestTo(silent.url()));
  loading.resume();
  time.settle();

  expectTimeOut(loading);
}

TEST_F(ConnectTimeoutTest, endsAHandshakeThatIsNotAnswered) {
  corvane::testkit::TestServer silent;
  silent.handleAll([](const auto&) { return MockResponse(200).stall(Moment::onAccept); });
  Load loading(session, requestTo("https://" + silent.authority() + "/"));
  loading.resume();
  ASSERT_TRUE(silent.waitForConnections(1));
  time.settle();

  expectTimeOut(loading);
}

TEST_F(ConnectTimeoutTest, endsALookUpThatStandsStill) {
  corvane::testkit::HeldLookUps lookUps;
  Load loading(session, requestTo("http://connect." + std::string(lookUps.name) + "/"));
  loading.resume();
  ASSERT_TRUE(lookUps.waitForWaiting(1));

  expectTimeOut(loading);
}

TEST_F(ConnectTimeoutTest, isOverOnceThereIsAConnection) {
  Latch latch;
  server.enqueue(MockResponse(200).body("slow").hold(Moment::beforeStatusLine, latch));
  Load loading(session, requestTo(server.url()));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  time.pass(59s);
  EXPECT_FALSE(loading.isDone());
  latch.open();

  EXPECT_EQ(loading.wait().body(), "slow");
}

TEST_F(ConnectTimeoutTest, doesNotCountWaitingForATurn) {
  session = makeSession({.httpMaximumConnectionsPerHost = 1});
  Latch latch;
  server.enqueue(MockResponse(200).body("first").hold(Moment::beforeStatusLine, latch));
  server.enqueue(MockResponse(200).body("second"));
  Load first(session, requestTo(server.url("/first")));
  Load second(session, requestTo(server.url("/second")));
  first.resume();
  ASSERT_TRUE(server.waitForStall());
  second.resume();

  time.pass(50s);
  latch.open();

  EXPECT_EQ(first.wait().body(), "first");
  EXPECT_EQ(second.wait().body(), "second");
}

TEST_F(ConnectTimeoutTest, mustBePositive) {
  for (const double nonsense : {0.0, -1.0, std::nan("")}) {
    Load loading(session, requestTo(server.url(), nonsense));
    loading.resume();

    const Loaded loaded = loading.wait();
    EXPECT_EQ(loaded.code(), URLErrorCode::badURL);
    EXPECT_EQ(loaded.message(), "The request's connect time-out must be a positive number of seconds.");
  }
}

}  // namespace
}  // namespace platform
