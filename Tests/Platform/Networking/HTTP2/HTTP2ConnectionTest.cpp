#include "Platform/Networking/HTTP2/HTTP2Connection.hpp"

#include <deque>

#include "HTTP2PeerTest.hpp"

namespace platform::networking {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::Pair;

using HTTP2ConnectionTest = HTTP2PeerTest;

TEST_F(HTTP2ConnectionTest, sendsTheRequestAndTellsOfTheResponse) {
  RecordedExchange exchange("GET", "/users?id=7");
  exchange.with("Accept", "text/plain").with("Connection", "close").with("X-Note", "a b");

  begin(exchange);
  server->respond(1, {{":status", "200"}, {"content-type", "text/plain"}, {"content-length", "5"}}, "hello");
  settle();

  EXPECT_THAT(server->request(0).fields,
              ElementsAre(Pair(":method", "GET"), Pair(":scheme", "http"), Pair(":authority", "example.org"),
                          Pair(":path", "/users?id=7"), Pair("accept", "text/plain"), Pair("x-note", "a b")));
  EXPECT_TRUE(server->request(0).isComplete);
  EXPECT_EQ(exchange.begun, 1);
  EXPECT_EQ(exchange.requestsEnded, 1);
  EXPECT_EQ(exchange.status, 200);
  EXPECT_EQ(exchange.bodyLength, 5);
  EXPECT_TRUE(exchange.hasBody);
  EXPECT_EQ(exchange.field("content-type"), "text/plain");
  EXPECT_THAT(exchange.fields, Not(Contains(Key(":status"))));
  EXPECT_EQ(exchange.received, "hello");
  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_EQ(connection->active(), 0U);
  EXPECT_EQ(connection->started(), 1U);
}

TEST_F(HTTP2ConnectionTest, replacesTheAuthorityByAHostField) {
  RecordedExchange exchange;
  exchange.with("Host", "other.example:81");

  begin(exchange);

  EXPECT_EQ(server->request(0).field(":authority"), "other.example:81");
  EXPECT_THAT(server->request(0).fields, Not(Contains(Key("host"))));
}

TEST_F(HTTP2ConnectionTest, writesAllRequestsOfATurnAtOnce) {
  std::deque<RecordedExchange> exchanges;
  for (int i = 0; i < 64; ++i) connection->start(exchanges.emplace_back());

  run();

  EXPECT_EQ(wire.writes(), 1);
  settle();
  EXPECT_EQ(server->requests().size(), 64U);
  for (const auto& request : server->requests()) server->respond(request.id, {{":status", "204"}});
  settle();
  for (const RecordedExchange& exchange : exchanges) EXPECT_TRUE(exchange.hasEnded());
  EXPECT_EQ(connection->capacity(), 100U);
}

TEST_F(HTTP2ConnectionTest, keepsResponsesThatComeTogetherApart) {
  RecordedExchange first;
  RecordedExchange second;
  begin(first);
  begin(second);

  for (const int id : {1, 3}) server->begin(id, {{":status", "200"}});
  server->write(3, "b1");
  server->write(1, "a1");
  settle();
  server->write(1, "a2", true);
  settle();

  EXPECT_EQ(first.received, "a1a2");
  EXPECT_TRUE(first.hasEnded());
  EXPECT_EQ(second.received, "b1");
  EXPECT_EQ(second.outcomes, 0);
  server->write(3, "b2", true);
  settle();
  EXPECT_EQ(second.received, "b1b2");
  EXPECT_EQ(second.bodyLength, -1);
  EXPECT_TRUE(second.hasEnded());
}

TEST_F(HTTP2ConnectionTest, understandsAResponseHoweverItIsCut) {
  RecordedExchange first;
  RecordedExchange second;
  begin(first);
  begin(second);
  server->respond(1, {{":status", "200"}, {"x-a", "1"}}, "hello", {{"x-sum", "9"}});
  server->respond(3, {{":status", "404"}}, "no");

  wire.receiveByteByByte(server->ready());
  settle();

  EXPECT_EQ(first.received, "hello");
  EXPECT_THAT(first.trailing, ElementsAre(Pair("x-sum", "9")));
  EXPECT_TRUE(first.hasEnded());
  EXPECT_EQ(second.status, 404);
  EXPECT_TRUE(second.hasEnded());
}

TEST_F(HTTP2ConnectionTest, passesInterimResponsesOver) {
  RecordedExchange exchange;
  begin(exchange);
  server->respondInterim(1, {{":status", "103"}, {"link", "</a>"}});
  settle();
  EXPECT_EQ(exchange.heads, 0);
  const int before = exchange.progress;

  server->respondInterim(1, {{":status", "100"}});
  settle();
  EXPECT_GT(exchange.progress, before);
  server->respond(1, {{":status", "200"}}, "x");
  settle();

  EXPECT_EQ(exchange.heads, 1);
  EXPECT_THAT(exchange.fields, IsEmpty());
  EXPECT_TRUE(exchange.hasEnded());
}

TEST_F(HTTP2ConnectionTest, knowsWhichResponsesHaveNoBody) {
  RecordedExchange head("HEAD");
  RecordedExchange notModified;
  begin(head);
  begin(notModified);

  server->respond(1, {{":status", "200"}, {"content-length", "100"}});
  server->respond(3, {{":status", "304"}});
  settle();

  EXPECT_FALSE(head.hasBody);
  EXPECT_EQ(head.bodyLength, 0);
  EXPECT_EQ(head.field("content-length"), "100");
  EXPECT_TRUE(head.hasEnded());
  EXPECT_FALSE(notModified.hasBody);
  EXPECT_TRUE(notModified.hasEnded());
}

TEST_F(HTTP2ConnectionTest, keepsToTheServersLimitOfStreams) {
  serveWith({.maximumStreams = 2});
  RecordedExchange first;
  begin(first);
  EXPECT_EQ(connection->capacity(), 1U);
  RecordedExchange second;
  begin(second);
  EXPECT_EQ(connection->capacity(), 0U);

  const int before = available;
  server->respond(1, {{":status", "200"}});
  settle();
  EXPECT_EQ(connection->capacity(), 1U);
  EXPECT_EQ(available, before + 1);
  server->announceStreamLimit(5);
  settle();

  EXPECT_EQ(connection->capacity(), 4U);
  EXPECT_EQ(available, before + 2);
}

TEST_F(HTTP2ConnectionTest, isAvailableAgainAfterEachExchange) {
  std::deque<RecordedExchange> exchanges;
  onAvailable = [&] {
    if (exchanges.size() < 10) connection->start(exchanges.emplace_back());
  };
  serveWith({.maximumStreams = 1});
  connection->start(exchanges.emplace_back());

  for (int i = 0; i < 10; ++i) {
    settle();
    server->respond(2 * i + 1, {{":status", "200"}});
    settle();
  }

  EXPECT_EQ(exchanges.size(), 10U);
  for (const RecordedExchange& exchange : exchanges) EXPECT_TRUE(exchange.hasEnded());
}

TEST_F(HTTP2ConnectionTest, tellsExchangesThatMayStartOthers) {
  RecordedExchange first;
  RecordedExchange second;
  first.onOutcome = [&] { connection->start(second); };
  begin(first);

  server->respond(1, {{":status", "200"}});
  settle();

  EXPECT_EQ(server->requests().size(), 2U);
  server->respond(3, {{":status", "200"}}, "again");
  settle();
  EXPECT_EQ(second.received, "again");
}

TEST_F(HTTP2ConnectionTest, receivesMoreThanItsWindows) {
  RecordedExchange exchange;
  begin(exchange);

  server->respond(1, {{":status", "200"}}, std::string(20'000'000, 'x'));
  settle();

  EXPECT_EQ(exchange.received.size(), 20'000'000U);
  EXPECT_TRUE(exchange.hasEnded());
}

TEST_F(HTTP2ConnectionTest, holdsUpTheServerForASlowExchangeAlone) {
  RecordedExchange slow;
  RecordedExchange quick;
  begin(slow);
  begin(quick);
  connection->setReading(slow, false);

  server->respond(1, {{":status", "200"}}, std::string(10'000'000, 'x'));
  server->respond(3, {{":status", "200"}}, std::string(17'000'000, 'y'));
  settle();
  EXPECT_EQ(slow.received.size(), std::size_t{HTTP2Session::streamWindowBytes});
  EXPECT_TRUE(quick.hasEnded());
  EXPECT_EQ(quick.received.size(), 17'000'000U);

  connection->setReading(slow, true);
  settle();

  EXPECT_EQ(slow.received.size(), 10'000'000U);
  EXPECT_TRUE(slow.hasEnded());
}

TEST_F(HTTP2ConnectionTest, resetsTheStreamOfACancelledExchange) {
  RecordedExchange cancelled;
  RecordedExchange other;
  begin(cancelled);
  begin(other);

  connection->cancel(cancelled);
  EXPECT_EQ(connection->active(), 1U);
  settle();
  server->respond(3, {{":status", "200"}}, "there");
  settle();

  EXPECT_TRUE(server->request(0).isReset);
  EXPECT_EQ(cancelled.outcomes, 0);
  EXPECT_TRUE(other.hasEnded());
  EXPECT_EQ(connection->capacity(), 100U);
}

TEST_F(HTTP2ConnectionTest, neverSendsWhatIsCancelledBefore) {
  RecordedExchange cancelled;
  RecordedExchange other;
  connection->start(cancelled);
  connection->start(other);

  connection->cancel(cancelled);
  settle();

  EXPECT_EQ(cancelled.begun, 0);
  EXPECT_EQ(cancelled.outcomes, 0);
  EXPECT_EQ(server->requests().size(), 1U);
  EXPECT_EQ(connection->capacity(), 99U);
}

TEST_F(HTTP2ConnectionTest, mayBeCancelledInEachCall) {
  std::deque<RecordedExchange> exchanges(6);
  const auto cancel = [&](std::size_t place) { connection->cancel(exchanges[place]); };
  exchanges[0].onBegan = [&] { cancel(0); };
  exchanges[1].onHead = [&] {
    cancel(1);
    return BodyDisposition::deliver;
  };
  exchanges[2].onBody = [&](std::string_view) {
    cancel(2);
    return true;
  };
  exchanges[3].onTrailers = [&] { cancel(3); };
  exchanges[4].onBody = [](std::string_view) { return false; };
  exchanges[5].onHead = [&] {
    cancel(2);
    return BodyDisposition::deliver;
  };

  for (RecordedExchange& exchange : exchanges) begin(exchange);
  for (const int id : {3, 5, 7, 9}) server->respond(id, {{":status", "200"}}, "body", {{"x-a", "b"}});
  settle();

  for (std::size_t place = 0; place < 5; ++place) EXPECT_EQ(exchanges[place].outcomes, 0) << place;
  EXPECT_EQ(connection->active(), 1U);
  EXPECT_EQ(connection->capacity(), 99U);
}

TEST_F(HTTP2ConnectionTest, readsAShortBodyThatNobodyWants) {
  RecordedExchange exchange;
  exchange.onHead = [] { return BodyDisposition::discard; };
  begin(exchange);

  server->respond(1, {{":status", "302"}}, std::string(60'000, 'x'));
  settle();

  EXPECT_THAT(exchange.received, IsEmpty());
  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_FALSE(server->request(0).isReset);
}

TEST_F(HTTP2ConnectionTest, resetsALongBodyThatNobodyWants) {
  RecordedExchange exchange;
  exchange.onHead = [] { return BodyDisposition::discard; };
  begin(exchange);

  server->respond(1, {{":status", "302"}}, std::string(1'000'000, 'x'));
  settle();

  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_TRUE(server->request(0).isReset);
  EXPECT_EQ(connection->capacity(), 100U);
}

TEST_F(HTTP2ConnectionTest, refusesAHeadThatWouldBeAnother) {
  RecordedExchange exchange;
  exchange.with("x-a", "b\r\nx-c: d");

  start(exchange);

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.cause, FailureCause::invalidRequest);
  EXPECT_EQ(exchange.failure->delivery, Delivery::nothingSent);
  EXPECT_EQ(connection->active(), 0U);
  EXPECT_EQ(connection->capacity(), 100U);
}

TEST_F(HTTP2ConnectionTest, sendsALargeHeadInPieces) {
  RecordedExchange exchange;
  const std::string value(60'000, '~');
  exchange.with("x-a", value).with("x-b", value);

  begin(exchange);

  EXPECT_EQ(server->request(0).field("x-b"), value);
  EXPECT_EQ(exchange.requestsEnded, 1);
}

TEST_F(HTTP2ConnectionTest, refusesAHeadThatIsTooLarge) {
  RecordedExchange exchange;
  exchange.with("x-a", std::string(300'000, '~'));

  begin(exchange);

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.cause, FailureCause::invalidRequest);
  EXPECT_EQ(exchange.failure->delivery, Delivery::nothingSent);
  EXPECT_EQ(connection->capacity(), 100U);
}

}  // namespace
}  // namespace platform::networking
