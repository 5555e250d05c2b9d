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

/// By a clock that is set by hand: nothing is early by a millisecond, and nothing has to be waited for.
class TimeoutTest : public SessionTest {
 protected:
  static URLRequest requestTo(const std::string& url, double timeout = 60) {
    return {URL(url), URLRequestCachePolicy::useProtocolCachePolicy, timeout};
  }
  /// Expects that a load under way ends when its time-out has passed, and not before.
  void expectTimeOut(Load& loading, NetworkTime::Duration timeout = 60s) {
    time.pass(timeout - 1ms);
    EXPECT_FALSE(loading.isDone());
    time.pass(1ms);
    const Loaded loaded = loading.wait();
    EXPECT_EQ(loaded.code(), URLErrorCode::timedOut) << loaded.message();
  }

  NetworkTime time;
};

TEST_F(TimeoutTest, endsAWaitForTheFirstByte) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, requestTo(server.url()));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  expectTimeOut(loading);
}

TEST_F(TimeoutTest, isAnyTimeOfATenthOfASecondAndMore) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, requestTo(server.url(), 0.1));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  expectTimeOut(loading, 100ms);
}

TEST_F(TimeoutTest, endsAWaitInsideTheBody) {
  server.enqueue(MockResponse(200).body("0123456789").stall(Moment::insideBody, 5));
  Load loading(session, requestTo(server.url()));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());

  time.pass(60s);

  const Loaded loaded = loading.wait();
  EXPECT_EQ(loaded.code(), URLErrorCode::timedOut) << loaded.message();
  EXPECT_EQ(loaded.status(), 200);
  EXPECT_EQ(loaded.body(), "01234");
}

TEST_F(TimeoutTest, countsIdlenessAndNotTheWhole) {
  Latch latch;
  std::promise<void> goOn;
  server.handleAll([latch, goesOn = goOn.get_future().share()](const auto&) {
    goesOn.wait();
    return MockResponse(200).body("0123456789").hold(Moment::insideBody, latch, 5);
  });
  Load loading(session, requestTo(server.url()));
  loading.resume();
  ASSERT_TRUE(server.waitForRequests(1));
  time.pass(59s);
  goOn.set_value();
  ASSERT_TRUE(server.waitForStall());
  time.pass(59s);
  EXPECT_FALSE(loading.isDone());

  latch.open();

  EXPECT_EQ(loading.wait().body(), "0123456789");
}

TEST_F(TimeoutTest, waitingForAConnectionDoesNotCount) {
  session = makeSession({.httpMaximumConnectionsPerHost = 1});
  Latch latch;
  server.enqueue(MockResponse(200).body("first").hold(Moment::beforeStatusLine, latch));
  server.enqueue(MockResponse(200).body("second"));
  Load first(session, requestTo(server.url("/first")));
  Load second(session, requestTo(server.url("/second"), 0.2));
  first.resume();
  ASSERT_TRUE(server.waitForStall());
  second.resume();

  time.pass(50s);
  EXPECT_FALSE(second.isDone());
  latch.open();

  EXPECT_EQ(first.wait().body(), "first");
  EXPECT_EQ(second.wait().body(), "second");
}

TEST_F(TimeoutTest, endsAConnectThatIsNotAnswered) {
  const corvane::testkit::SilentPort silent;
  Load loading(session, requestTo(silent.url()));
  loading.resume();
  time.settle();

  expectTimeOut(loading);
}

TEST_F(TimeoutTest, endsAHandshakeThatIsNotAnswered) {
  // The server waits for an HTTP request while the client waits for a ServerHello.
  corvane::testkit::TestServer silent;
  silent.handleAll([](const auto&) { return MockResponse(200).stall(Moment::onAccept); });
  Load loading(session, requestTo("https://" + silent.authority() + "/"));
  loading.resume();
  ASSERT_TRUE(silent.waitForConnections(1));

  time.pass(60s);

  EXPECT_NE(loading.wait().code(), 0);
}

TEST_F(TimeoutTest, endsALookUpThatStandsStill) {
  corvane::testkit::HeldLookUps lookUps;
  Load loading(session, requestTo("http://timeout." + std::string(lookUps.name) + "/"));
  loading.resume();
  ASSERT_TRUE(lookUps.waitForWaiting(1));

  expectTimeOut(loading);
}

TEST_F(TimeoutTest, leavesTheSessionUsable) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  server.enqueue(MockResponse(200).body("fine"));
  Load loading(session, requestTo(server.url()));
  loading.resume();
  ASSERT_TRUE(server.waitForStall());
  expectTimeOut(loading);

  EXPECT_EQ(load("/").body(), "fine");
}

TEST_F(TimeoutTest, isThatOfAnIdleConnectionAfterNinetySeconds) {
  server.handleAll([](const auto&) { return MockResponse(200).body("fine"); });
  ASSERT_EQ(load("/").body(), "fine");

  time.pass(89s);
  EXPECT_EQ(load("/").body(), "fine");
  EXPECT_EQ(server.connectionCount(), 1);
  time.pass(90s);

  EXPECT_TRUE(server.waitUntilAllClosed());
}

}  // namespace
}  // namespace platform
