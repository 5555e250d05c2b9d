#include <gmock/gmock.h>

#include "ConnectionHarness.hpp"

/// Bodies of requests, and what servers say while they are on their way.
namespace platform::networking {
namespace {

using corvane::testkit::MemoryWire;
using testing::HasSubstr;

constexpr std::string_view continueText = "HTTP/1.1 100 Continue\r\n\r\n";
const std::string megabyte(std::size_t{1} << 20, 'b');
const Failure reset{FailureCause::connectionLost, "the connection was reset", 104};

std::string response(int status, std::string_view body, const std::string& fields = "") {
  return "HTTP/1.1 " + std::to_string(status) + " X\r\n" + fields + "Content-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + std::string(body);
}

class HTTP1UploadTest : public HTTP1ConnectionTest {
 protected:
  /// Starts an upload of which the server takes so much.
  void start(std::size_t taken) {
    exchange.sends(body);
    wire.allowWrites(taken);
    connection->start(exchange);
    iterate();
  }
  /// What was written, without the head.
  std::string writtenBody() const { return wire.written().substr(wire.written().find("\r\n\r\n") + 4); }

  ScriptedExchange exchange{"PUT"};
  ScriptedBody body{megabyte};
};

TEST_F(HTTP1UploadTest, sendsTheBodyInEachWayItIsGiven) {
  for (const auto way : {ScriptedBody::Way::peek, ScriptedBody::Way::read, ScriptedBody::Way::sendTo}) {
    for (const bool saysLength : {true, false}) {
      for (const std::size_t eachWrite : {MemoryWire::unlimited, std::size_t{7777}}) {
        connect();
        wire.limitEachWrite(eachWrite);
        ScriptedExchange upload("PUT");
        ScriptedBody text(megabyte + "end", way);
        text.saysLength = saysLength;
        text.pieceBytes = 100'000;
        upload.sends(text);

        connection->start(upload);
        for (int i = 0; i < 10; ++i) iterate();

        EXPECT_EQ(upload.log(), "began | sent");
        EXPECT_EQ(upload.sent(), megabyte.size() + 3);
        if (saysLength) {
          EXPECT_EQ(writtenBody(), megabyte + "end");
          EXPECT_EQ(text.directWrites > 0, way == ScriptedBody::Way::sendTo);
        } else {
          EXPECT_THAT(wire.written(), HasSubstr("Transfer-Encoding: chunked\r\n\r\n"));
          EXPECT_THAT(writtenBody(), testing::EndsWith("\r\n0\r\n\r\n"));
        }
        wire.receive(response(200, "ok"));
        EXPECT_EQ(upload.log(), "began | sent | head 200 | end");
      }
    }
  }
}

TEST_F(HTTP1UploadTest, writesChunksAsTheyAreGiven) {
  ScriptedBody text("hello world, and more", ScriptedBody::Way::read);
  text.saysLength = false;
  text.pieceBytes = 16;
  exchange.sends(text);

  connection->start(exchange);

  EXPECT_EQ(writtenBody(), "10\r\nhello world, and\r\n5\r\n more\r\n0\r\n\r\n");
  EXPECT_EQ(exchange.sent(), 21u);
}

TEST_F(HTTP1UploadTest, sendsAnEmptyBodyOfUnknownLength) {
  ScriptedBody text("", ScriptedBody::Way::read);
  text.saysLength = false;
  exchange.sends(text);

  connection->start(exchange);

  EXPECT_EQ(writtenBody(), "0\r\n\r\n");
  EXPECT_EQ(exchange.log(), "began | sent");
}

TEST_F(HTTP1UploadTest, announcesAnEmptyBodyWithoutAskingForIt) {
  ScriptedBody text("");
  exchange.sends(text);

  connection->start(exchange);

  EXPECT_EQ(wire.written(), "PUT / HTTP/1.1\r\nHost: example.org\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(exchange.log(), "began | sent");
}

TEST_F(HTTP1UploadTest, goesOnWhenTheStreamTakesMore) {
  start(1000);
  EXPECT_EQ(wire.written().size(), 1000u);
  const int writes = wire.writes();

  iterate();
  EXPECT_EQ(wire.writes(), writes) << "it waits to be told";
  wire.allowWrites(MemoryWire::unlimited);
  for (int i = 0; i < 10; ++i) iterate();

  EXPECT_EQ(writtenBody(), megabyte);
  EXPECT_EQ(exchange.log(), "began | sent");
}

TEST_F(HTTP1UploadTest, givesOthersTheirTurn) {
  exchange.sends(body);
  connection->start(exchange);

  EXPECT_GE(wire.written().size(), HTTP1Connection::turnBytes);
  EXPECT_LE(wire.written().size(), HTTP1Connection::turnBytes + 256 * 1024);
}

TEST_F(HTTP1UploadTest, waitsForABodyThatHasNothingYet) {
  ScriptedBody text("first and second", ScriptedBody::Way::read);
  text.saysLength = false;
  text.available = 0;
  exchange.sends(text);
  connection->start(exchange);
  EXPECT_THAT(wire.written(), testing::EndsWith("\r\n\r\n"));

  text.available = 5;
  connection->bodyReady(exchange);
  EXPECT_EQ(writtenBody(), "5\r\nfirst\r\n");
  text.available = std::string::npos;
  connection->bodyReady(exchange);

  EXPECT_EQ(writtenBody(), "5\r\nfirst\r\nb\r\n and second\r\n0\r\n\r\n");
  EXPECT_EQ(exchange.log(), "began | sent");
}

TEST_F(HTTP1UploadTest, takesAnotherExchangeWhenTheBodyEndsAfterTheResponse) {
  ScriptedBody text("first and second", ScriptedBody::Way::read);
  text.available = 5;
  exchange.sends(text);
  connection->start(exchange);
  wire.receive(response(200, "fine"));
  EXPECT_EQ(exchange.log(), "began | head 200");

  text.available = std::string::npos;
  connection->bodyReady(exchange);
  EXPECT_EQ(exchange.log(), "began | head 200 | sent | end");
  iterate();

  EXPECT_EQ(told, "available");
  EXPECT_EQ(connection->capacity(), 1u);
}

TEST_F(HTTP1UploadTest, failsWhenTheBodyCannotBeRead) {
  ScriptedBody text("text", ScriptedBody::Way::read);
  text.saysLength = false;
  text.atEnd = BodyStatus::failed;
  exchange.sends(text);

  connection->start(exchange);

  ASSERT_TRUE(exchange.failure());
  EXPECT_EQ(exchange.failure()->failure.cause, FailureCause::requestBody);
  EXPECT_EQ(exchange.failure()->delivery, Delivery::unknown);
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1UploadTest, failsWhenTheBodyIsShorterThanAnnounced) {
  for (const auto way : {ScriptedBody::Way::peek, ScriptedBody::Way::read, ScriptedBody::Way::sendTo}) {
    connect();
    ScriptedExchange upload("PUT");
    ScriptedBody text(std::string(100'000, 'x'), way);
    upload.sends(text);
    upload.request.contentLength = 100'001;

    connection->start(upload);

    ASSERT_TRUE(upload.failure());
    EXPECT_EQ(upload.failure()->failure.message, "the body of the request ended after 100000 of 100001 bytes");
    EXPECT_EQ(upload.failure()->failure.cause, FailureCause::requestBody);
  }
}

TEST_F(HTTP1UploadTest, sendsNoMoreThanAnnounced) {
  ScriptedBody text("1234567");
  exchange.sends(text);
  exchange.request.contentLength = 5;

  connection->start(exchange);

  EXPECT_EQ(writtenBody(), "12345");
}

TEST_F(HTTP1UploadTest, endsAtARefusalWhichIsDelivered) {
  start(1000);

  wire.receive(response(413, "too much"));
  wire.allowWrites(MemoryWire::unlimited);

  EXPECT_EQ(exchange.log(), "began | head 413 | end");
  EXPECT_EQ(exchange.responseBody(), "too much");
  EXPECT_EQ(wire.written().size(), 1000u);
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1UploadTest, deliversARefusalOfAServerThatBreaksTheConnection) {
  start(1000);
  wire.queue(response(413, "too much"));
  wire.receiveFailure(reset);

  EXPECT_EQ(exchange.log(), "began | head 413 | end");
  EXPECT_EQ(exchange.responseBody(), "too much");
}

TEST_F(HTTP1UploadTest, deliversARefusalThatIsThereWhenWritingFails) {
  start(1000);
  wire.queue(response(413, "too much"));
  wire.failWritesAfter(0, reset);
  wire.allowWrites(1);
  iterate();

  EXPECT_EQ(exchange.log(), "began | head 413 | end");
  EXPECT_EQ(exchange.responseBody(), "too much");
}

TEST_F(HTTP1UploadTest, failsWhenWritingFailsAndTheServerSaidNothing) {
  start(1000);
  wire.failWritesAfter(0, reset);
  wire.allowWrites(1);
  iterate();

  EXPECT_EQ(exchange.log(), "began | failed: the connection was reset");
  EXPECT_EQ(exchange.failure()->delivery, Delivery::unknown);
  EXPECT_FALSE(exchange.failure()->responseBegan);
}

TEST_F(HTTP1UploadTest, failsWhenTheServerEndsItsSideWithoutAResponse) {
  start(1000);
  wire.receiveEnd();

  EXPECT_EQ(exchange.log(), "began | failed: the connection closed before the head of the response was complete");
}

TEST_F(HTTP1UploadTest, goesOnAfterAnEarlySuccess) {
  start(1000);
  wire.receive(response(200, "fine"));
  EXPECT_EQ(exchange.log(), "began | head 200");

  wire.allowWrites(MemoryWire::unlimited);
  for (int i = 0; i < 10; ++i) iterate();

  EXPECT_EQ(exchange.log(), "began | head 200 | sent | end");
  EXPECT_EQ(writtenBody(), megabyte);
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1UploadTest, goesOnWhileAnEarlySuccessIsUnderWay) {
  start(1000);
  wire.receive("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nfi");
  wire.allowWrites(MemoryWire::unlimited);
  for (int i = 0; i < 10; ++i) iterate();
  EXPECT_EQ(exchange.log(), "began | head 200 | sent");

  wire.receive("ne");

  EXPECT_EQ(exchange.log(), "began | head 200 | sent | end");
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1UploadTest, deliversACompleteEarlySuccessOfAServerThatStopsReading) {
  start(1000);
  wire.receive(response(200, "fine"));

  pass(HTTP1Connection::stallLimit - std::chrono::milliseconds(1));
  EXPECT_EQ(exchange.log(), "began | head 200");
  pass(std::chrono::milliseconds(1));

  EXPECT_EQ(exchange.log(), "began | head 200 | end");
  EXPECT_EQ(told, "retired | closed");
}

TEST_F(HTTP1UploadTest, waitsForAServerThatReadsSlowlyAfterItsResponse) {
  start(1000);
  wire.receive(response(200, "fine"));

  for (int i = 0; i < 5; ++i) {
    pass(HTTP1Connection::stallLimit - std::chrono::milliseconds(1));
    wire.allowWrites(1000);
  }
  EXPECT_EQ(exchange.log(), "began | head 200");
  wire.allowWrites(MemoryWire::unlimited);
  for (int i = 0; i < 10; ++i) iterate();

  EXPECT_EQ(exchange.log(), "began | head 200 | sent | end");
}

TEST_F(HTTP1UploadTest, deliversACompleteEarlySuccessWhenTheServerCloses) {
  for (const bool inGoodOrder : {true, false}) {
    connect();
    ScriptedExchange upload("PUT");
    ScriptedBody text(megabyte);
    upload.sends(text);
    wire.allowWrites(1000);
    connection->start(upload);
    wire.receive(response(200, "fine"));

    if (inGoodOrder) {
      wire.receiveEnd();
    } else {
      wire.receiveFailure(reset);
    }

    EXPECT_EQ(upload.log(), "began | head 200 | end");
    EXPECT_EQ(told, "retired | closed");
  }
}

TEST_F(HTTP1UploadTest, deliversACompleteEarlySuccessWhenWritingFails) {
  start(1000);
  wire.receive(response(200, "fine"));

  wire.failWritesAfter(0, reset);
  wire.allowWrites(1);

  EXPECT_EQ(exchange.log(), "began | head 200 | end");
}

class HTTP1ExpectationTest : public HTTP1UploadTest {
 protected:
  HTTP1ExpectationTest() {
    exchange.request.fields = {&expectation, 1};
    exchange.sends(text);
    connection->start(exchange);
  }

  const FieldView expectation{"expect", "100-Continue"};
  const std::string head = "PUT / HTTP/1.1\r\nHost: example.org\r\nexpect: 100-Continue\r\nContent-Length: 4\r\n\r\n";
  ScriptedBody text{"text"};
};

TEST_F(HTTP1ExpectationTest, sendsTheBodyWhenTheServerWantsIt) {
  EXPECT_EQ(wire.written(), head);

  wire.receive(continueText);
  EXPECT_EQ(wire.written(), head + "text");
  wire.receive(response(200, "ok"));

  EXPECT_EQ(exchange.log(), "began | sent | head 200 | end");
  EXPECT_EQ(told, "available");
}

TEST_F(HTTP1ExpectationTest, sendsTheBodyWhenTheServerSaysNothing) {
  pass(HTTP1Connection::continueLimit - std::chrono::milliseconds(1));
  EXPECT_EQ(wire.written(), head);

  pass(std::chrono::milliseconds(1));

  EXPECT_EQ(wire.written(), head + "text");
}

TEST_F(HTTP1ExpectationTest, waitsOnAfterOtherInterimHeads) {
  wire.receive("HTTP/1.1 102 Processing\r\n\r\n");

  EXPECT_EQ(wire.written(), head);
}

TEST_F(HTTP1ExpectationTest, sendsNoBodyToAServerThatRefuses) {
  for (const int status : {417, 401, 302}) {
    connect();
    ScriptedExchange refused("PUT");
    refused.request.fields = {&expectation, 1};
    ScriptedBody other("text");
    refused.sends(other);
    connection->start(refused);
    wire.receive(response(status, "no"));
    pass(HTTP1Connection::continueLimit);

    EXPECT_EQ(refused.log(), "began | head " + std::to_string(status) + " | end");
    EXPECT_EQ(wire.written(), head);
    EXPECT_EQ(told, "retired | closed") << "the server may wait for the body";
  }
}

TEST_F(HTTP1ExpectationTest, sendsTheBodyAfterAFinalSuccess) {
  wire.receive(response(200, "ok"));

  EXPECT_EQ(wire.written(), head + "text");
  EXPECT_EQ(exchange.log(), "began | head 200 | sent | end");
  EXPECT_EQ(told, "available");
}

}  // namespace
}  // namespace platform::networking
