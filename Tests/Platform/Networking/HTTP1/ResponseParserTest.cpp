#include "Platform/Networking/HTTP1/ResponseParser.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ParsedResponse.hpp"

namespace platform::networking {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

ParsedResponse whole(std::string_view text, StreamEnd end = StreamEnd::open) { return parsed({text}, end); }

/// A whole head of a 200 with these field lines, line ends added.
std::string headWith(const std::vector<std::string>& fields, const std::string& statusLine = "HTTP/1.1 200 OK") {
  std::string head = statusLine + "\r\n";
  for (const std::string& field : fields) head += field + "\r\n";
  return head + "\r\n";
}

/// "accepted" where the head is.
std::string messageFor(std::string_view text) {
  const ParsedResponse response = whole(text);
  if (response.outcome == "incomplete" || response.outcome == "end") return "accepted";
  EXPECT_TRUE(response.isMalformed) << response.outcome;
  return response.outcome;
}

TEST(ResponseParserTest, readsAHeadAndABodyOfKnownLength) {
  const ParsedResponse response = whole(
      "HTTP/1.1 404 Not Found\r\nServer: nginx\r\nset-cookie:a=1\r\nSet-Cookie: \t b=2 \t\r\nEmpty:\r\n"
      "Content-Length: 5\r\n\r\nhelloHTTP");

  EXPECT_THAT(response.heads,
              ElementsAre("404 HTTP/1.1 length 5: Server=nginx; set-cookie=a=1; Set-Cookie=b=2; Empty=; "
                          "Content-Length=5; "));
  EXPECT_EQ(response.body, "hello");
  EXPECT_EQ(response.outcome, "end");
  EXPECT_EQ(response.rest, "HTTP");
  EXPECT_TRUE(response.keepsConnection);
}

TEST(ResponseParserTest, readsChunksWithExtensionsAndTrailers) {
  const ParsedResponse response = whole(
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: Chunked\r\n\r\n3;a=1\r\ntoo\r\n0001 ;b=\";\"\r\n \r\na  \r\n much more\r\n"
      "0;c\r\nX-Sum: 7\r\nX-Two: 2\r\n\r\nrest");

  EXPECT_THAT(response.heads, ElementsAre("200 HTTP/1.1: Transfer-Encoding=Chunked; "));
  EXPECT_EQ(response.body, "too  much more");
  EXPECT_EQ(response.trailers, "X-Sum=7; X-Two=2; ");
  EXPECT_EQ(response.outcome, "end");
  EXPECT_EQ(response.rest, "rest");
  EXPECT_TRUE(response.keepsConnection);
}

TEST(ResponseParserTest, readsUntilTheEndOfTheStreamWhereNothingElseIsSaid) {
  const ParsedResponse response = whole("HTTP/1.1 200 OK\r\n\r\nall of it", StreamEnd::closed);

  EXPECT_THAT(response.heads, ElementsAre("200 HTTP/1.1: "));
  EXPECT_EQ(response.body, "all of it");
  EXPECT_EQ(response.outcome, "end");
  EXPECT_FALSE(response.keepsConnection);
}

TEST(ResponseParserTest, takesTheStatusLinesOfEachVersion) {
  for (const auto& [line, version] :
       std::vector<std::pair<std::string, std::string>>{{"HTTP/1.0 200 OK", "HTTP/1.0"},
                                                        {"HTTP/1.1 200", "HTTP/1.1"},
                                                        {"HTTP/1.1 200 ", "HTTP/1.1"},
                                                        {"HTTP/1.7 200 ", "HTTP/1.7"},
                                                        {"HTTP/1.1 200 Sch\xF6n: gut", "HTTP/1.1"}}) {
    EXPECT_THAT(whole(headWith({}, line)).heads, ElementsAre("200 " + version + ": ")) << line;
  }
}

TEST(ResponseParserTest, refusesMalformedStatusLines) {
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
                           "HTTP/1.1 0x64",
                           "http/1.1 200 OK",
                           "HTTP/1. 200 OK",
                           "HTTP/1.10 200 OK",
                           "HTTP/0.9 200 OK",
                           "HTTP/2.0 200",
                           "HTTP/2 200",
                           "HTTP/4 200",
                           "ICY 200 OK",
                           "SSH-2.0-OpenSSH_9.2",
                           " HTTP/1.1 200 OK",
                           "<html>"}) {
    EXPECT_THAT(messageFor(std::string(line) + "\r\n"), HasSubstr("malformed")) << line;
  }
  EXPECT_EQ(messageFor("HTTP/1.1 099 Low\r\n"), "the status 099 is out of range");
  EXPECT_EQ(messageFor("HTTP/1.1 000 \r\n"), "the status 000 is out of range");
  EXPECT_THAT(messageFor("HTTP/1.1 101 Switching Protocols\r\n"), HasSubstr("101"));
}

