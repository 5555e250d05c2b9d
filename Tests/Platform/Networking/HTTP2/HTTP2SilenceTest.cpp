#include "HTTP2PeerTest.hpp"

namespace platform::networking {
namespace {

using namespace std::chrono_literals;

/// By a clock that is set by hand.
class HTTP2SilenceTest : public HTTP2PeerTest {
 protected:
  HTTP2SilenceTest() { settle(); }
  void pass(Duration interval) {
    clock.advance(interval);
    run();
  }

  ManualNetworkClock clock;
};

TEST_F(HTTP2SilenceTest, isAskedForASignOfLife) {
  RecordedExchange exchange;
  begin(exchange);
  const int progress = exchange.progress;

  pass(14s);
  settle();
  EXPECT_EQ(server->pings(), 0);
  pass(2s);
  settle();
  EXPECT_EQ(server->pings(), 1);
  pass(29s);
  settle();

  EXPECT_EQ(exchange.outcomes, 0);
  EXPECT_EQ(exchange.progress, progress);
  EXPECT_EQ(closed, 0);
}

TEST_F(HTTP2SilenceTest, thatLastsEndsTheConnection) {
  RecordedExchange exchange;
  begin(exchange);

  pass(16s);
  wire.takeWritten();
  pass(16s);

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.cause, FailureCause::connectionLost);
  EXPECT_EQ(exchange.failure->failure.message, "the server does not answer a ping over HTTP/2");
  EXPECT_EQ(closed, 1);
}

TEST_F(HTTP2SilenceTest, isNothingWhileNobodyWaits) {
  RecordedExchange exchange;
  begin(exchange);
  server->respond(1, {{":status", "200"}});
  settle();

  for (int i = 0; i < 10; ++i) pass(16s);
  settle();

  EXPECT_EQ(server->pings(), 0);
  EXPECT_EQ(closed, 0);
  RecordedExchange next;
  begin(next);
  pass(1s);
  settle();
  EXPECT_EQ(server->pings(), 0);
}

TEST_F(HTTP2SilenceTest, isMeasuredAnewForTheNextExchange) {
  RecordedExchange cancelled;
  begin(cancelled);
  pass(16s);
  connection->cancel(cancelled);
  pass(16s);
  RecordedExchange next;
  start(next);

  pass(16s);
  EXPECT_EQ(next.outcomes, 0);
  settle();
  pass(29s);

  EXPECT_EQ(next.outcomes, 0);
  EXPECT_EQ(closed, 0);
}

TEST_F(HTTP2SilenceTest, ofAServerThatDoesNotReadIsNoQuestionOfPings) {
  wire.allowWrites(0);
  RecordedExchange exchange;
  start(exchange);

  for (int i = 0; i < 10; ++i) pass(16s);

  EXPECT_EQ(exchange.outcomes, 0);
  EXPECT_EQ(closed, 0);
}

TEST_F(HTTP2SilenceTest, ofAnExchangeIsNotEndedByOthers) {
  RecordedExchange silent;
  RecordedExchange busy;
  begin(silent);
  begin(busy);
  server->begin(3, {{":status", "200"}});
  const int progress = silent.progress;

  for (int i = 0; i < 10; ++i) {
    server->write(3, "x");
    server->openWindow(1, 10);
    server->announceStreamLimit(50);
    settle();
  }

  EXPECT_EQ(silent.progress, progress);
  EXPECT_GE(busy.progress, 10);
}

}  // namespace
}  // namespace platform::networking
