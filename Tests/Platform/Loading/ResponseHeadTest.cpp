#include "Platform/Loading/Internal/ResponseHead.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

using Lines = std::vector<std::string>;

/// The last event, or the first failure.
ResponseHead::Result feed(ResponseHead& head, const Lines& lines) {
  ResponseHead::Result result = HeadEvent::more;
  for (const std::string& line : lines) {
    result = head.consume(line);
    if (std::holds_alternative<LoadFailure>(result)) break;
  }
  return result;
}

/// A whole head of a 200 with these field lines, line ends added.
Lines responseWith(const Lines& fields, const std::string& statusLine = "HTTP/1.1 200 OK") {
  Lines lines = {statusLine + "\r\n"};
  for (const std::string& field : fields) lines.push_back(field + "\r\n");
  lines.push_back("\r\n");
  return lines;
}

std::string messageFor(const Lines& lines, std::string_view method = "GET") {
  ResponseHead head(method);
  const auto result = feed(head, lines);
  const auto* failure = std::get_if<LoadFailure>(&result);
  if (!failure) return "accepted";
  EXPECT_EQ(failure->code, URLErrorCode::cannotParseResponse);
  EXPECT_FALSE(head.isComplete());
  return failure->message;
}

BodyFraming framingOf(const Lines& lines, std::string_view method = "GET") {
  ResponseHead head(method);
  EXPECT_EQ(feed(head, lines), ResponseHead::Result(HeadEvent::complete));
  return head.framing();
}

TEST(ResponseHeadTest, collectsAHeadLineByLine) {
  ResponseHead head;

  EXPECT_EQ(head.consume("HTTP/1.1 404 Not Found\r\n"), ResponseHead::Result(HeadEvent::more));
  EXPECT_EQ(head.consume("Server: nginx\r\n"), ResponseHead::Result(HeadEvent::more));
  EXPECT_EQ(head.consume("set-cookie:a=1\r\n"), ResponseHead::Result(HeadEvent::more));
  EXPECT_EQ(head.consume("Set-Cookie: \t b=2 \t\r\n"), ResponseHead::Result(HeadEvent::more));
  EXPECT_FALSE(head.isComplete());
  EXPECT_EQ(head.consume("\r\n"), ResponseHead::Result(HeadEvent::complete));

  EXPECT_TRUE(head.isComplete());
  EXPECT_EQ(head.statusCode(), 404);
  EXPECT_EQ(head.httpVersion(), "HTTP/1.1");
  EXPECT_THAT(head.fields(),
              ElementsAre(Pair("Server", "nginx"), Pair("set-cookie", "a=1"), Pair("Set-Cookie", "b=2")));
}

TEST(ResponseHeadTest, takesTheStatusLinesOfEachVersion) {
  for (const auto& [line, version] :
       std::vector<std::pair<std::string, std::string>>{{"HTTP/1.0 200 OK", "HTTP/1.0"},
                                                        {"HTTP/1.1 200", "HTTP/1.1"},
                                                        {"HTTP/1.1 200 ", "HTTP/1.1"},
                                                        {"HTTP/2 200 ", "HTTP/2"},
                                                        {"HTTP/2 200", "HTTP/2"},
                                                        {"HTTP/3 200 ", "HTTP/3"},
                                                        {"HTTP/1.1 200 Sch\xF6n: gut", "HTTP/1.1"}}) {
    ResponseHead head;

    EXPECT_EQ(feed(head, responseWith({}, line)), ResponseHead::Result(HeadEvent::complete)) << line;

    EXPECT_EQ(head.httpVersion(), version);
    EXPECT_EQ(head.statusCode(), 200);
  }
}