TEST(ResponseParserTest, passesOnAStatusNobodyDefined) {
  EXPECT_EQ(whole(headWith({"Content-Length: 0"}, "HTTP/1.1 999 Request denied")).outcome, "end");
}

TEST(ResponseParserTest, tellsInterimHeadsFromTheFinalOne) {
  const ParsedResponse response = whole(headWith({}, "HTTP/1.1 100 Continue") +
                                        headWith({"Link: </a>", "Content-Length: 3"}, "HTTP/1.1 103 Early Hints") +
                                        headWith({"X: 1", "Content-Length: 0"}));

  EXPECT_THAT(response.heads, ElementsAre("100 HTTP/1.1 no body length 0: ",
                                          "103 HTTP/1.1 no body length 0: Link=</a>; Content-Length=3; ",
                                          "200 HTTP/1.1 length 0: X=1; Content-Length=0; "));
  EXPECT_EQ(response.outcome, "end");
}

TEST(ResponseParserTest, knowsWhichResponsesHaveNoBody) {
  for (const char* statusLine : {"HTTP/1.1 204 No Content", "HTTP/1.1 304 Not Modified"}) {
    for (const char* field : {"Content-Length: 5", "Transfer-Encoding: chunked", "X: 1"}) {
      const ParsedResponse response = whole(headWith({field}, statusLine));
      EXPECT_EQ(response.outcome, "end");
      EXPECT_THAT(response.heads, ElementsAre(HasSubstr("no body length 0")));
      EXPECT_TRUE(response.keepsConnection);
    }
  }
  const std::string head = headWith({"Content-Length: 5"});
  EXPECT_THAT(parsed({head}, StreamEnd::open, true).heads,
              ElementsAre("200 HTTP/1.1 no body length 0: Content-Length=5; "));
}

TEST(ResponseParserTest, takesLinesThatEndWithALineFeedAlone) {
  const ParsedResponse response = whole("HTTP/1.1 200 OK\nX: 1\nContent-Length: 1\n\nx");

  EXPECT_THAT(response.heads, ElementsAre("200 HTTP/1.1 length 1: X=1; Content-Length=1; "));
  EXPECT_EQ(response.outcome, "end");
}

TEST(ResponseParserTest, refusesCRAndNULInsideALine) {
  for (const char byte : {'\r', '\0'}) {
    const std::string character(1, byte);
    EXPECT_THAT(messageFor(headWith({"X: a" + character + "b"})), HasSubstr("control character"));
    EXPECT_THAT(messageFor(headWith({"X: a long value of a field" + character})), HasSubstr("control character"));
    EXPECT_THAT(messageFor(headWith({"X" + character + ": a"})), HasSubstr("control character"));
    EXPECT_THAT(messageFor(headWith({}, "HTTP/1.1 200 O" + character + "K")), HasSubstr("control character"));
    EXPECT_THAT(messageFor(headWith({"Transfer-Encoding: chunked"}) + "0\r\nX: a" + character + "b\r\n\r\n"),
                HasSubstr("control character"));
  }
  EXPECT_THAT(messageFor("HTTP/1.1 200 OK\r\n\r\r\n"), HasSubstr("control character"));
}

