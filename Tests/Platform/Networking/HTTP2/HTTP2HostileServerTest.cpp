#include <nghttp2/nghttp2.h>

#include <deque>

#include "HTTP2Test.hpp"

namespace platform::networking {
namespace {

using namespace corvane::testkit::http2;
using testing::Contains;
using testing::Field;
using testing::HasSubstr;

struct Case {
  const char* name;
  std::string bytes;
};

std::ostream& operator<<(std::ostream& out, const Case& each) { return out << each.name; }

std::string ok(std::uint32_t stream = 1, std::uint8_t flags = 0) { return head(stream, {{":status", "200"}}, flags); }

std::string repeated(const std::string& bytes, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += bytes;
  return all;
}

class HTTP2HostileServerTest : public HTTP2Test, public testing::WithParamInterface<Case> {};

/// A server that breaks the rules of the connection loses it, at once and for all exchanges.
TEST_P(HTTP2HostileServerTest, losesTheConnection) {
  for (const bool isWhole : {true, false}) {
    closed = 0;
    wire = MemoryWire();
    connection = std::make_unique<HTTP2Connection>(loop, wire.makeStream(), *this);
    RecordedExchange exchange;
    RecordedExchange other;
    start(exchange);
    start(other);

    if (isWhole) {
      receive(GetParam().bytes);
    } else {
      wire.receiveByteByByte(GetParam().bytes);
      run();
    }

    EXPECT_EQ(closed, 1) << isWhole;
    for (const RecordedExchange* each : {&exchange, &other}) {
      ASSERT_TRUE(each->failure) << isWhole;
      EXPECT_EQ(each->failure->failure.cause, FailureCause::malformedResponse) << each->failure->failure.message;
      EXPECT_EQ(each->outcomes, 1);
    }
    EXPECT_TRUE(wire.isShutDown());
    EXPECT_LT(wire.written().size(), 100'000U);
  }
}

INSTANTIATE_TEST_SUITE_P(
    , HTTP2HostileServerTest,
    testing::Values(
        Case{"noHTTP2", "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n"}, Case{"noSettings", ok()},
        Case{"settingsThatAcknowledge", frame(settings, ack, 0)},
        Case{"settingsOnAStream", preface() + frame(settings, 0, 1)},
        Case{"settingsOfWrongSize", preface() + frame(settings, 0, 0, "12345")},
        Case{"acknowledgementWithSettings", preface() + frame(settings, ack, 0, "123456")},
        Case{"hugeInitialWindow", preface({{NGHTTP2_SETTINGS_INITIAL_WINDOW_SIZE, 0x80000000}})},
        Case{"smallFrameSize", preface({{NGHTTP2_SETTINGS_MAX_FRAME_SIZE, 100}})},
        Case{"settingThatEnablesPushes", preface({{NGHTTP2_SETTINGS_ENABLE_PUSH, 2}})},
        Case{"largeFrame", preface() + ok() + body(1, std::string(16'385, 'x'))},
        Case{"hugeFrame", preface() + ok() + std::string("\xff\xff\xff\0\0\0\0\0\1", 9) + std::string(10'000, 'x')},
        Case{"largeUnknownFrame", preface() + frame(0xfe, 0, 0, std::string(16'385, 'x'))},
        Case{"paddingLongerThanItsFrame", preface() + ok() + frame(data, padded, 1, "\xffx")},
        Case{"paddingLongerThanAHead", preface() + frame(headers, padded | endHeaders, 1, "\xff" + block({}))},
        Case{"paddingWithoutALength", preface() + ok() + frame(data, padded, 1)},
        Case{"bodyOnNoStream", preface() + body(0, "x")}, Case{"headOnNoStream", preface() + ok(0)},
        Case{"bodyOfAStreamThatDoesNotExist", preface() + body(7, "x")},
        Case{"headOfAStreamThatDoesNotExist", preface() + ok(7)}, Case{"headOfAStreamOfTheServer", preface() + ok(2)},
        Case{"resetOfAStreamThatDoesNotExist", preface() + reset(7, 0)},
        Case{"windowOfAStreamThatDoesNotExist", preface() + frame(windowUpdate, 0, 7, number(1, 4))},
        Case{"resetOnNoStream", preface() + reset(0, 0)},
        Case{"resetOfWrongSize", preface() + frame(rstStream, 0, 1, "x")},
        Case{"pingOfWrongSize", preface() + frame(ping, 0, 0, "seven77")},
        Case{"pingOnAStream", preface() + frame(ping, 0, 1, "eight888")},
        Case{"shortFarewell", preface() + frame(goAway, 0, 0, "seven77")},
        Case{"farewellOnAStream", preface() + frame(goAway, 0, 1, "eight888")},
        Case{"windowUpdateOfWrongSize", preface() + frame(windowUpdate, 0, 0, "x")},
        Case{"windowOverflow", preface() + frame(windowUpdate, 0, 0, number(0x7fffffff, 4))},
        Case{"emptyWindowUpdate", preface() + frame(windowUpdate, 0, 0, number(0, 4))},
        Case{"emptyWindowUpdateOfAStream", preface() + frame(windowUpdate, 0, 1, number(0, 4))},
        Case{"bodyBeforeHead", preface() + body(1, "x", endStream)},
        Case{"endBeforeHead", preface() + body(1, "", endStream)},
        Case{"priorityOfWrongSize", preface() + frame(priority, 0, 1, "four")},
        Case{"priorityOnItself", preface() + frame(priority, 0, 1, number(1, 4) + "x")},
        Case{"continuationOfNothing", preface() + frame(continuation, endHeaders, 1, block({{":status", "200"}}))},
        Case{"headThatIsInterrupted", preface() + frame(headers, 0, 1, block({{":status", "200"}})) + body(1, "x")},
        Case{"headThatGoesOnElsewhere",
             preface() + frame(headers, 0, 1, block({{":status", "200"}})) + frame(continuation, endHeaders, 3)},
        Case{"fieldOfNoIndex", preface() + frame(headers, endHeaders, 1, "\x80")},
        Case{"fieldBeyondTheTable", preface() + frame(headers, endHeaders, 1, "\xfe")},
        Case{"fieldThatIsCutOff", preface() + frame(headers, endHeaders, 1,
                                                    std::string("\0\x05"
                                                                "ab",
                                                                4))},
        Case{"tableLargerThanAgreed", preface() + frame(headers, endHeaders, 1, "\x3f\xff\xff\x07\x88")},
        Case{"endlessInteger", preface() + frame(headers, endHeaders, 1, "\x3f" + std::string(20, '\xff'))},
        Case{"pushedStream", preface() + frame(pushPromise, endHeaders, 1, number(2, 4) + block({{":method", "GET"}}))},
        Case{"endlessContinuation",
             preface() + frame(headers, 0, 1, block({{":status", "200"}})) + repeated(frame(continuation, 0, 1), 5000)},
        Case{"floodOfSettings", repeated(preface(), 5000)},
        Case{"floodOfPings", preface() + repeated(frame(ping, 0, 0, "eight888"), 5000)},
        Case{"floodOfAcknowledgements", preface() + repeated(frame(ping, ack, 0, "eight888"), 5000)},
        Case{"floodOfPriorities", preface() + repeated(frame(priority, 0, 1, number(0, 4) + "x"), 5000)},
        Case{"floodOfWindowUpdates", preface() + repeated(frame(windowUpdate, 0, 0, number(1, 4)), 5000)},
        Case{"floodOfEmptyBodies", preface() + ok() + repeated(body(1, ""), 5000)},
        Case{"floodOfPadding",
             preface() + ok() + repeated(frame(data, padded, 1, "\x03" + std::string(3, '\0')), 5000)},
        Case{"floodOfUnknownFrames", preface() + repeated(frame(0xfe, 0, 0), 5000)},
        Case{"floodOfFarewells", preface() + repeated(away(0x7fffffff), 5000)}),
    [](const auto& each) { return each.param.name; });

class HTTP2FloodTest : public HTTP2Test {
 protected:
  HTTP2FloodTest() { receive(preface()); }
};

TEST_F(HTTP2FloodTest, isNotWhatABusyServerSends) {
  RecordedExchange exchange;
  start(exchange);
  receive(ok());

  for (int i = 0; i < 20'000; ++i) {
    receive(body(1, "x") + (i % 2 == 0 ? frame(ping, 0, 0, "eight888") : frame(windowUpdate, 0, 0, number(1, 4))));
  }

  EXPECT_EQ(exchange.received.size(), 20'000U);
  EXPECT_EQ(closed, 0);
}

TEST_F(HTTP2FloodTest, isNotResettingEachRequest) {
  for (int i = 0; i < 5'000; ++i) {
    RecordedExchange exchange;
    start(exchange);
    receive(reset(static_cast<std::uint32_t>(2 * i + 1), NGHTTP2_REFUSED_STREAM));
    ASSERT_TRUE(exchange.failure) << i;
    ASSERT_EQ(exchange.failure->failure.cause, FailureCause::notProcessed);
  }

  EXPECT_EQ(closed, 0);
  EXPECT_EQ(connection->capacity(), 1000U);
}

TEST_F(HTTP2FloodTest, isResettingAStreamThatIsOver) {
  RecordedExchange exchange;
  start(exchange);
  receive(ok(1, endStream));

  receive(repeated(reset(1, NGHTTP2_NO_ERROR), 5'000));

  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_EQ(closed, 1);
}

TEST_F(HTTP2FloodTest, isCutOffThoughTheServerDoesNotRead) {
  RecordedExchange exchange;
  start(exchange);
  wire.allowWrites(0);

  receive(repeated(frame(ping, 0, 0, "eight888"), 5'000));

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.message, "the server floods the connection with frames that carry nothing");
  EXPECT_EQ(closed, 1);
}

TEST_F(HTTP2FloodTest, mayBeABodyBeyondItsWindow) {
  RecordedExchange exchange;
  RecordedExchange other;
  start(exchange);
  start(other);
  connection->setReading(exchange, false);
  receive(ok());

  for (int i = 0; i < 300 && !exchange.failure; ++i) receive(body(1, std::string(16'384, 'x')));

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.cause, FailureCause::malformedResponse);
  EXPECT_LE(exchange.received.size(), std::size_t{HTTP2Session::streamWindowBytes});
}

TEST_F(HTTP2FloodTest, endsWithAReasonForTheServer) {
  RecordedExchange exchange;
  start(exchange);
  wire.takeWritten();

  receive(frame(settings, 0, 1));

  ASSERT_TRUE(exchange.failure);
  EXPECT_THAT(exchange.failure->failure.message, HasSubstr("the server breaks HTTP/2: "));
  EXPECT_THAT(written(), Contains(Field(&Frame::type, goAway)));
}

}  // namespace
}  // namespace platform::networking