TEST(ResponseHeadTest, refusesMalformedStatusLines) {
  for (const char* line : {"",
                           "HTTP",
                           "HTTP/1.1",
                           "HTTP/1.1 ",
                           "HTTP/1.1 20",
                           "HTTP/1.1 2000",
                           "HTTP/1.1 200OK",
                           "HTTP/1.1  200 OK",
                           "HTTP/1.1\t200 OK",
                           "HTTP/1.1 2x0 OK",
                           "HTTP/1.1 -20 OK",
                           "http/1.1 200 OK",
                           "HTTP/1. 200 OK",
                           "HTTP/1.10 200 OK",
                           "HTTP/0.9 200 OK",
                           "HTTP/2.0 200",
                           "HTTP/4 200",
                           "ICY 200 OK",
                           "HTTP/2",
                           " HTTP/1.1 200 OK",
                           "<html>"}) {
    EXPECT_THAT(messageFor({std::string(line) + "\r\n"}), HasSubstr("malformed")) << line;
  }
}

TEST(ResponseHeadTest, refusesAStatusBelowOneHundred) {
  EXPECT_EQ(messageFor({"HTTP/1.1 099 Low\r\n"}), "the status 099 is out of range");
  EXPECT_EQ(messageFor({"HTTP/1.1 000 \r\n"}), "the status 000 is out of range");
}

TEST(ResponseHeadTest, passesOnAStatusNobodyDefined) {
  ResponseHead head;

  feed(head, responseWith({}, "HTTP/1.1 999 Request denied"));

  EXPECT_TRUE(head.isComplete());
  EXPECT_EQ(head.statusCode(), 999);
}

TEST(ResponseHeadTest, dropsInterimHeadsBeforeTheFinalOne) {
  ResponseHead head;

  EXPECT_EQ(feed(head, responseWith({}, "HTTP/1.1 100 Continue")), ResponseHead::Result(HeadEvent::interim));
  EXPECT_FALSE(head.isComplete());
  EXPECT_EQ(feed(head, responseWith({"Link: </style.css>"}, "HTTP/1.1 103 Early Hints")),
            ResponseHead::Result(HeadEvent::interim));
  EXPECT_EQ(feed(head, responseWith({"X: 1"})), ResponseHead::Result(HeadEvent::complete));

  EXPECT_EQ(head.statusCode(), 200);
  EXPECT_THAT(head.fields(), ElementsAre(Pair("X", "1")));
}

TEST(ResponseHeadTest, refusesASwitchOfProtocols) {
  EXPECT_THAT(messageFor({"HTTP/1.1 101 Switching Protocols\r\n"}), HasSubstr("101"));
}

TEST(ResponseHeadTest, takesTrailersWithoutAddingThemToTheFields) {
  ResponseHead head;
  feed(head, responseWith({"Transfer-Encoding: chunked", "Trailer: Digest"}));

  EXPECT_EQ(head.consume("Digest: abc\r\n"), ResponseHead::Result(HeadEvent::trailer));
  EXPECT_EQ(head.consume(" folded\r\n"), ResponseHead::Result(HeadEvent::trailer));
  EXPECT_EQ(head.consume("Content-Length: 5\r\n"), ResponseHead::Result(HeadEvent::trailer));
  EXPECT_EQ(head.consume("\r\n"), ResponseHead::Result(HeadEvent::trailer));

  EXPECT_EQ(head.fields().count(), 2U);
  EXPECT_EQ(head.framing(), BodyFraming::chunked);
  EXPECT_TRUE(head.isComplete());
}

TEST(ResponseHeadTest, refusesASecondHeadAfterTheBody) {
  Lines lines = responseWith({"Content-Length: 0"});
  lines.push_back("HTTP/1.1 200 Smuggled: yes\r\n");

  EXPECT_THAT(messageFor(lines), HasSubstr("malformed"));
}

TEST(ResponseHeadTest, takesLinesThatEndWithALineFeedAlone) {
  ResponseHead head;

  EXPECT_EQ(feed(head, {"HTTP/1.1 200 OK\n", "X: 1\n", "\n"}), ResponseHead::Result(HeadEvent::complete));

  EXPECT_THAT(head.fields(), ElementsAre(Pair("X", "1")));
}

TEST(ResponseHeadTest, refusesALineWithoutItsEnd) {
  EXPECT_THAT(messageFor({"HTTP/1.1 200 OK\r\n", "X: 1"}), HasSubstr("has no end"));
  EXPECT_THAT(messageFor({"HTTP/1.1 200 OK\r\n", "X: 1\r"}), HasSubstr("has no end"));
  EXPECT_THAT(messageFor({""}), HasSubstr("has no end"));
}

