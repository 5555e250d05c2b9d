#include "SessionTest.hpp"

namespace platform {
namespace {

using corvane::testing::MockResponse;
using corvane::testing::Moment;
using Clock = std::chrono::steady_clock;

class TimeoutTest : public SessionTest {
 protected:
  struct Timed {
    Loaded loaded;
    double seconds;
  };
  Timed loadTimed(double timeout, std::string target = "/") {
    const auto start = Clock::now();
    Loaded loaded = load(URLRequest(URL(server.url(target)), URLRequestCachePolicy::useProtocolCachePolicy, timeout));
    return {std::move(loaded), std::chrono::duration<double>(Clock::now() - start).count()};
  }
};

// The upper bounds are wide, since a machine may stand still; that it is not early is exact.

TEST_F(TimeoutTest, endsAWaitForTheFirstByte) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));

  const Timed timed = loadTimed(0.3);

  EXPECT_EQ(timed.loaded.code(), URLErrorCode::timedOut) << timed.loaded.message();
  EXPECT_GE(timed.seconds, 0.299);
  EXPECT_LT(timed.seconds, 5);
}

TEST_F(TimeoutTest, endsAWaitInsideTheBody) {
  server.enqueue(MockResponse(200).body("0123456789").stall(Moment::insideBody, 5));

  const Timed timed = loadTimed(0.3);

  EXPECT_EQ(timed.loaded.code(), URLErrorCode::timedOut) << timed.loaded.message();
  EXPECT_EQ(timed.loaded.status(), 200);
  EXPECT_EQ(timed.loaded.body(), "01234");
  EXPECT_GE(timed.seconds, 0.299);
}

TEST_F(TimeoutTest, countsIdlenessAndNotTheWhole) {
  // 20 bytes, one every 50 ms: longer in all than the time-out, never idle for that long.
  server.enqueue(MockResponse(200).body(std::string(20, 'x')).throttle(1, std::chrono::milliseconds(50)));

  const Timed timed = loadTimed(0.6);

  EXPECT_FALSE(timed.loaded.error) << timed.loaded.message();
  EXPECT_GT(timed.seconds, 0.6);
}

TEST_F(TimeoutTest, waitingForAConnectionDoesNotCount) {
  session = makeSession({.httpMaximumConnectionsPerHost = 1});
  corvane::testing::Latch latch;
  server.enqueue(MockResponse(200).body("first").hold(Moment::beforeStatusLine, latch));
  server.enqueue(MockResponse(200).body("second"));
  Load first(session, URLRequest(URL(server.url("/first"))));
  Load second(session, URLRequest(URL(server.url("/second")), URLRequestCachePolicy::useProtocolCachePolicy, 0.2));
  first.resume();
  ASSERT_TRUE(server.waitForStall());
  second.resume();
  // Something that takes longer than the waiting request's time-out, and is an event.
  EXPECT_EQ(
      Load(makeSession(), URLRequest(URL(server.url("/late")), URLRequestCachePolicy::useProtocolCachePolicy, 0.5))
          .task()
          .state(),
      URLSessionTask::State::suspended);
  corvane::testing::TestServer slow;
  slow.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  EXPECT_EQ(Load(makeSession(), URLRequest(URL(slow.url("/")), URLRequestCachePolicy::useProtocolCachePolicy, 0.5))
                .resume()
                .wait()
                .code(),
            URLErrorCode::timedOut);

  latch.open();

  EXPECT_EQ(first.wait().body(), "first");
  EXPECT_EQ(second.wait().body(), "second");
}

TEST_F(TimeoutTest, endsAConnectThatIsNotAnswered) {
  // A listener whose backlog is full responses nothing on this address; the handshake of TLS is simpler to stall.
  server.enqueue(MockResponse(200));
  corvane::testing::TestServer silent;
  silent.handleAll([](const auto&) { return MockResponse(200).stall(Moment::onAccept); });
  const auto start = Clock::now();
  // The server waits for an HTTP request while the client waits for a ServerHello.
  const Loaded loaded =
      load(URLRequest(URL("https://" + silent.authority() + "/"), URLRequestCachePolicy::useProtocolCachePolicy, 0.3));

  EXPECT_NE(loaded.code(), 0);
  EXPECT_LT(std::chrono::duration<double>(Clock::now() - start).count(), 5);
}

TEST_F(TimeoutTest, leavesTheSessionUsable) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  server.enqueue(MockResponse(200).body("fine"));
  loadTimed(0.1);

  EXPECT_EQ(load("/").body(), "fine");
}

}  // namespace
}  // namespace platform