TEST(ResponseParserTest, keepsOtherControlCharactersInValues) {
  for (int code = 1; code < 0x100; ++code) {
    if (code == '\r' || code == '\n' || code == '\t' || code == ' ') continue;
    const std::string value = std::string("a") + static_cast<char>(code);
    EXPECT_THAT(whole(headWith({"X: " + value})).heads, ElementsAre("200 HTTP/1.1: X=" + value + "; ")) << code;
  }
}

TEST(ResponseParserTest, refusesASpaceBeforeTheColonOfAnyField) {
  EXPECT_EQ(messageFor(headWith({"Transfer-Encoding : chunked"})),
            "the header field \"Transfer-Encoding\" has a space before its colon");
  EXPECT_EQ(messageFor(headWith({"X\t: 1"})), "the header field \"X\" has a space before its colon");
}

TEST(ResponseParserTest, refusesMalformedFieldNames) {
  EXPECT_THAT(messageFor(headWith({": value"})), HasSubstr("malformed"));
  EXPECT_THAT(messageFor(headWith({"X Y: value"})), HasSubstr("malformed"));
  EXPECT_THAT(messageFor(headWith({"X\xE4: value"})), HasSubstr("malformed"));
  EXPECT_THAT(messageFor(headWith({"X\x01: value"})), HasSubstr("malformed"));
  EXPECT_EQ(messageFor(headWith({"no colon here"})), "the header line \"no colon here\" has no colon");
}

TEST(ResponseParserTest, refusesFoldedLines) {
  EXPECT_EQ(messageFor(headWith({"X: one", " two"})), "the header field \"X\" is folded");
  EXPECT_EQ(messageFor(headWith({"Transfer-Encoding: chunked", "\tchunked"})),
            "the header field \"Transfer-Encoding\" is folded");
  EXPECT_NE(messageFor(headWith({"Transfer-Encoding:", " chunked"})), "accepted");
  EXPECT_THAT(messageFor(headWith({" X: 1"})), HasSubstr("begins with a space"));
  EXPECT_EQ(messageFor(headWith({"Transfer-Encoding: chunked"}) + "0\r\nX: 1\r\n 2\r\n\r\n"),
            "the header field \"X\" is folded");
  EXPECT_THAT(messageFor(headWith({"X: 1", " "})), HasSubstr("folded"));
}

TEST(ResponseParserTest, makesOneOfEqualContentLengths) {
  for (const std::vector<std::string>& fields : {std::vector<std::string>{"Content-Length: 5", "content-length: 5"},
                                                 {"Content-Length: 5, 5"},
                                                 {"Content-Length: 5 ,\t05", "Content-Length: 005"}}) {
    const ParsedResponse response = whole(headWith(fields) + "12345");

    EXPECT_THAT(response.heads, ElementsAre("200 HTTP/1.1 length 5: Content-Length=5; "));
    EXPECT_EQ(response.outcome, "end");
    EXPECT_TRUE(response.keepsConnection);
  }
  EXPECT_THAT(whole(headWith({"Content-Length: 00, 0"})).heads,
              ElementsAre("200 HTTP/1.1 length 0: Content-Length=0; "));
}

TEST(ResponseParserTest, refusesDifferingContentLengths) {
  EXPECT_EQ(messageFor(headWith({"Content-Length: 5", "Content-Length: 6"})),
            "the response has differing Content-Length fields");
  EXPECT_EQ(messageFor(headWith({"Content-Length: 5, 6"})), "the response has differing Content-Length fields");
}

TEST(ResponseParserTest, refusesContentLengthsThatAreNoNumber) {
  for (const char* value :
       {"", "-1", "+1", "0x10", "1e3", "5,", ",5", "5 5", "five", "9223372036854775808", "5;", "\xD9\xA5"}) {
    EXPECT_THAT(messageFor(headWith({std::string("Content-Length: ") + value})),
                MatchesRegex("the Content-Length \".*\" is not a number of bytes"))
        << value;
  }
  EXPECT_EQ(messageFor(headWith({"Content-Length: 9223372036854775807"})), "accepted");
}