TEST(ResponseHeadTest, refusesControlCharactersAnywhere) {
  for (int code = 0; code < 0x80; ++code) {
    if ((code >= 0x20 && code < 0x7F) || code == '\t') continue;
    const std::string character(1, static_cast<char>(code));
    EXPECT_THAT(messageFor({"HTTP/1.1 200 OK\r\n", "X: a" + character + "b\r\n"}), HasSubstr("control character"))
        << code;
    EXPECT_THAT(messageFor({"HTTP/1.1 200 O" + character + "K\r\n"}), HasSubstr("control character")) << code;
  }
  EXPECT_THAT(messageFor({"HTTP/1.1 200 OK\r\n", "X: a\r\r\n"}), HasSubstr("control character"));
}

TEST(ResponseHeadTest, refusesASpaceBeforeTheColonOfAnyField) {
  EXPECT_EQ(messageFor(responseWith({"Transfer-Encoding : chunked"})),
            "the header field \"Transfer-Encoding\" has a blank before its colon");
  EXPECT_EQ(messageFor(responseWith({"X\t: 1"})), "the header field \"X\" has a blank before its colon");
}

TEST(ResponseHeadTest, refusesMalformedFieldNames) {
  EXPECT_THAT(messageFor(responseWith({": value"})), HasSubstr("malformed"));
  EXPECT_THAT(messageFor(responseWith({"X Y: value"})), HasSubstr("malformed"));
  EXPECT_THAT(messageFor(responseWith({"X\xE4: value"})), HasSubstr("malformed"));
  EXPECT_EQ(messageFor(responseWith({"no colon here"})), "the header line \"no colon here\" has no colon");
}

TEST(ResponseHeadTest, joinsFoldedLinesWithOneSpace) {
  ResponseHead head;

  feed(head, responseWith({"X: one", "  \t two", " ", "\tthree", "Y:", " 1"}));

  EXPECT_THAT(head.fields(), ElementsAre(Pair("X", "one two three"), Pair("Y", "1")));
}

TEST(ResponseHeadTest, refusesFoldsThatHideTheFraming) {
  EXPECT_EQ(messageFor(responseWith({"Transfer-Encoding:", " chunked"})),
            "the header field \"Transfer-Encoding\" is folded");
  EXPECT_EQ(messageFor(responseWith({"Content-Length: 1", " 2"})), "the header field \"Content-Length\" is folded");
  EXPECT_THAT(messageFor(responseWith({" X: 1"})), HasSubstr("continues nothing"));
}

TEST(ResponseHeadTest, boundsAllHeadsTogether) {
  const std::string start = "HTTP/1.1 200 OK\r\n";
  const std::string interim = "HTTP/1.1 103 Early Hints\r\n";
  const std::string end = "\r\n";
  const std::size_t rest = ResponseHead::maximumBytes - start.size() - interim.size() - 2 * end.size() - 2 * 5;
  const auto field = [](std::size_t bytes) { return "X: " + std::string(bytes, 'x') + "\r\n"; };

  EXPECT_EQ(messageFor({interim, field(1000), end, start, field(rest - 1000), end}), "accepted");
  EXPECT_EQ(messageFor({interim, field(1000), end, start, field(rest - 999), end}),
            "header block exceeds 262144 bytes");
}

TEST(ResponseHeadTest, boundsTrailersToo) {
  Lines lines = responseWith({"Transfer-Encoding: chunked"});
  for (int i = 0; i < 270; ++i) lines.push_back("X: " + std::string(1000, 'x') + "\r\n");

  ResponseHead head;
  const auto result = feed(head, lines);

  ASSERT_TRUE(std::holds_alternative<LoadFailure>(result));
  EXPECT_EQ(std::get<LoadFailure>(result).message, "header block exceeds 262144 bytes");
}

TEST(ResponseHeadTest, boundsAnEndlessRowOfInterimHeads) {
  ResponseHead head;
  ResponseHead::Result result = HeadEvent::more;
  for (int i = 0; i < 20000 && !std::holds_alternative<LoadFailure>(result); ++i) {
    result = feed(head, {"HTTP/1.1 100 Continue\r\n", "\r\n"});
  }

  EXPECT_TRUE(std::holds_alternative<LoadFailure>(result));
}

