#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <memory>

#include "ConnectionHarness.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Networking/Streams/SocketStream.hpp"
#include "TestSupport/LoopRun.hpp"

/// The same over sockets, to a server that does as it was told.
namespace platform::networking {
namespace {

using corvane::testkit::generatedBytes;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::TestServer;
using testing::HasSubstr;

class HTTP1OverSocketTest : public ::testing::Test, public HTTPConnectionOwner {
 protected:
  ~HTTP1OverSocketTest() override { connection.reset(); }

  void connect() {
    connection.reset();
    detail::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(server.port());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::connect(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::fcntl(socket.number(), F_SETFL, O_NONBLOCK), 0);
    int error = 0;
    auto stream = SocketStream::make(loop, std::move(socket), error);
    ASSERT_TRUE(stream) << error;
    connection = std::make_unique<HTTP1Connection>(loop, std::move(stream), *this);
  }

  /// Runs it to its end, over a connection of its own unless there is one that takes it.
  void run(ScriptedExchange& exchange) {
    if (!connection || connection->capacity() == 0) connect();
    connection->start(exchange);
    EXPECT_TRUE(corvane::testkit::runUntil(loop, [&] { return exchange.isOver(); })) << exchange.log();
  }

  void connectionAvailable(HTTPConnection&) override {}
  void connectionRetired(HTTPConnection&) override {}
  void connectionClosed(HTTPConnection&) override { connection.reset(); }