TEST(ResponseParserTest, refusesEveryTransferEncodingButChunked) {
  for (const char* value : {"CHUNKED", "chunked,", ", ,chunked"}) {
    EXPECT_EQ(messageFor(headWith({std::string("Transfer-Encoding: ") + value})), "accepted") << value;
  }
  for (const char* value :
       {"gzip", "gzip, chunked", "chunked, gzip", "identity", "", ",", "chunked, chunked", "xchunked", "chunked;q=1",
        "\x0B"
        "chunked"}) {
    EXPECT_THAT(messageFor(headWith({std::string("Transfer-Encoding: ") + value})), HasSubstr("is not \"chunked\""))
        << value;
  }
  EXPECT_THAT(messageFor(headWith({"Transfer-Encoding: chunked", "Transfer-Encoding: chunked"})),
              HasSubstr("is not \"chunked\""));
}

TEST(ResponseParserTest, letsATransferEncodingWinOverAContentLengthAndOverHTTP10ButKeepsNoConnection) {
  const std::string chunks = "3\r\nabc\r\n0\r\n\r\n";
  for (const std::string& head :
       {headWith({"Content-Length: 9", "Transfer-Encoding: chunked"}),
        headWith({"Transfer-Encoding: chunked", "Content-Length: 9"}),
        headWith({"Transfer-Encoding: chunked", "Connection: keep-alive"}, "HTTP/1.0 200 OK")}) {
    const ParsedResponse response = whole(head + chunks);

    EXPECT_EQ(response.outcome, "end");
    EXPECT_EQ(response.body, "abc");
    EXPECT_FALSE(response.keepsConnection);
    EXPECT_THAT(response.heads, ElementsAre(testing::Not(HasSubstr("Content-Length"))));
  }
}

TEST(ResponseParserTest, keepsTheConnectionAsTheServerSays) {
  const auto keeps = [](const std::vector<std::string>& fields, const std::string& statusLine) {
    std::vector<std::string> all = fields;
    all.emplace_back("Content-Length: 0");
    return whole(headWith(all, statusLine)).keepsConnection;
  };

  EXPECT_TRUE(keeps({}, "HTTP/1.1 200 OK"));
  EXPECT_FALSE(keeps({"Connection: close"}, "HTTP/1.1 200 OK"));
  EXPECT_FALSE(keeps({"connection: x, CLOSE"}, "HTTP/1.1 200 OK"));
  EXPECT_FALSE(keeps({"Connection: keep-alive", "Connection: close"}, "HTTP/1.1 200 OK"));
  EXPECT_FALSE(keeps({}, "HTTP/1.0 200 OK"));
  EXPECT_TRUE(keeps({"Connection: Keep-Alive"}, "HTTP/1.0 200 OK"));
  EXPECT_FALSE(keeps({"Connection: keep-alive, close"}, "HTTP/1.0 200 OK"));
}

TEST(ResponseParserTest, forgetsTheFieldsOfAnInterimHead) {
  const ParsedResponse response =
      whole(headWith({"Connection: close", "Content-Length: 7"}, "HTTP/1.1 103 Early Hints") +
            headWith({"Content-Length: 1"}) + "x");

  EXPECT_EQ(response.body, "x");
  EXPECT_TRUE(response.keepsConnection);
}

TEST(ResponseParserTest, refusesMalformedChunks) {
  const std::string head = headWith({"Transfer-Encoding: chunked"});
  for (const std::string& chunks : {std::string("\r\n\r\n"),
                                    std::string("x\r\n\r\n"),
                                    std::string("-1\r\n\r\n"),
                                    std::string("0x64\r\n"),
                                    std::string("+3\r\ntoo\r\n"),
                                    std::string(" 3\r\ntoo\r\n"),
                                    std::string("3x\r\ntoo\r\n"),
                                    std::string("3 4\r\ntoo\r\n"),
                                    std::string("2\r\ntoo\r\n"),
                                    std::string("4\r\ntoo\r\n0\r\n\r\n"),
                                    std::string("3\ntoo\r\n"),
                                    std::string("3\r\ntoo\n"),
                                    std::string("3\rtoo\r\n"),
                                    std::string("3;a\ntoo\r\n"),
                                    "3;a" + std::string(1, '\0') + "b\r\ntoo\r\n",
                                    std::string("3;a\rb\r\ntoo\r\n"),
                                    std::string("ffffffffffffffff\r\n"),
                                    std::string("8000000000000000\r\n"),
                                    std::string("10000000000000000\r\n"),
                                    std::string("00000000000000003\r\ntoo\r\n")}) {
    EXPECT_NE(messageFor(head + chunks), "accepted") << chunks;
  }
  EXPECT_EQ(messageFor(head + "7fffffffffffffff\r\nx"), "accepted");
}

