#include "Corvane/Streaming/ServerSentEventParser.hpp"

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <vector>

#include "Corvane/Errors/HTTPStreamError.hpp"

/// The rules of the HTML standard, "Interpreting an event stream".
namespace corvane {
namespace {

using namespace std::string_view_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<ServerSentEvent> eventsOf(ServerSentEventParser& parser) {
  std::vector<ServerSentEvent> events;
  while (auto event = parser.next()) events.push_back(*std::move(event));
  return events;
}

/// The same wherever the stream is cut: in two at each byte, and into single bytes.
std::vector<ServerSentEvent> parsed(std::string_view stream) {
  ServerSentEventParser parser;
  parser.push(stream);
  const auto whole = eventsOf(parser);
  for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
    ServerSentEventParser other;
    other.push(stream.substr(0, cut));
    other.push(stream.substr(cut));
    EXPECT_EQ(eventsOf(other), whole) << "cut at " << cut;
  }
  ServerSentEventParser bytewise;
  for (const char& byte : stream) bytewise.push({&byte, 1});
  EXPECT_EQ(eventsOf(bytewise), whole) << "in single bytes";
  EXPECT_EQ(bytewise.lastEventID(), parser.lastEventID());
  return whole;
}

ServerSentEvent message(std::string data, std::string id = "") { return {"message", std::move(data), std::move(id)}; }

TEST(ServerSentEventParserTest, givesAnEventAtAnEmptyLine) {
  EXPECT_THAT(parsed("data: one\n\ndata: two\n\n"), ElementsAre(message("one"), message("two")));
}

TEST(ServerSentEventParserTest, dropsAnEventThatIsNotComplete) {
  EXPECT_THAT(parsed("data: one\n\ndata: two\n"), ElementsAre(message("one")));
  EXPECT_THAT(parsed("data: one"), IsEmpty());
}

TEST(ServerSentEventParserTest, joinsTheLinesOfData) {
  EXPECT_THAT(parsed("data: YHOO\ndata: +2\ndata: 10\n\n"), ElementsAre(message("YHOO\n+2\n10")));
}

TEST(ServerSentEventParserTest, takesTheThreeEndsOfALine) {
  EXPECT_THAT(parsed("data: a\r\ndata: b\rdata: c\n\r\ndata: d\r\rdata: e\n\n"),
              ElementsAre(message("a\nb\nc"), message("d"), message("e")));
}

TEST(ServerSentEventParserTest, leavesAMarkAtTheStartOut) {
  EXPECT_THAT(parsed("\xEF\xBB\xBF"
                     "data: one\n\n"),
              ElementsAre(message("one")));
  EXPECT_THAT(parsed("\xEF\xBB\xBF\xEF\xBB\xBF"
                     "data: one\n\n"),
              IsEmpty());
  EXPECT_THAT(parsed("\xEF\xBB"
                     "data: one\n\ndata: two\n\n"),
              ElementsAre(message("two")));
}

TEST(ServerSentEventParserTest, takesNoNoticeOfComments) {
  EXPECT_THAT(parsed(": hello\n\n:\ndata: one\n: in between\n\n"), ElementsAre(message("one")));
}

TEST(ServerSentEventParserTest, removesOneSpaceAfterTheColon) {
  EXPECT_THAT(parsed("data:one\n\ndata:  two\n\ndata: \n\n"),
              ElementsAre(message("one"), message(" two"), message("")));
}

TEST(ServerSentEventParserTest, takesALineWithoutAColonForAField) {
  EXPECT_THAT(parsed("data\n\ndata\ndata\n\ndata:"), ElementsAre(message(""), message("\n")));
}

TEST(ServerSentEventParserTest, takesNoNoticeOfOtherFields) {
  EXPECT_THAT(parsed("Data: a\n data: b\ndata : c\nfoo: d\n\ndata: e\n\n"), ElementsAre(message("e")));
}

TEST(ServerSentEventParserTest, givesTheTypeOfAnEvent) {
  EXPECT_THAT(parsed("event: add\ndata: 1\n\ndata: 2\n\nevent: a\nevent: b\ndata: 3\n\nevent:\ndata: 4\n\n"),
              ElementsAre(ServerSentEvent{"add", "1", ""}, message("2"), ServerSentEvent{"b", "3", ""}, message("4")));
}

TEST(ServerSentEventParserTest, forgetsTheTypeOfAnEventWithoutData) {
  EXPECT_THAT(parsed("event: add\n\ndata: 1\n\n"), ElementsAre(message("1")));
}

TEST(ServerSentEventParserTest, keepsAnIdentifierForTheEventsAfterIt) {
  EXPECT_THAT(parsed("data: a\nid: 1\n\ndata: b\n\ndata: c\nid\n\ndata: d\n\n"),
              ElementsAre(message("a", "1"), message("b", "1"), message("c"), message("d")));
}

TEST(ServerSentEventParserTest, takesNoNoticeOfAnIdentifierWithNUL) {
  EXPECT_THAT(parsed("data: a\nid: 1\nid: 2\0\n\n"sv), ElementsAre(message("a", "1")));
}

TEST(ServerSentEventParserTest, keepsTheIdentifierOfAnEventWithoutData) {
  ServerSentEventParser parser;

  parser.push("id: 7\n\n");
  EXPECT_EQ(parser.lastEventID(), "7");
  parser.push("id: 8\n");
  EXPECT_EQ(parser.lastEventID(), "7");
}

TEST(ServerSentEventParserTest, takesTheTimeToWaitOfDigitsAlone) {
  ServerSentEventParser parser;
  parser.push("retry: 1500\n");
  EXPECT_EQ(parser.retry(), platform::Seconds(1.5));
  for (const std::string_view other : {"retry: -1\n", "retry: 1.5\n", "retry: 2s\n", "retry:\n", "retry: \n"}) {
    parser.push(other);
    EXPECT_EQ(parser.retry(), platform::Seconds(1.5)) << other;
  }
  parser.push("retry: 99999999999999999999\n");
  EXPECT_GT(parser.retry(), platform::Seconds(4'000'000));
}

TEST(ServerSentEventParserTest, goesOnOverANewConnection) {
  ServerSentEventParser parser;
  parser.push("data: a\nid: 1\nretry: 10\n\ndata: lost\nid: 2\nda");

  parser.restart();
  parser.push(
      "\xEF\xBB\xBF"
      "data: b\n\n");

  EXPECT_THAT(eventsOf(parser), ElementsAre(message("a", "1"), message("b", "1")));
  EXPECT_EQ(parser.lastEventID(), "1");
  EXPECT_EQ(parser.retry(), platform::Seconds(0.01));
}

TEST(ServerSentEventParserTest, boundsAnEvent) {
  const auto isTooLong = [](std::string_view stream, std::size_t piece) {
    ServerSentEventParser parser(100);
    try {
      for (std::size_t at = 0; at < stream.size(); at += piece) parser.push(stream.substr(at, piece));
    } catch (const HTTPStreamError& error) {
      EXPECT_EQ(error, HTTPStreamError::eventTooLong(100));
      return true;
    }
    return false;
  };
  const std::string fits = "data:" + std::string(95, 'x') + "\n\n";
  const std::string line = "data:" + std::string(96, 'x') + "\n\n";
  const std::string lines = "data:" + std::string(60, 'x') + "\ndata:" + std::string(60, 'x') + "\n\n";
  const std::string comment = ":" + std::string(100, 'x');
  for (const std::size_t piece : {1U, 7U, 1000U}) {
    EXPECT_FALSE(isTooLong(fits, piece));
    EXPECT_TRUE(isTooLong(line, piece));
    EXPECT_TRUE(isTooLong(lines, piece));
    EXPECT_TRUE(isTooLong(comment, piece));
  }
}

}  // namespace
}  // namespace corvane