  TestServer server;
  EventLoop loop;
  std::unique_ptr<HTTP1Connection> connection;
};

TEST_F(HTTP1OverSocketTest, keepsAConnectionForManyExchanges) {
  for (int round = 0; round < 50; ++round) {
    server.enqueue(MockResponse(200).body("round " + std::to_string(round)));
    ScriptedExchange exchange;

    run(exchange);

    EXPECT_EQ(exchange.responseBody(), "round " + std::to_string(round));
  }
  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(HTTP1OverSocketTest, readsLongBodiesInEachFraming) {
  constexpr std::size_t size = 5'000'000;
  const std::string expected = generatedBytes(size);
  server.enqueue(MockResponse(200).generatedBody(size));
  server.enqueue(MockResponse(200).body(expected).chunkedBy(10'007));
  server.enqueue(MockResponse(200).body(expected).untilClose());
  for (int i = 0; i < 3; ++i) {
    ScriptedExchange exchange;
    exchange.roomBytes = i == 0 ? 128 * 1024 : 0;

    run(exchange);

    EXPECT_TRUE(exchange.responseBody() == expected) << i << " " << exchange.log();
  }
}

/// A fast body leaves nothing behind on its connection that would hold up a short one.
TEST_F(HTTP1OverSocketTest, readsShortResponsesAfterLongOnes) {
  for (int round = 0; round < 20; ++round) {
    server.enqueue(MockResponse(200).generatedBody(1'000'000));
    server.enqueue(MockResponse(200).body("short"));
    ScriptedExchange longOne;
    longOne.roomBytes = 64 * 1024;
    ScriptedExchange shortOne;

    run(longOne);
    run(shortOne);

    EXPECT_EQ(longOne.responseBody().size(), 1'000'000U);
    EXPECT_EQ(shortOne.responseBody(), "short");
  }
  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(HTTP1OverSocketTest, readsAResponseThatTricklesIn) {
  server.enqueue(
      MockResponse(200).chunked({"a", "b", "c"}).trailer("X-Sum", "3").throttle(7, TestServer::Milliseconds(1)));
  ScriptedExchange exchange;

  run(exchange);

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | trailers X-Sum=3 | end");
  EXPECT_EQ(exchange.responseBody(), "abc");
}

TEST_F(HTTP1OverSocketTest, sendsLongBodiesInEachWay) {
  const std::string text = generatedBytes(3'000'000);
  for (const auto way : {ScriptedBody::Way::peek, ScriptedBody::Way::read, ScriptedBody::Way::sendTo}) {
    for (const bool saysLength : {true, false}) {
      server.enqueue(MockResponse(200).body("thanks"));
      ScriptedExchange exchange("PUT");
      ScriptedBody body(text, way);
      body.saysLength = saysLength;
      exchange.sends(body);

      run(exchange);

      EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
      EXPECT_TRUE(server.takeRequest().body == text);
    }
  }
  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(HTTP1OverSocketTest, deliversEarlyResponsesWhateverTheServerDoesThen) {
  const std::string text = generatedBytes(8 << 20);
  server.discardBodies();
  for (const int status : {413, 200}) {
    for (const int leaving : {0, 1, 2, 3}) {
      for (const std::uint64_t after : {0U, 100'000U, 900'000U}) {
        MockResponse early = MockResponse(status).body("early").beforeRequestBody(after);
        if (leaving == 1) early.closeConnection();
        if (leaving == 2) early.dropConnection(Moment::afterResponse);
        if (leaving == 3) early.resetConnection(Moment::afterResponse);
        server.enqueue(early);
        ScriptedExchange exchange("POST");
        ScriptedBody body(text);
        exchange.sends(body);
        connection.reset();

        run(exchange);

        EXPECT_THAT(exchange.log(), HasSubstr("head " + std::to_string(status))) << leaving << " " << after;
        EXPECT_EQ(exchange.responseBody(), "early") << leaving << " " << after;
        EXPECT_FALSE(exchange.failure()) << leaving << " " << after;
      }
    }
  }
}

TEST_F(HTTP1OverSocketTest, deliversACompleteSuccessOfAServerThatStopsReading) {
  server.enqueue(MockResponse(200).body("early").beforeRequestBody().stall(Moment::afterResponse));
  ScriptedExchange exchange("POST");
  ScriptedBody body(generatedBytes(32 << 20));
  exchange.sends(body);
  connect();
  ManualNetworkClock clock;

  connection->start(exchange);

  EXPECT_TRUE(corvane::testkit::runUntil(loop, [&] {
    clock.advance(std::chrono::milliseconds(100));
    return exchange.isOver();
  }));
  EXPECT_EQ(exchange.log(), "began | head 200 | end");
}

TEST_F(HTTP1OverSocketTest, isClosedWhenTheServerEndsItWhileItIsIdle) {
  server.enqueue(MockResponse(200).body("x"));
  ScriptedExchange exchange;
  run(exchange);
  EXPECT_TRUE(connection);

  EXPECT_EQ(server.closeIdleConnections(), 1);
  EXPECT_TRUE(corvane::testkit::runUntil(loop, [&] { return !connection; }));
}

TEST_F(HTTP1OverSocketTest, isClosedByBytesThatNobodyAskedFor) {
  server.enqueue(MockResponse(200).body("x").extraBytesAfter("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nevil"));
  ScriptedExchange exchange;
  run(exchange);

  EXPECT_EQ(exchange.responseBody(), "x");
  EXPECT_TRUE(corvane::testkit::runUntil(loop, [&] { return !connection; }));
}

TEST_F(HTTP1OverSocketTest, stopsReadingWhereTheBodyIsNotWanted) {
  server.enqueue(MockResponse(200).generatedBody(20'000'000));
  ScriptedExchange exchange;
  exchange.onCall = [&](std::string_view name) {
    if (name == "head") connection->setReading(exchange, false);
  };
  connect();
  connection->start(exchange);
  EXPECT_TRUE(corvane::testkit::runUntil(loop, [&] { return exchange.log().find("head") != std::string::npos; }));
  for (int i = 0; i < 20; ++i) loop.iterate(std::chrono::milliseconds(1));
  EXPECT_LE(exchange.responseBody().size(), EventLoop::receiveBufferBytes);

  connection->setReading(exchange, true);

  EXPECT_TRUE(corvane::testkit::runUntil(loop, [&] { return exchange.isOver(); }));
  EXPECT_EQ(exchange.responseBody().size(), 20'000'000u);
}

}  // namespace
}  // namespace platform::networking