TEST(ResponseParserTest, refusesMalformedTrailers) {
  const std::string head = headWith({"Transfer-Encoding: chunked"});

  EXPECT_NE(messageFor(head + "0\r\nno colon\r\n\r\n"), "accepted");
  EXPECT_NE(messageFor(head + "0\r\nHTTP/1.1 200 Smuggled: yes\r\n\r\n"), "accepted");
  EXPECT_NE(messageFor(head + "0\r\nX : 1\r\n\r\n"), "accepted");
  EXPECT_EQ(messageFor(head + "0\r\nContent-Length: nonsense\r\n\r\n"), "accepted");
}

TEST(ResponseParserTest, isLostWhereTheStreamEndsTooEarly) {
  for (const auto& [text, message] : std::vector<std::pair<std::string, std::string>>{
           {"", "before the head of the response was complete"},
           {"HTTP/1.1 200 OK\r\nX: 1\r\n", "before the head of the response was complete"},
           {headWith({}, "HTTP/1.1 100 Continue"), "before the head of the response was complete"},
           {headWith({"Content-Length: 5"}) + "abc", "after 3 of 5 bytes of the body"},
           {headWith({"Transfer-Encoding: chunked"}) + "3\r\nabc\r\n", "before the last chunk of the body"},
           {headWith({"Transfer-Encoding: chunked"}) + "3\r\nab", "before the last chunk of the body"},
           {headWith({"Transfer-Encoding: chunked"}) + "0\r\nX: 1\r\n", "before the end of the trailers"}}) {
    const ParsedResponse response = whole(text, StreamEnd::closed);

    EXPECT_EQ(response.outcome, "the connection closed " + message);
    EXPECT_FALSE(response.isMalformed);
  }
}

TEST(ResponseParserTest, letsTheBodyBeReadPastIt) {
  ResponseFeeder feeder;
  feeder.feed(headWith({"Content-Length: 10"}) + "abc");
  EXPECT_EQ(feeder.parser().bodyAhead(), 7u);
  feeder.parser().skipBody(7);
  feeder.feed("");
  EXPECT_EQ(feeder.response().outcome, "end");

  ResponseFeeder chunked;
  chunked.feed(headWith({"Transfer-Encoding: chunked"}) + "a\r\nabc");
  EXPECT_EQ(chunked.parser().bodyAhead(), 7u);
  chunked.parser().skipBody(7);
  EXPECT_EQ(chunked.parser().bodyAhead(), 0u);
  chunked.feed("\r\n0\r\n\r\n");
  EXPECT_EQ(chunked.response().outcome, "end");
}

TEST(ResponseParserTest, readsOneResponseAfterTheOther) {
  ResponseParser parser;
  for (const bool isHead : {true, false}) {
    const std::string text = headWith({"X: 1", "Content-Length: 2"}) + (isHead ? "" : "ab");
    parser.begin(isHead);
    EXPECT_FALSE(parser.hasBegun());
    const auto head = parser.next(text);
    EXPECT_EQ(head.event, ResponseParser::Event::head);
    EXPECT_TRUE(parser.hasBegun());
    EXPECT_EQ(parser.head().fields.size(), 2u);
    const auto next = parser.next(std::string_view(text).substr(head.consumed));
    EXPECT_EQ(next.event, isHead ? ResponseParser::Event::end : ResponseParser::Event::body);
  }
}

}  // namespace
}  // namespace platform::networking
