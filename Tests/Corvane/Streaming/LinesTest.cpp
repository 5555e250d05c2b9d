#include <gmock/gmock.h>

#include <limits>

#include "Corvane/Streaming/Detail/LineSplitter.hpp"
#include "StreamFixture.hpp"

/// Bodies that consist of lines.
namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testkit::MockResponse;
using testkit::Moment;

std::vector<std::string> splitBy(std::size_t pieceSize, std::string_view text, std::size_t maximumBytes = 100) {
  detail::LineSplitter splitter(maximumBytes);
  std::vector<std::string> lines;
  const auto take = [&] {
    while (auto line = splitter.next()) lines.push_back(*std::move(line));
  };
  for (std::size_t at = 0; at < text.size(); at += pieceSize) {
    splitter.put(Data(text.substr(at, pieceSize)));
    take();
  }
  splitter.finish();
  take();
  EXPECT_EQ(splitter.number(), lines.size());
  return lines;
}

/// The same in pieces of any length.
std::vector<std::string> split(std::string_view text) {
  const auto whole = splitBy(1000, text);
  for (std::size_t size = 1; size <= text.size(); ++size) EXPECT_EQ(splitBy(size, text), whole) << size;
  return whole;
}

TEST(LineSplitterTest, cutsAtBothEnds) {
  EXPECT_THAT(split("one\ntwo\r\n\nthree\n"), ElementsAre("one", "two", "", "three"));
  EXPECT_THAT(split(""), IsEmpty());
  EXPECT_THAT(split("\n"), ElementsAre(""));
}

TEST(LineSplitterTest, takesWhatIsLeftForALine) { EXPECT_THAT(split("one\ntwo"), ElementsAre("one", "two")); }

TEST(LineSplitterTest, keepsACRThatEndsNothing) { EXPECT_THAT(split("a\rb\nc"), ElementsAre("a\rb", "c")); }

TEST(LineSplitterTest, boundsALine) {
  const std::string fits(100, 'x');
  for (const std::size_t size : {1U, 13U, 1000U}) {
    EXPECT_THAT(splitBy(size, fits + "\r\n" + fits), ElementsAre(fits, fits));
    const auto error = thrownBy([&] { splitBy(size, "short\n" + fits + "x\n"); });
    EXPECT_EQ(*error.as<HTTPStreamError>(), HTTPStreamError::lineTooLong(2, 100));
    // Without an end, too.
    EXPECT_TRUE(thrownBy([&] { splitBy(size, fits + "xx"); }).is<HTTPStreamError>());
  }
}

TEST(LineSplitterTest, takesTheLargestBoundForNone) {
  EXPECT_THAT(splitBy(2, "one\ntwo", std::numeric_limits<std::size_t>::max()), ElementsAre("one", "two"));
}

struct Point {
  int x = 0;
  int y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

class LinesTest : public StreamTest {};

TEST_F(LinesTest, givesTheLinesOfABody) {
  server.enqueue(MockResponse().chunked({"one\ntw", "o\r", "\nthree"}));

  auto lines = corvane::lines(feed().stream());

  EXPECT_THAT(itemsOf(lines), ElementsAre("one", "two", "three"));
  EXPECT_FALSE(lines.next().get());
}

TEST_F(LinesTest, givesALineWhileTheRestIsNotThere) {
  const testkit::Latch rest;
  server.enqueue(MockResponse().chunked({"one\ntwo", "\n"}).hold(Moment::insideBody, rest, 12));
  auto lines = corvane::lines(feed().stream());

  EXPECT_EQ(lines.next().get(), "one");
  const auto two = lines.next();
  EXPECT_FALSE(two.isCompleted());
  rest.open();

  EXPECT_EQ(two.get(), "two");
}

TEST_F(LinesTest, failsWhereTheBodyBreaks) {
  server.enqueue(MockResponse().body("one\ntwo and more").dropConnection(Moment::insideBody, 7));
  auto lines = corvane::lines(feed().stream());

  EXPECT_EQ(lines.next().get(), "one");
  EXPECT_EQ(thrownBy([&] { lines.next().get(); }).code(), platform::URLErrorCode::networkConnectionLost);
}

TEST_F(LinesTest, endsTheExchangeWithALineThatIsTooLong) {
  server.enqueue(MockResponse().generatedBody(100'000'000));
  auto lines = corvane::lines(feed().stream(), {.maximumBytes = 10});

  const auto error = thrownBy([&] { itemsOf(lines); });

  EXPECT_TRUE(error.is<HTTPStreamError>());
  EXPECT_EQ(thrownBy([&] { lines.next().get(); }).message(), error.message());
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(LinesTest, decodesModels) {
  server.enqueue(MockResponse().chunked({"{\"x\": 1, \"y\"", ": 2}\n\n  \t\r\n{\"x\": 3, \"y\": 4}"}));

  auto points = jsonLines<Point>(feed().stream());

  EXPECT_THAT(itemsOf(points), ElementsAre(Point{1, 2}, Point{3, 4}));
}

TEST_F(LinesTest, namesTheLineThatCannotBeDecoded) {
  server.enqueue(MockResponse().body("{\"x\": 1, \"y\": 2}\n\n{\"x\": 1, \"y\": \"two\"}\n{\"x\": 5, \"y\": 6}\n"));
  auto points = jsonLines<Point>(feed().stream());

  EXPECT_EQ(points.next().get(), (Point{1, 2}));
  const auto error = thrownBy([&] { points.next().get(); });

  ASSERT_TRUE(error.is<HTTPStreamError>());
  EXPECT_EQ(error.as<HTTPStreamError>()->which(), HTTPStreamError::Case::malformedLine);
  EXPECT_EQ(error.as<HTTPStreamError>()->line(), 3U);
  EXPECT_THAT(error.message(), HasSubstr("Line 3 of the stream: "));
  EXPECT_TRUE(error.as<HTTPStreamError>()->underlyingError()->is<DecodingError>());
}

}  // namespace
}  // namespace corvane
