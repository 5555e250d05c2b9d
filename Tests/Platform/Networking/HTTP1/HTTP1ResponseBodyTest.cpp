#include <gmock/gmock.h>

#include "ConnectionHarness.hpp"

/// Where the bodies of responses go, and how unwanted ones are drained.
namespace platform::networking {
namespace {

using corvane::testkit::MemoryWire;

std::string headOf(std::size_t length, int status = 200) {
  return "HTTP/1.1 " + std::to_string(status) + " X\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n";
}

const std::string chunkedHead = "HTTP/1.1 302 Found\r\nTransfer-Encoding: chunked\r\n\r\n";

std::string pattern(std::size_t length) {
  std::string text(length, ' ');
  for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + i * 7 % 26);
  return text;
}

class HTTP1ResponseBodyTest : public HTTP1ConnectionTest {
 protected:
  HTTP1ResponseBodyTest() { connection->start(exchange); }

  /// A connection of its own, to a server that gives this in answer to a request whose response's body is unwanted.
  std::string discarded(const std::vector<std::string>& pieces) {
    connect();
    ScriptedExchange unwanted;
    unwanted.disposition = BodyDisposition::discard;
    connection->start(unwanted);
    for (const std::string& piece : pieces) {
      if (connection) wire.receive(piece);
    }
    EXPECT_EQ(unwanted.responseBody(), "");
    if (!unwanted.isOver() && connection) connection->cancel(unwanted);
    return unwanted.log() + " | " + told;
  }

  ScriptedExchange exchange;
};

TEST_F(HTTP1ResponseBodyTest, isReadIntoTheRoomOfTheExchange) {
  const std::string text = pattern(1'000'000);
  exchange.roomBytes = 300'000;
  wire.queue(headOf(text.size()) + text.substr(0, 10));
  wire.queue(text.substr(10));

  wire.receive("");
  for (int i = 0; i < 20; ++i) iterate();

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
  EXPECT_EQ(exchange.responseBody(), text);
  EXPECT_GE(exchange.filledBytes(), text.size() - 2 * HTTP1Connection::directBytes);
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1ResponseBodyTest, isReadIntoTheRoomOfTheExchangeFromChunksToo) {
  const std::string text = pattern(100'000);
  exchange.roomBytes = 30'000;
  wire.queue("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n186A0\r\n");
  wire.queue(text + "\r\n3\r\nend\r\n0\r\n\r\n");

  wire.receive("");

  EXPECT_EQ(exchange.responseBody(), text + "end");
  EXPECT_GT(exchange.filledBytes(), 80'000u);
  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
}

TEST_F(HTTP1ResponseBodyTest, leavesBytesBehindItWhereTheyAre) {
  const std::string text = pattern(50'000);
  exchange.roomBytes = 100'000;
  wire.queue(headOf(text.size()));
  wire.queue(text + "evil");

  wire.receive("");

  EXPECT_EQ(exchange.responseBody(), text);
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ResponseBodyTest, leavesOthersTheirTurn) {
  const std::string text = pattern(2'000'000);
  wire.queue(headOf(text.size()) + text);

  wire.receive("");
  EXPECT_GT(exchange.responseBody().size(), HTTP1Connection::turnBytes / 2);
  EXPECT_LE(exchange.responseBody().size(), HTTP1Connection::turnBytes + EventLoop::receiveBufferBytes);
  for (int i = 0; i < 20; ++i) iterate();

  EXPECT_EQ(exchange.responseBody(), text);
}

TEST_F(HTTP1ResponseBodyTest, isLeftToTheServerWhileItIsNotWanted) {
  wire.receive(headOf(100'000) + "a");
  connection->setReading(exchange, false);
  wire.receive(pattern(99'999));
  EXPECT_EQ(wire.unread(), 99'999u);

  connection->setReading(exchange, true);
  for (int i = 0; i < 5; ++i) iterate();

  EXPECT_EQ(exchange.responseBody().size(), 100'000u);
  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1ResponseBodyTest, mayBeStoppedFromWithin) {
  exchange.onCall = [&](std::string_view name) {
    if (name == "body") connection->setReading(exchange, false);
  };
  const std::string text = pattern(500'000);
  wire.queue(headOf(text.size()) + text);

  wire.receive("");
  iterate();
  EXPECT_LE(exchange.responseBody().size(), EventLoop::receiveBufferBytes);

  exchange.onCall = nullptr;
  connection->setReading(exchange, true);
  for (int i = 0; i < 20; ++i) iterate();
  EXPECT_EQ(exchange.responseBody(), text);
}

TEST_F(HTTP1ResponseBodyTest, isReadToKeepTheConnectionWhereNobodyWantsIt) {
  EXPECT_EQ(discarded({headOf(5, 302) + "hello"}), "began | sent | head 302 | end | available");
  EXPECT_EQ(discarded({headOf(0, 302)}), "began | sent | head 302 | end | available");
  EXPECT_EQ(discarded({headOf(60'000, 302), pattern(30'000), pattern(30'000)}),
            "began | sent | head 302 | end | available");
  EXPECT_EQ(discarded({chunkedHead, "3\r\nabc\r\n0\r\n\r\n"}), "began | sent | head 302 | end | available");
}

TEST_F(HTTP1ResponseBodyTest, isNotReadWhereNobodyWantsItAndItIsLong) {
  EXPECT_EQ(discarded({headOf(HTTP1Connection::discardLimit + 1, 302)}),
            "began | sent | head 302 | end | retired | closed");
  EXPECT_EQ(discarded({chunkedHead, "20000\r\n" + pattern(0x10000), "x"}),
            "began | sent | head 302 | end | retired | closed");
}

TEST_F(HTTP1ResponseBodyTest, isNotReadWhereNobodyWantsItAndTheConnectionEndsAnyway) {
  EXPECT_EQ(discarded({"HTTP/1.1 302 Found\r\n\r\n"}), "began | sent | head 302 | end | retired | closed");
  EXPECT_EQ(discarded({"HTTP/1.1 302 Found\r\nConnection: close\r\nContent-Length: 5\r\n\r\n"}),
            "began | sent | head 302 | end | retired | closed");
}

TEST_F(HTTP1ResponseBodyTest, mayBreakWhereNobodyWantsIt) {
  EXPECT_EQ(discarded({chunkedHead, "3\r\nabcd"}), "began | sent | head 302 | end | retired | closed");
  connect();
  ScriptedExchange unwanted;
  unwanted.disposition = BodyDisposition::discard;
  connection->start(unwanted);
  wire.receive(headOf(5, 302) + "he");
  wire.receiveEnd();
  EXPECT_EQ(unwanted.log(), "began | sent | head 302 | end");
}

TEST_F(HTTP1ResponseBodyTest, isNoneInResponseToHEAD) {
  connect();
  ScriptedExchange head("HEAD");
  connection->start(head);

  wire.receive(headOf(5));

  EXPECT_EQ(head.log(), "began | sent | head 200 | end");
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1ResponseBodyTest, readsOnceMoreWhereTheStreamDoesNotSayThatItIsDrained) {
  connect(MemoryWire::Options{.isSecure = true, .saysDrained = false});
  ScriptedExchange secure;
  connection->start(secure);

  wire.receive(headOf(2) + "ok");

  EXPECT_EQ(secure.log(), "began | sent | head 200 | end");
  EXPECT_EQ(told, "available");
}

}  // namespace
}  // namespace platform::networking
