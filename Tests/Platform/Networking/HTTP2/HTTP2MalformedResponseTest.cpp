#include <nghttp2/nghttp2.h>

#include "HTTP2Test.hpp"

namespace platform::networking {
namespace {

using namespace corvane::testkit::http2;
using testing::Contains;
using testing::Field;
using testing::HasSubstr;
using testing::Pair;

struct Case {
  const char* name;
  /// On stream 1.
  std::string bytes;
  const char* method = "GET";
};

std::ostream& operator<<(std::ostream& out, const Case& each) { return out << each.name; }

/// Bytes with NUL in them.
template <std::size_t size>
std::string raw(const char (&text)[size]) {
  return {text, size - 1};
}

std::string ok(Fields more = {}, std::uint8_t flags = 0) {
  more.insert(more.begin(), {":status", "200"});
  return head(1, more, flags);
}

std::string manyInterims() {
  std::string bytes;
  for (int i = 0; i < 100; ++i) bytes += head(1, {{":status", "103"}});
  return bytes;
}

/// 10,000 times a field of 3,900 bytes, in 14 kB (RFC 7541, 6.1).
std::string compressionBomb() {
  std::string payload = block({{":status", "200"}});
  std::string field = block({{"x", std::string(3900, 'b')}});
  field[0] = '\x40';  // with indexing
  payload += field;
  payload.append(10'000, '\xbe');
  return frame(headers, endHeaders, 1, payload);
}

class HTTP2MalformedResponseTest : public HTTP2Test, public testing::WithParamInterface<Case> {};

/// A server that breaks the rules of one response loses that one alone.
TEST_P(HTTP2MalformedResponseTest, failsItsExchangeAlone) {
  for (const bool isWhole : {true, false}) {
    wire = MemoryWire();
    connection = std::make_unique<HTTP2Connection>(loop, wire.makeStream(), *this);
    receive(preface());
    RecordedExchange exchange(GetParam().method);
    RecordedExchange other;
    start(exchange);
    start(other);

    if (isWhole) {
      receive(GetParam().bytes);
    } else {
      wire.receiveByteByByte(GetParam().bytes);
    }
    run();
    ASSERT_TRUE(connection) << exchange.failure->failure.message;
    receive(head(3, {{":status", "200"}}) + body(3, "fine", endStream));

    ASSERT_TRUE(exchange.failure) << isWhole;
    EXPECT_EQ(exchange.failure->failure.cause, FailureCause::malformedResponse) << exchange.failure->failure.message;
    EXPECT_EQ(exchange.failure->delivery, Delivery::unknown);
    EXPECT_EQ(exchange.outcomes, 1);
    EXPECT_EQ(other.received, "fine");
    EXPECT_TRUE(other.hasEnded());
    EXPECT_EQ(closed, 0);
    EXPECT_THAT(written(), Contains(testing::AllOf(Field(&Frame::type, rstStream), Field(&Frame::stream, 1U))));
    EXPECT_EQ(connection->active(), 0U);
    EXPECT_EQ(connection->capacity(), 1000U);
  }
}

INSTANTIATE_TEST_SUITE_P(
    , HTTP2MalformedResponseTest,
    testing::Values(
        Case{"noStatus", head(1, {{"x-a", "b"}})}, Case{"emptyHead", head(1, {})},
        Case{"twoStatuses", head(1, {{":status", "200"}, {":status", "200"}})},
        Case{"shortStatus", head(1, {{":status", "20"}})}, Case{"longStatus", head(1, {{":status", "2000"}})},
        Case{"statusWithSign", head(1, {{":status", "+20"}})}, Case{"statusOfLetters", head(1, {{":status", "abc"}})},
        Case{"statusBelow100", head(1, {{":status", "099"}})}, Case{"switchedProtocols", head(1, {{":status", "101"}})},
        Case{"pseudoFieldOfRequests", ok({{":path", "/"}})}, Case{"unknownPseudoField", ok({{":x", "y"}})},
        Case{"pseudoFieldAfterOthers", head(1, {{"x-a", "b"}, {":status", "200"}})},
        Case{"upperCaseName", ok({{"X-a", "b"}})}, Case{"emptyName", ok({{"", "b"}})},
        Case{"spaceInName", ok({{"x a", "b"}})}, Case{"colonInName", ok({{"x:a", "b"}})},
        Case{"nulInName", ok({{raw("x\0a"), "b"}})}, Case{"highByteInName", ok({{"x\xe4", "b"}})},
        Case{"nulInValue", ok({{"x-a", raw("b\0c")}})}, Case{"lineFeedInValue", ok({{"x-a", "b\nc"}})},
        Case{"carriageReturnInValue", ok({{"x-a", "b\rset-cookie: c"}})}, Case{"valueAfterSpace", ok({{"x-a", " b"}})},
        Case{"valueBeforeTab", ok({{"x-a", "b\t"}})}, Case{"connection", ok({{"connection", "close"}})},
        Case{"keepAlive", ok({{"keep-alive", "timeout=5"}})}, Case{"proxyConnection", ok({{"proxy-connection", "x"}})},
        Case{"transferEncoding", ok({{"transfer-encoding", "chunked"}})}, Case{"upgrade", ok({{"upgrade", "h2c"}})},
        Case{"connectionWithControl", ok({{"connection", "\x01"}})},
        Case{"lengthOfLetters", ok({{"content-length", "five"}})},
        Case{"negativeLength", ok({{"content-length", "-5"}})}, Case{"signedLength", ok({{"content-length", "+5"}})},
        Case{"emptyLength", ok({{"content-length", ""}})}, Case{"listOfLengths", ok({{"content-length", "5, 5"}})},
        Case{"lengthWithControl", ok({{"content-length", "5\x01"}})},
        Case{"hugeLength", ok({{"content-length", "99999999999999999999"}})},
        Case{"differingLengths", ok({{"content-length", "5"}, {"content-length", "6"}})},
        Case{"lengthTooLong", ok({{"content-length", "6"}}) + body(1, "hello", endStream)},
        Case{"lengthTooShort", ok({{"content-length", "4"}}) + body(1, "hello", endStream)},
        Case{"lengthWithoutBody", ok({{"content-length", "4"}}, endStream)},
        Case{"lengthWithTrailersOnly", ok({{"content-length", "4"}}) + head(1, {{"x-a", "b"}}, endStream)},
        Case{"bodyOfNoContent", head(1, {{":status", "204"}}) + body(1, "x", endStream)},
        Case{"bodyOfNotModified", head(1, {{":status", "304"}}) + body(1, "x", endStream)},
        Case{"bodyOfHead", ok() + body(1, "x", endStream), "HEAD"},
        Case{"lengthOfNoContent", head(1, {{":status", "204"}, {"content-length", "1"}})},
        Case{"bodyAfterInterim", head(1, {{":status", "103"}}) + body(1, "x", endStream)},
        Case{"interimThatEnds", head(1, {{":status", "103"}}, endStream)},
        Case{"interimWithLength", head(1, {{":status", "103"}, {"content-length", "0"}})},
        Case{"interimsWithoutEnd", manyInterims()}, Case{"trailersThatDoNotEnd", ok() + head(1, {{"x-a", "b"}})},
        Case{"trailersWithStatus", ok() + head(1, {{":status", "200"}}, endStream)},
        Case{"trailersOfAConnection", ok() + head(1, {{"connection", "close"}}, endStream)},
        Case{"secondHead", ok() + ok()}, Case{"compressionBomb", compressionBomb()},
        Case{"windowOverflow", frame(windowUpdate, 0, 1, number(0x7fffffff, 4))}),
    [](const auto& each) { return each.param.name; });

class HTTP2UnusualResponseTest : public HTTP2Test {
 protected:
  HTTP2UnusualResponseTest() {
    receive(preface());
    start(exchange);
  }
  RecordedExchange exchange;
};

TEST_F(HTTP2UnusualResponseTest, keepsControlsInAValue) {
  receive(ok({{"x-a",
               "b\x01\x7f\xff"
               "c"},
              {"x-b", "a\tb"},
              {"x-c", ""}},
             endStream));

  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_THAT(exchange.fields, testing::ElementsAre(Pair("x-a",
                                                         "b\x01\x7f\xff"
                                                         "c"),
                                                    Pair("x-b", "a\tb"), Pair("x-c", "")));
}

TEST_F(HTTP2UnusualResponseTest, knowsStatusesThatNobodyDefined) {
  receive(head(1, {{":status", "799"}}, endStream));

  EXPECT_EQ(exchange.status, 799);
  EXPECT_TRUE(exchange.hasEnded());
}

TEST_F(HTTP2UnusualResponseTest, isNotMisledByPaddingAndPriority) {
  const std::string padding(20, '\0');
  receive(frame(headers, endHeaders | padded | 0x20, 1,
                "\x14" + number(0, 4) + "\x10" + block({{":status", "200"}, {"content-length", "5"}}) + padding));
  receive(frame(data, padded | endStream, 1, "\x14hello" + padding));

  EXPECT_EQ(exchange.received, "hello");
  EXPECT_TRUE(exchange.hasEnded());
}

TEST_F(HTTP2UnusualResponseTest, ignoresFramesItDoesNotKnow) {
  receive(frame(0xa, 0, 1, "alt") + frame(0xfe, 0xff, 0, "what") + ok() + frame(0xc, 0, 0, "x") +
          body(1, "a", endStream));

  EXPECT_EQ(exchange.received, "a");
  EXPECT_TRUE(exchange.hasEnded());
}

TEST_F(HTTP2UnusualResponseTest, takesAHeadInPieces) {
  const std::string fields = block({{":status", "200"}, {"x-a", "a value of some length"}});
  const auto pieces = [&](std::uint32_t stream) {
    std::string bytes = frame(headers, endStream, stream, fields.substr(0, 3));
    for (std::size_t at = 3; at < 22; ++at) bytes += frame(continuation, 0, stream, fields.substr(at, 1));
    return bytes + frame(continuation, endHeaders, stream, fields.substr(22));
  };
  RecordedExchange other;
  start(other);

  receive(pieces(1));
  wire.receiveByteByByte(pieces(3));

  for (const RecordedExchange* each : {&exchange, &other}) {
    EXPECT_EQ(each->field("x-a"), "a value of some length");
    EXPECT_TRUE(each->hasEnded());
  }
}

TEST_F(HTTP2UnusualResponseTest, boundsAllHeadsAndTrailersTogether) {
  const Fields large(30, {"x-a", std::string(500, 'y')});
  Fields interim = large;
  interim.insert(interim.begin(), {":status", "103"});
  int count = 0;
  while (!exchange.failure && count < 100) {
    receive(head(1, interim));
    ++count;
  }

  ASSERT_TRUE(exchange.failure);
  EXPECT_EQ(exchange.failure->failure.message, "header block exceeds 262144 bytes");
  EXPECT_EQ(count, 17);
}

TEST_F(HTTP2UnusualResponseTest, isOverAfterItsEnd) {
  RecordedExchange other;
  start(other);

  receive(ok({}, endStream) + ok({{"x-a", "b"}}, endStream) + body(1, "more", endStream));
  receive(head(3, {{":status", "200"}}, endStream));

  EXPECT_TRUE(exchange.hasEnded());
  EXPECT_EQ(exchange.heads, 1);
  EXPECT_EQ(exchange.field("x-a"), "");
  EXPECT_EQ(exchange.received, "");
  EXPECT_EQ(other.outcomes, 1);
}

TEST_F(HTTP2UnusualResponseTest, saysWhatWasWrong) {
  receive(ok({{"X-a", "b"}}));

  ASSERT_TRUE(exchange.failure);
  EXPECT_THAT(exchange.failure->failure.message, HasSubstr("Invalid HTTP header field"));
}

}  // namespace
}  // namespace platform::networking
