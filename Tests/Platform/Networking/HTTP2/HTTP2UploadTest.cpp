#include <nghttp2/nghttp2.h>

#include <deque>

#include "HTTP2PeerTest.hpp"

namespace platform::networking {
namespace {

using testing::IsEmpty;

using HTTP2UploadTest = HTTP2PeerTest;

TEST_F(HTTP2UploadTest, sendsABodyOfKnownLength) {
  for (const bool isPeekable : {false, true}) {
    const std::string text(100'000, isPeekable ? 'p' : 'r');
    ScriptedBody body(text, isPeekable);
    RecordedExchange exchange("POST");
    exchange.with(body);

    begin(exchange);

    const auto& request = server->requests().back();
    EXPECT_EQ(request.field("content-length"), "100000");
    EXPECT_EQ(request.body, text);
    EXPECT_TRUE(request.isComplete);
    EXPECT_EQ(exchange.sent, 100'000U);
    EXPECT_EQ(exchange.requestsEnded, 1);
  }
}

TEST_F(HTTP2UploadTest, announcesAnEmptyBody) {
  RecordedExchange exchange("POST");
  ScriptedBody body("");
  exchange.with(body);

  begin(exchange);

  EXPECT_EQ(server->request(0).field("content-length"), "0");
  EXPECT_TRUE(server->request(0).isComplete);
  EXPECT_EQ(exchange.requestsEnded, 1);
}

TEST_F(HTTP2UploadTest, sendsABodyAsItsPiecesCome) {
  ScriptedBody body;
  RecordedExchange exchange("POST");
  exchange.with(body, false);
  begin(exchange);
  EXPECT_EQ(server->request(0).field("content-length"), "");
  EXPECT_FALSE(server->request(0).isComplete);

  body.give("one ");
  connection->bodyReady(exchange);
  settle();
  EXPECT_EQ(server->request(0).body, "one ");
  EXPECT_EQ(exchange.sent, 4U);
  body.give("two");
  body.finish();
  connection->bodyReady(exchange);
  settle();

  EXPECT_EQ(server->request(0).body, "one two");
  EXPECT_TRUE(server->request(0).isComplete);
  EXPECT_EQ(exchange.requestsEnded, 1);
}

TEST_F(HTTP2UploadTest, isNotAskedWhileThePiecesArePending) {
  ScriptedBody body;
  RecordedExchange exchange("POST");
  exchange.with(body, false);
  begin(exchange);
  const int asked = body.asked();
  const int writes = wire.writes();

  for (int iteration = 0; iteration < 100; ++iteration) loop.iterate(Duration::zero());

  EXPECT_EQ(body.asked(), asked);
  EXPECT_EQ(wire.writes(), writes);
}

TEST_F(HTTP2UploadTest, waitsForAWindowWithoutSpinning) {
  serveWith({.windowBytes = 0});
  settle();
  ScriptedBody body("payload");
  RecordedExchange exchange("POST");
  exchange.with(body);
  begin(exchange);
  EXPECT_EQ(server->request(0).body, "");
  const int progress = exchange.progress;
  const int writes = wire.writes();
  const int reads = wire.reads();

  for (int iteration = 0; iteration < 100; ++iteration) loop.iterate(Duration::zero());
  EXPECT_EQ(wire.writes(), writes);
  EXPECT_EQ(wire.reads(), reads);
  server->openWindow(1, 3);
  server->send();
  EXPECT_EQ(exchange.progress, progress + 1);  // by the three bytes, not by the window
  server->openWindow(1, 1000);
  settle();

  EXPECT_EQ(server->request(0).body, "payload");
  EXPECT_TRUE(server->request(0).isComplete);
}

TEST_F(HTTP2UploadTest, tellsOfWhatWasGivenToTheSystemOnly) {
  const std::string text(50'000, 'x');
  ScriptedBody body(text);
  RecordedExchange exchange("POST");
  exchange.with(body);
  settle();
  wire.allowWrites(20'000);

  start(exchange);
  EXPECT_EQ(exchange.requestsEnded, 0);
  EXPECT_GT(exchange.sent, 19'000U);
  EXPECT_LT(exchange.sent, 20'000U);
  wire.allowWrites(MemoryWire::unlimited);
  settle();

  EXPECT_EQ(exchange.sent, 50'000U);
  EXPECT_EQ(exchange.requestsEnded, 1);
  EXPECT_EQ(server->request(0).body, text);
}

TEST_F(HTTP2UploadTest, sharesTheConnectionAmongUploads) {
  std::deque<ScriptedBody> bodies;
  std::deque<RecordedExchange> exchanges;
  for (int i = 0; i < 8; ++i) {
    bodies.emplace_back(std::string(300'000, static_cast<char>('a' + i)));
    connection->start(exchanges.emplace_back("PUT").with(bodies.back()));
  }
  settle();

  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(server->request(i).body, std::string(300'000, static_cast<char>('a' + i)));
    EXPECT_EQ(exchanges[i].sent, 300'000U);
    EXPECT_EQ(exchanges[i].requestsEnded, 1);
  }
}

TEST_F(HTTP2UploadTest, endsWithACompleteResponse) {
  for (const bool isResetToo : {false, true}) {
    ScriptedBody body;
    RecordedExchange exchange("POST");
    exchange.with(body, false);
    begin(exchange);
    const auto id = server->requests().back().id;

    server->respond(id, {{":status", "200"}}, "enough");
    if (isResetToo) server->write(id, "", true);
    server->send();
    if (isResetToo) {
      server->reset(id, NGHTTP2_NO_ERROR);
      server->send();
    }
    settle();

    EXPECT_EQ(exchange.status, 200);
    EXPECT_EQ(exchange.received, "enough");
    EXPECT_TRUE(exchange.hasEnded());
    EXPECT_EQ(connection->active(), 0U);
    EXPECT_EQ(connection->capacity(), 100U);
    const int writes = wire.writes();
    for (int iteration = 0; iteration < 100; ++iteration) loop.iterate(Duration::zero());
    EXPECT_EQ(wire.writes(), writes);
  }
}

TEST_F(HTTP2UploadTest, endsWithACompleteResponseWhileTheWindowIsShut) {
  serveWith({.windowBytes = 10, .givesWindowsBack = false});
  settle();
  ScriptedBody body(std::string(1'000, 'x'));
  RecordedExchange exchange("POST");
  exchange.with(body);
  begin(exchange);

  server->respond(1, {{":status", "200"}});
  settle();

  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_TRUE(server->request(0).isReset);
  EXPECT_EQ(exchange.sent, 10U);
}

TEST_F(HTTP2UploadTest, stopsForARefusalAndReadsIt) {
  ScriptedBody body;
  RecordedExchange exchange("POST");
  exchange.with(body, false);
  begin(exchange);
  server->begin(1, {{":status", "403"}});
  server->write(1, "no");
  settle();

  body.give("unwanted");
  body.finish();
  connection->bodyReady(exchange);
  settle();
  EXPECT_EQ(server->request(0).body, "");
  server->write(1, " way", true);
  settle();

  EXPECT_EQ(exchange.received, "no way");
  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_TRUE(server->request(0).isReset);
}

TEST_F(HTTP2UploadTest, goesOnAfterAResponseThatAccepts) {
  ScriptedBody body;
  RecordedExchange exchange("POST");
  exchange.with(body, false);
  begin(exchange);
  server->begin(1, {{":status", "200"}});
  server->write(1, "so ");
  settle();

  body.give("all of it");
  body.finish();
  connection->bodyReady(exchange);
  settle();
  EXPECT_EQ(server->request(0).body, "all of it");
  server->write(1, "far", true);
  settle();

  EXPECT_EQ(exchange.received, "so far");
  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_FALSE(server->request(0).isReset);
}

TEST_F(HTTP2UploadTest, failsWhenItsBodyCannotBeRead) {
  ScriptedBody body;
  body.failNext();
  RecordedExchange exchange("POST");
  exchange.with(body, false);

  begin(exchange);

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.cause, FailureCause::requestBody);
  EXPECT_EQ(exchange.outcomes, 1);
  EXPECT_TRUE(server->request(0).isReset);
  EXPECT_EQ(connection->capacity(), 100U);
}

TEST_F(HTTP2UploadTest, failsWhenItsBodyIsShorterThanAnnounced) {
  ScriptedBody body("short");
  RecordedExchange exchange("POST");
  exchange.contentLength = 10;
  exchange.with(body, false);

  begin(exchange);

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.cause, FailureCause::requestBody);
  EXPECT_FALSE(server->request(0).isComplete);
}

TEST_F(HTTP2UploadTest, forgetsWhatIsWrittenAfterItsExchangeIsGone) {
  ScriptedBody body(std::string(30'000, 'x'));
  auto exchange = std::make_unique<RecordedExchange>("POST");
  exchange->with(body);
  settle();
  wire.allowWrites(5'000);
  start(*exchange);

  connection->cancel(*exchange);
  exchange.reset();
  wire.allowWrites(MemoryWire::unlimited);
  settle();

  EXPECT_TRUE(server->request(0).isReset);
  EXPECT_EQ(connection->capacity(), 100U);
}

}  // namespace
}  // namespace platform::networking
