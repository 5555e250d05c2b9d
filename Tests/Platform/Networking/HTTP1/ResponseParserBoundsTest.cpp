#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ParsedResponse.hpp"

/// What a server may say without end, and where it is stopped.
namespace platform::networking {
namespace {

using testing::HasSubstr;

const std::string ok = "HTTP/1.1 200 OK\r\n";
const std::string chunkedHead = ok + "Transfer-Encoding: chunked\r\n\r\n";

std::string field(std::size_t bytes) { return "X: " + std::string(bytes - 5, 'x') + "\r\n"; }

/// Feeds the piece again and again; how many bytes were taken before it was refused.
std::size_t bytesTaken(ResponseFeeder& feeder, std::string_view piece, std::size_t limit = std::size_t{64} << 20) {
  std::size_t count = 0;
  while (feeder.response().outcome == "incomplete" && count < limit) {
    feeder.feed(piece);
    count += piece.size();
  }
  EXPECT_TRUE(feeder.response().isMalformed) << feeder.response().outcome;
  return count;
}

TEST(ResponseParserBoundsTest, boundsAllHeadsTogether) {
  const std::string interim = "HTTP/1.1 103 Early Hints\r\n" + field(60'000) + "\r\n";
  const std::size_t left = ResponseParser::maximumBytes - interim.size() - ok.size() - 2;
  const auto response = [&](std::size_t fieldBytes) {
    return parsed(
        {interim + ok + field(60'000) + field(60'000) + field(60'000) + field(fieldBytes - 180'000) + "\r\n"});
  };

  EXPECT_EQ(response(left).outcome, "incomplete");
  EXPECT_EQ(response(left).heads.size(), 2u);
  EXPECT_EQ(response(left + 1).outcome, "header block exceeds 262144 bytes");
}

TEST(ResponseParserBoundsTest, boundsALine) {
  EXPECT_EQ(parsed({ok + field(ResponseParser::maximumLineBytes) + "\r\n"}).heads.size(), 1u);
  EXPECT_EQ(parsed({ok + field(ResponseParser::maximumLineBytes + 1) + "\r\n"}).outcome,
            "a line of the response's head exceeds 65536 bytes");
  EXPECT_EQ(parsed({ok + field(100'000)}).outcome, "a line of the response's head exceeds 65536 bytes");
  EXPECT_EQ(parsed({"HTTP/1.1 200 " + std::string(100'000, 'x')}).outcome,
            "a line of the response's head exceeds 65536 bytes");
}

TEST(ResponseParserBoundsTest, stopsEndlessFields) {
  ResponseFeeder feeder;
  feeder.feed(ok);

  EXPECT_LE(bytesTaken(feeder, field(1000)), 263'000u);
  EXPECT_EQ(feeder.response().outcome, "header block exceeds 262144 bytes");
}

TEST(ResponseParserBoundsTest, stopsTooManyFields) {
  ResponseFeeder feeder;
  feeder.feed(ok);

  EXPECT_EQ(bytesTaken(feeder, "a:\r\n"), (ResponseParser::maximumFields + 1) * 4);
}

TEST(ResponseParserBoundsTest, stopsRepeatedLengths) {
  ResponseFeeder feeder;
  feeder.feed(ok);

  EXPECT_LE(bytesTaken(feeder, "Content-Length: 5\r\n"), ResponseParser::maximumBytes + 20);
}

TEST(ResponseParserBoundsTest, stopsAnEndlessLine) {
  ResponseFeeder feeder;

  EXPECT_LE(bytesTaken(feeder, std::string(100, 'H')), ResponseParser::maximumLineBytes + 100);
}

TEST(ResponseParserBoundsTest, stopsEndlessInterimHeads) {
  ResponseFeeder feeder;
  const std::string_view interim = "HTTP/1.1 100 Continue\r\n\r\n";

  EXPECT_EQ(bytesTaken(feeder, interim), (ResponseParser::maximumInterimHeads + 1) * interim.size());
}

TEST(ResponseParserBoundsTest, stopsEndlessTrailers) {
  ResponseFeeder feeder;
  feeder.feed(chunkedHead + "0\r\n");

  EXPECT_LE(bytesTaken(feeder, field(1000)), 263'000u);
  EXPECT_EQ(feeder.response().outcome, "header block exceeds 262144 bytes");
}

TEST(ResponseParserBoundsTest, stopsEndlessExtensionsOfOneChunk) {
  ResponseFeeder feeder;
  feeder.feed(chunkedHead + "3;");

  EXPECT_LE(bytesTaken(feeder, std::string(100, 'x')), ChunkDecoder::maximumLineBytes + 100);
  EXPECT_THAT(feeder.response().outcome, HasSubstr("too long extensions"));
}

TEST(ResponseParserBoundsTest, stopsExtensionsThatOutweighTheBody) {
  ResponseFeeder feeder;
  feeder.feed(chunkedHead);

  EXPECT_LE(bytesTaken(feeder, "1;" + std::string(1000, 'x') + "\r\na\r\n"), 70'000u);
  EXPECT_THAT(feeder.response().outcome, HasSubstr("too long extensions"));
}

TEST(ResponseParserBoundsTest, letsALongBodyHaveAnExtensionForEachChunk) {
  ResponseFeeder feeder;
  feeder.feed(chunkedHead);
  const std::string chunk = "400;signature=" + std::string(64, 'a') + "\r\n" + std::string(1024, 'b') + "\r\n";
  for (int i = 0; i < 5000; ++i) feeder.feed(chunk);
  feeder.feed("0\r\n\r\n");

  EXPECT_EQ(feeder.response().outcome, "end");
  EXPECT_EQ(feeder.response().body.size(), 5000u * 1024);
}

TEST(ResponseParserBoundsTest, readsAByteAtATimeInLinearTime) {
  // Were each byte to make it look at all the bytes before it once more, this would take minutes.
  ResponseFeeder feeder;
  std::string text = ok;
  for (int i = 0; i < 900; ++i) text += field(60);
  text += "\r\n";
  ResponseParser parser;
  parser.begin(false);
  for (std::size_t count = 1; count < text.size(); ++count) {
    ASSERT_EQ(parser.next(std::string_view(text).substr(0, count)).event, ResponseParser::Event::incomplete);
  }

  EXPECT_EQ(parser.next(text).event, ResponseParser::Event::head);
  EXPECT_EQ(parser.head().fields.size(), 900u);
}

}  // namespace
}  // namespace platform::networking