TEST(ResponseHeadTest, makesOneOfEqualContentLengths) {
  for (const Lines& fields : {Lines{"Content-Length: 5", "content-length: 5"}, Lines{"Content-Length: 5, 5"},
                              Lines{"Content-Length: 5 ,\t05", "Content-Length: 5"}}) {
    ResponseHead head;

    EXPECT_EQ(feed(head, responseWith(fields)), ResponseHead::Result(HeadEvent::complete));

    EXPECT_THAT(head.fields(), ElementsAre(Pair("Content-Length", "5")));
    EXPECT_EQ(head.contentLength(), 5);
    EXPECT_EQ(head.framing(), BodyFraming::length);
  }
}

TEST(ResponseHeadTest, takesContentLengthsBeyondFourGiB) {
  ResponseHead head;

  feed(head, responseWith({"Content-Length: 5368709120"}));

  EXPECT_EQ(head.contentLength(), std::int64_t{5} << 30);
}

TEST(ResponseHeadTest, refusesDifferingContentLengths) {
  EXPECT_EQ(messageFor(responseWith({"Content-Length: 5", "Content-Length: 6"})),
            "the response has differing Content-Length fields");
  EXPECT_EQ(messageFor(responseWith({"Content-Length: 5, 6"})), "the response has differing Content-Length fields");
}

TEST(ResponseHeadTest, refusesContentLengthsThatAreNoNumber) {
  for (const char* value : {"", "-1", "+1", "0x10", "1e3", "5,", ",5", "5 5", "five", "9223372036854775808", "5;"}) {
    EXPECT_EQ(messageFor(responseWith({std::string("Content-Length: ") + value})),
              "the Content-Length is not a number of bytes")
        << value;
  }
  EXPECT_EQ(messageFor(responseWith({"Content-Length: 9223372036854775807"})), "accepted");
}

TEST(ResponseHeadTest, refusesEveryTransferEncodingButChunked) {
  EXPECT_EQ(messageFor(responseWith({"Transfer-Encoding: CHUNKED"})), "accepted");
  for (const char* value :
       {"gzip", "gzip, chunked", "chunked, gzip", "identity", "", "chunked, chunked", "xchunked", "chunked;q=1"}) {
    EXPECT_THAT(messageFor(responseWith({std::string("Transfer-Encoding: ") + value})), HasSubstr("is not \"chunked\""))
        << value;
  }
  EXPECT_THAT(messageFor(responseWith({"Transfer-Encoding: chunked", "Transfer-Encoding: chunked"})),
              HasSubstr("is not \"chunked\""));
}

TEST(ResponseHeadTest, refusesATransferEncodingWhereTheVersionHasNone) {
  EXPECT_EQ(messageFor(responseWith({"Transfer-Encoding: chunked"}, "HTTP/1.0 200 OK")),
            "a Transfer-Encoding has no place in HTTP/1.0");
  EXPECT_EQ(messageFor(responseWith({"transfer-encoding: chunked"}, "HTTP/2 200")),
            "a Transfer-Encoding has no place in HTTP/2");
}

TEST(ResponseHeadTest, refusesATransferEncodingBesideAContentLength) {
  EXPECT_EQ(messageFor(responseWith({"Content-Length: 5", "Transfer-Encoding: chunked"})),
            "the response has both a Transfer-Encoding and a Content-Length");
}

TEST(ResponseHeadTest, saysHowTheBodyEnds) {
  EXPECT_EQ(framingOf(responseWith({"Content-Length: 0"})), BodyFraming::length);
  EXPECT_EQ(framingOf(responseWith({"Transfer-Encoding: chunked"})), BodyFraming::chunked);
  EXPECT_EQ(framingOf(responseWith({})), BodyFraming::untilClose);
  EXPECT_EQ(framingOf(responseWith({"Content-Length: 5"}), "HEAD"), BodyFraming::none);
  EXPECT_EQ(framingOf(responseWith({"Content-Length: 5"}, "HTTP/1.1 304 Not Modified")), BodyFraming::none);
  EXPECT_EQ(framingOf(responseWith({}, "HTTP/1.1 204 No Content")), BodyFraming::none);
  EXPECT_EQ(framingOf(responseWith({"Content-Length: 5"}, "HTTP/1.1 206 Partial Content")), BodyFraming::length);
}

