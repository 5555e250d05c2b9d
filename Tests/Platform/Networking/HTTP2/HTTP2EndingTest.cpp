#include <nghttp2/nghttp2.h>

#include <cerrno>

#include "HTTP2PeerTest.hpp"

namespace platform::networking {
namespace {

using HTTP2EndingTest = HTTP2PeerTest;

TEST_F(HTTP2EndingTest, drainsWhenTheServerGoesAway) {
  RecordedExchange seen;
  RecordedExchange notSeen;
  begin(seen);
  begin(notSeen);

  server->goAway(1);
  settle();
  EXPECT_EQ(retired, 1);
  EXPECT_EQ(connection->capacity(), 0U);
  ASSERT_TRUE(notSeen.failure);
  EXPECT_EQ(notSeen.failure->failure.cause, FailureCause::notProcessed);
  EXPECT_EQ(notSeen.failure->delivery, Delivery::notProcessed);
  EXPECT_EQ(seen.outcomes, 0);
  EXPECT_EQ(closed, 0);

  server->respond(1, {{":status", "200"}}, "last");
  settle();

  EXPECT_EQ(seen.received, "last");
  EXPECT_TRUE(seen.hasEnded());
  EXPECT_EQ(closed, 1);
  EXPECT_TRUE(wire.isShutDown());
}

TEST_F(HTTP2EndingTest, handsBackWhatWasNotSentWhenTheServerGoesAway) {
  RecordedExchange seen;
  begin(seen);
  wire.allowWrites(0);
  RecordedExchange waiting;
  start(waiting);
  RecordedExchange queued;
  start(queued);

  server->goAway(1);
  server->send();
  run();

  ASSERT_TRUE(queued.failure);
  EXPECT_EQ(queued.failure->delivery, Delivery::notProcessed);
  ASSERT_TRUE(waiting.failure);
  EXPECT_EQ(waiting.failure->delivery, Delivery::notProcessed);
  EXPECT_EQ(seen.outcomes, 0);
}

TEST_F(HTTP2EndingTest, saysThatARefusedStreamWasNotLookedAt) {
  RecordedExchange exchange("POST");
  ScriptedBody body("payload");
  exchange.with(body);
  begin(exchange);

  server->reset(1, NGHTTP2_REFUSED_STREAM);
  settle();

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.cause, FailureCause::notProcessed);
  EXPECT_EQ(exchange.failure->delivery, Delivery::notProcessed);
  EXPECT_FALSE(exchange.failure->responseBegan);
  EXPECT_EQ(connection->capacity(), 100U);
}

TEST_F(HTTP2EndingTest, failsAnExchangeWhoseStreamIsReset) {
  RecordedExchange exchange;
  begin(exchange);
  server->begin(1, {{":status", "200"}});
  server->write(1, "half");
  settle();

  server->reset(1, NGHTTP2_INTERNAL_ERROR);
  settle();

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.cause, FailureCause::streamReset);
  EXPECT_EQ(exchange.failure->failure.message, "the server reset the HTTP/2 stream (INTERNAL_ERROR)");
  EXPECT_EQ(exchange.failure->delivery, Delivery::unknown);
  EXPECT_TRUE(exchange.failure->responseBegan);
  EXPECT_EQ(closed, 0);
}

TEST_F(HTTP2EndingTest, failsWhatIsUnderWayWhenTheConnectionEnds) {
  RecordedExchange begun;
  RecordedExchange untouched;
  begin(begun);
  server->begin(1, {{":status", "200"}});
  server->write(1, "half");
  settle();
  wire.allowWrites(0);
  start(untouched);

  wire.receiveEnd();

  ASSERT_TRUE(begun.failure);
  EXPECT_EQ(begun.failure->failure.cause, FailureCause::connectionLost);
  EXPECT_EQ(begun.failure->delivery, Delivery::unknown);
  EXPECT_TRUE(begun.failure->responseBegan);
  ASSERT_TRUE(untouched.failure);
  EXPECT_EQ(untouched.failure->delivery, Delivery::nothingSent);
  EXPECT_EQ(begun.outcomes, 1);
  EXPECT_EQ(retired, 1);
  EXPECT_EQ(closed, 1);
}

TEST_F(HTTP2EndingTest, readsWhatTheServerSaidBeforeWritingFails) {
  RecordedExchange exchange("POST");
  ScriptedBody body;
  exchange.with(body, false);
  begin(exchange);
  server->respond(1, {{":status", "413"}}, "too much");
  wire.queue(server->ready());
  wire.failWritesAfter(0, {FailureCause::connectionLost, "broken pipe", EPIPE});

  body.give("more");
  connection->bodyReady(exchange);
  run();

  EXPECT_EQ(exchange.status, 413);
  EXPECT_EQ(exchange.received, "too much");
  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_EQ(closed, 1);
}

TEST_F(HTTP2EndingTest, closesAtOnceWhenItIsRetiredIdle) {
  settle();

  connection->retire();

  EXPECT_EQ(closed, 1);
  EXPECT_EQ(retired, 1);
}

TEST_F(HTTP2EndingTest, closesAfterItsLastExchangeWhenItIsRetired) {
  RecordedExchange exchange;
  exchange.onOutcome = [&] { connection->retire(); };
  RecordedExchange last;
  begin(exchange);
  begin(last);

  server->respond(1, {{":status", "200"}});
  settle();
  EXPECT_EQ(retired, 1);
  EXPECT_EQ(closed, 0);
  connection->cancel(last);
  settle();

  EXPECT_EQ(closed, 1);
}

TEST_F(HTTP2EndingTest, closesWhenTheServerEndsAnIdleConnection) {
  RecordedExchange exchange;
  begin(exchange);
  server->respond(1, {{":status", "200"}});
  settle();

  wire.receiveEnd();

  EXPECT_EQ(retired, 1);
  EXPECT_EQ(closed, 1);
}

}  // namespace
}  // namespace platform::networking
