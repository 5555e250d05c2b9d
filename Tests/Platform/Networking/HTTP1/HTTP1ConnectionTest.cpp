#include "Platform/Networking/HTTP1/HTTP1Connection.hpp"

#include "ConnectionHarness.hpp"

namespace platform::networking {
namespace {

constexpr std::string_view getText = "GET / HTTP/1.1\r\nHost: example.org\r\n\r\n";
constexpr std::string_view hello = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello";

TEST_F(HTTP1ConnectionTest, carriesOneExchangeAfterTheOther) {
  for (std::uint64_t round = 1; round <= 3; ++round) {
    ScriptedExchange exchange;
    EXPECT_EQ(connection->capacity(), 1u);
    connection->start(exchange);
    EXPECT_EQ(connection->capacity(), 0u);
    EXPECT_EQ(connection->active(), 1u);
    EXPECT_EQ(connection->started(), round);
    EXPECT_EQ(wire.takeWritten(), getText);

    wire.receive(hello);

    EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
    EXPECT_EQ(exchange.responseBody(), "hello");
  }
  EXPECT_EQ(told, "available | available | available");
  EXPECT_TRUE(isOpen());
}

TEST_F(HTTP1ConnectionTest, readsAndWritesOnceForASmallExchange) {
  ScriptedExchange exchange("POST");
  ScriptedBody body("small");
  exchange.sends(body);
  const int readsBefore = wire.reads();

  connection->start(exchange);
  wire.receive(hello);

  EXPECT_EQ(wire.writes(), 1);
  EXPECT_EQ(wire.reads(), readsBefore + 1);
  EXPECT_EQ(wire.takeWritten(), "POST / HTTP/1.1\r\nHost: example.org\r\nContent-Length: 5\r\n\r\nsmall");
  EXPECT_EQ(exchange.sent(), 5u);
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1ConnectionTest, readsAResponseThatComesAByteAtATime) {
  ScriptedExchange exchange;
  connection->start(exchange);

  wire.receiveByteByByte(
      "HTTP/1.1 103 Early\r\nLink: x\r\n\r\nHTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
      "3\r\nabc\r\n2;x\r\nde\r\n0\r\nT: 1\r\n\r\n");

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | trailers T=1 | end");
  EXPECT_EQ(exchange.responseBody(), "abcde");
  EXPECT_GT(exchange.progress(), 100);
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1ConnectionTest, isNotAvailableBeforeAllIsReadThatIsThere) {
  ScriptedExchange exchange;
  connection->start(exchange);
  wire.queue(hello);
  wire.queue("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nevil");

  wire.receive("");

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
  EXPECT_EQ(exchange.responseBody(), "hello");
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, neverTakesBytesBehindAResponseForAnother) {
  ScriptedExchange exchange;
  connection->start(exchange);

  wire.receive(std::string(hello) + "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nevil");

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, isClosedByWhateverComesWhileItIsIdle) {
  wire.receive("H");

  EXPECT_EQ(told, "retired | closed");
  EXPECT_FALSE(wire.hasStream());
}

TEST_F(HTTP1ConnectionTest, takesNothingWhileItIsIdleAndSomethingIsToBeRead) {
  iterate();
  ASSERT_EQ(connection->capacity(), 1u);

  wire.announce(hello);
  EXPECT_EQ(connection->capacity(), 0u);
  wire.receive({});

  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, isClosedByTheEndOfTheStreamWhileItIsIdle) {
  wire.receiveEnd();

  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, isClosedByAFailureWhileItIsIdle) {
  wire.receiveFailure();

  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, staysOpenWhenThereIsNothingToReadAfterAll) {
  wire.receive("");

  EXPECT_EQ(told, "");
  EXPECT_TRUE(isOpen());
}

TEST_F(HTTP1ConnectionTest, closesWhereTheServerSaysSo) {
  ScriptedExchange exchange;
  connection->start(exchange);

  wire.receive("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 1\r\n\r\nx");

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, readsUntilTheEndOfTheStream) {
  ScriptedExchange exchange;
  connection->start(exchange);

  wire.receive("HTTP/1.1 200 OK\r\n\r\nsome ");
  wire.receive("more");
  wire.receiveEnd();

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
  EXPECT_EQ(exchange.responseBody(), "some more");
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, failsWhereTheStreamBreaksInsteadOfEnding) {
  ScriptedExchange exchange;
  connection->start(exchange);

  wire.receive("HTTP/1.1 200 OK\r\n\r\nsome ");
  wire.receiveFailure({FailureCause::connectionLost, "the TLS stream ended without its closing alert", 0});

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | failed: the TLS stream ended without its closing alert");
  EXPECT_TRUE(exchange.failure()->responseBegan);
  EXPECT_EQ(exchange.failure()->delivery, Delivery::unknown);
}

TEST_F(HTTP1ConnectionTest, tellsHowFarALostResponseHadCome) {
  for (const auto& [bytes, message, began] : std::vector<std::tuple<std::string, std::string, bool>>{
           {"", "before the head of the response was complete", false},
           {"H", "before the head of the response was complete", true},
           {"HTTP/1.1 100 Continue\r\n\r\n", "before the head of the response was complete", true},
           {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhel", "after 3 of 5 bytes of the body", true}}) {
    connect();
    ScriptedExchange exchange;
    connection->start(exchange);
    wire.queue(bytes);
    wire.receiveEnd();

    ASSERT_TRUE(exchange.failure());
    EXPECT_EQ(exchange.failure()->failure.message, "the connection closed " + message);
    EXPECT_EQ(exchange.failure()->failure.cause, FailureCause::connectionLost);
    EXPECT_EQ(exchange.failure()->responseBegan, began);
    EXPECT_EQ(exchange.failure()->delivery, Delivery::unknown);
  }
}

TEST_F(HTTP1ConnectionTest, failsWhereTheResponseIsMalformed) {
  ScriptedExchange exchange;
  connection->start(exchange);

  wire.receive("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0x1\r\n");

  EXPECT_EQ(exchange.responseBody(), "abc");
  ASSERT_TRUE(exchange.failure());
  EXPECT_EQ(exchange.failure()->failure.cause, FailureCause::malformedResponse);
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, sendsNothingOfARequestThatCannotBeSent) {
  ScriptedExchange exchange;
  const FieldView field{"X", "a\r\nEvil: b"};
  exchange.request.fields = {&field, 1};

  connection->start(exchange);

  ASSERT_TRUE(exchange.failure());
  EXPECT_EQ(exchange.failure()->failure.cause, FailureCause::invalidRequest);
  EXPECT_EQ(exchange.failure()->delivery, Delivery::nothingSent);
  EXPECT_EQ(wire.written(), "");
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1ConnectionTest, saysThatNothingWasSentWhereTheFirstWriteFails) {
  wire.failWritesAfter(0, {FailureCause::connectionLost, "the connection was reset", 104});
  ScriptedExchange exchange;

  connection->start(exchange);
  iterate();

  ASSERT_TRUE(exchange.failure());
  EXPECT_EQ(exchange.failure()->failure.message, "the connection was reset");
  EXPECT_EQ(exchange.failure()->delivery, Delivery::nothingSent);
  EXPECT_FALSE(exchange.failure()->responseBegan);
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, closesWhenItsExchangeIsCancelled) {
  ScriptedExchange exchange;
  connection->start(exchange);

  connection->cancel(exchange);

  EXPECT_EQ(exchange.log(), "began | sent");
  EXPECT_EQ(told, "retired | closed");
  EXPECT_FALSE(connection);
}

TEST_F(HTTP1ConnectionTest, mayBeCancelledFromWithinAnyCall) {
  for (const char* const call :
       {"began", "sent", "bodySent", "progressed", "head", "body", "bodyRoom", "bodyFilled", "trailers"}) {
    connect();
    ScriptedExchange exchange("POST");
    ScriptedBody body("text");
    exchange.sends(body);
    exchange.roomBytes = 10'000;
    bool isCancelled = false;
    exchange.onCall = [&](std::string_view name) {
      EXPECT_FALSE(isCancelled) << name << " after " << call;
      if (name != call) return;
      isCancelled = true;
      connection->cancel(exchange);
      EXPECT_TRUE(connection) << "destroyed while it is at work";
    };

    connection->start(exchange);
    wire.queue("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n8000\r\nx");
    wire.receive(std::string(0x7FFF, 'x') + "\r\n1\r\nx\r\n0\r\nT: 1\r\n\r\n");

    EXPECT_TRUE(isCancelled) << call;
    EXPECT_EQ(told, "retired | closed") << call;
    EXPECT_FALSE(connection) << call;
  }
}

TEST_F(HTTP1ConnectionTest, givesUpWhenTheBodyCannotBeUsed) {
  ScriptedExchange exchange;
  exchange.takesBody = false;
  connection->start(exchange);

  wire.receive("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\na\r\n1\r\nb\r\n0\r\n\r\n");

  EXPECT_EQ(exchange.log(), "began | sent | head 200");
  EXPECT_EQ(exchange.responseBody(), "a");
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, closesAtOnceWhenItIsRetiredIdle) {
  connection->retire();

  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, closesAfterItsExchangeWhenItIsRetiredMeanwhile) {
  ScriptedExchange exchange;
  connection->start(exchange);

  connection->retire();
  EXPECT_EQ(told, "");
  wire.receive(hello);

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1ConnectionTest, mayStartTheNextExchangeAsSoonAsItIsAvailable) {
  ScriptedExchange first;
  ScriptedExchange second;
  onAvailable = [&] {
    if (connection->started() == 1) connection->start(second);
  };
  connection->start(first);

  wire.receive(hello);
  wire.receive(hello);

  EXPECT_EQ(second.log(), "began | sent | head 200 | end");
  EXPECT_EQ(told, "available | available");
}

}  // namespace
}  // namespace platform::networking