TEST(ResponseHeadTest, refusesMoreThanFiveContentCodings) {
  EXPECT_EQ(messageFor(responseWith({"Content-Encoding: gzip, gzip, gzip", "Content-Encoding: gzip,, gzip"})),
            "accepted");
  EXPECT_EQ(messageFor(responseWith({"Content-Encoding: gzip, gzip, gzip", "Content-Encoding: gzip, gzip, br"})),
            "the response has 6 content codings, more than 5");
}

TEST(ResponseHeadTest, staysFailed) {
  ResponseHead head;
  const auto first = head.consume("nonsense\r\n");

  const auto second = head.consume("HTTP/1.1 200 OK\r\n");

  EXPECT_EQ(first, second);
  EXPECT_TRUE(std::holds_alternative<LoadFailure>(second));
}

TEST(ResponseHeadTest, servesAnotherResponseAfterAReset) {
  ResponseHead head("HEAD");
  feed(head, responseWith({"X: 1", "Content-Length: 7"}));
  head.reset("GET");
  EXPECT_FALSE(head.hasBegun());

  feed(head, responseWith({"Y: 2"}, "HTTP/2 201"));

  EXPECT_EQ(head.statusCode(), 201);
  EXPECT_EQ(head.framing(), BodyFraming::untilClose);
  EXPECT_THAT(head.fields(), ElementsAre(Pair("Y", "2")));
}

/// Heads put together at random from pieces that are near the edges of the grammar.
class RandomHead {
 public:
  explicit RandomHead(unsigned seed) : random_(seed) {}

  std::string line() {
    static const std::vector<std::string> pieces = {"HTTP/1.1 200 OK",
                                                    "HTTP/1.1 100 Continue",
                                                    "HTTP/2 204",
                                                    "Content-Length",
                                                    "Transfer-Encoding",
                                                    "chunked",
                                                    ":",
                                                    ": ",
                                                    " :",
                                                    "5",
                                                    "6",
                                                    ", ",
                                                    " ",
                                                    "\t",
                                                    "\r",
                                                    std::string(1, '\0'),
                                                    "X-A",
                                                    "\xFF",
                                                    "gzip",
                                                    "Content-Encoding: ",
                                                    "\n",
                                                    "é"};
    std::string line;
    for (auto count = random_() % 6; count > 0; --count) line += pieces[random_() % pieces.size()];
    if (random_() % 8 != 0) line += random_() % 4 != 0 ? "\r\n" : "\n";
    return line;
  }

 private:
  std::mt19937 random_;
};

void expectNothingForbiddenIn(const ResponseHead& head) {
  for (const auto& [name, value] : head.fields()) EXPECT_EQ(HTTPHeaderFields::problem(name, value), "");
  EXPECT_LE(head.fields().values("Content-Length").size(), 1U);
  EXPECT_FALSE(head.fields().contains("Content-Length") && head.fields().contains("Transfer-Encoding"));
  EXPECT_EQ(head.framing() == BodyFraming::chunked && head.fields().value("Transfer-Encoding") != "chunked", false);
}

TEST(ResponseHeadTest, neverAcceptsWhatItMustRefuseInRandomLines) {
  int completed = 0;
  for (unsigned seed = 0; seed < 20000; ++seed) {
    RandomHead source(seed);
    ResponseHead head(seed % 2 == 0 ? "GET" : "HEAD");
    // Half of the runs start well, so that the fields are reached.
    if (seed % 4 < 2) head.consume("HTTP/1.1 200 OK\r\n");
    for (int i = 0; i < 6 && !head.isComplete(); ++i) head.consume(i == 5 ? "\r\n" : source.line());
    if (!head.isComplete()) continue;
    ++completed;
    expectNothingForbiddenIn(head);
  }
  EXPECT_GT(completed, 100);
}

}  // namespace
}  // namespace platform::detail
