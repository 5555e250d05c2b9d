#include "Corvane/Request/HTTPByteRange.hpp"

#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "Corvane/Request/HTTPContentRange.hpp"
#include "CorvaneTesting/ServerTest.hpp"

namespace corvane {
namespace {

using corvane::testkit::MockResponse;

TEST(HTTPByteRangeTest, readsAsTheRangeField) {
  EXPECT_EQ(HTTPByteRange::between(0, 499).text(), "bytes=0-499");
  EXPECT_EQ(HTTPByteRange::between(7, 7).text(), "bytes=7-7");
  EXPECT_EQ(HTTPByteRange::from(9500).text(), "bytes=9500-");
  EXPECT_EQ(HTTPByteRange::last(500).text(), "bytes=-500");
}

TEST(HTTPByteRangeTest, isTheValueOfAHeader) {
  const DataGetRequest request("https://example.com", {.headers = {{"Range", HTTPByteRange::from(10)}}});

  EXPECT_EQ(request.urlRequest().allHTTPHeaderFields.value("Range"), "bytes=10-");
}

TEST(HTTPByteRangeDeathTest, trapsForBytesThatCannotBe) {
  EXPECT_DEATH(HTTPByteRange::between(5, 4), "A range of bytes");
  EXPECT_DEATH(HTTPByteRange::between(-1, 4), "A range of bytes");
  EXPECT_DEATH(HTTPByteRange::from(-1), "A range of bytes");
  EXPECT_DEATH(HTTPByteRange::last(0), "A range of the last bytes");
}

TEST(HTTPContentRangeTest, readsFirstLastAndTotal) {
  const auto range = HTTPContentRange::parse("bytes 500-999/8000");

  ASSERT_TRUE(range && range->bytes);
  EXPECT_EQ(range->bytes->first, 500);
  EXPECT_EQ(range->bytes->last, 999);
  EXPECT_EQ(range->bytes->count(), 500);
  EXPECT_EQ(range->total, 8000);
}

TEST(HTTPContentRangeTest, readsATotalThatIsNotKnown) {
  EXPECT_EQ(HTTPContentRange::parse("bytes 0-0/*"), (HTTPContentRange{.bytes = {{0, 0}}}));
}

TEST(HTTPContentRangeTest, readsThatThereAreNoSuchBytes) {
  EXPECT_EQ(HTTPContentRange::parse("bytes */1234"), (HTTPContentRange{.total = 1234}));
}

TEST(HTTPContentRangeTest, readsTheUnitWithoutRegardToCase) {
  EXPECT_TRUE(HTTPContentRange::parse("Bytes 0-1/2"));
  EXPECT_TRUE(HTTPContentRange::parse("BYTES */2"));
}

TEST(HTTPContentRangeTest, refusesEverythingElse) {
  for (const auto* text : {"",
                           "bytes",
                           "bytes ",
                           "bytes /",
                           "bytes 0-1",
                           "bytes 0-1/",
                           "bytes */*",
                           "bytes *",
                           "bytes 1-0/2",
                           "bytes 0-2/2",
                           "bytes -1/2",
                           "bytes 0-/2",
                           "bytes 0/2",
                           "bytes 0-1/-2",
                           "bytes +0-1/2",
                           "bytes 0-0x1/2",
                           "bytes 0-1/2 ",
                           "bytes  0-1/2",
                           "bytes 0 - 1/2",
                           "bytes=0-1/2",
                           "bytes0-1/2",
                           "lines 0-1/2",
                           "0-1/2",
                           "bytes 0-1/2, bytes 2-3/4",
                           "bytes 0-9223372036854775807/*",
                           "bytes 0-1/9223372036854775807",
                           "bytes 0-1/99999999999999999999999"})
    EXPECT_FALSE(HTTPContentRange::parse(text)) << text;
}

TEST(HTTPContentRangeTest, readsTheLargestNumbers) {
  const auto range = HTTPContentRange::parse("bytes 0-9223372036854775805/9223372036854775806");

  ASSERT_TRUE(range && range->bytes);
  EXPECT_EQ(range->bytes->count(), 9223372036854775806);
}

TEST(HTTPContentRangeTest, isThatOfOneField) {
  EXPECT_EQ(HTTPContentRange::of({{"content-range", "bytes 0-1/2"}}), HTTPContentRange::parse("bytes 0-1/2"));
  EXPECT_FALSE(HTTPContentRange::of({{"Content-Length", "2"}}));
  EXPECT_FALSE(HTTPContentRange::of({{"Content-Range", "bytes 0-1/2"}, {"Content-Range", "bytes 0-1/2"}}));
}

class RangeRequestTest : public testkit::ServerTest {
 protected:
  ~RangeRequestTest() override { Corvane::resetSessions(); }
};

TEST_F(RangeRequestTest, getsAPartOfAResource) {
  server.enqueue(MockResponse(206).text("cde").header("Content-Range", "bytes 2-4/26"));
  const DataGetRequest request(server.url("/alphabet"), {.headers = {{"Range", HTTPByteRange::between(2, 4)}}});

  const auto response = request.send().get();

  EXPECT_EQ(server.takeRequest().header("Range"), "bytes=2-4");
  EXPECT_EQ(response.status, HTTPStatus::partialContent);
  EXPECT_EQ(response.body.text(), "cde");
  EXPECT_EQ(HTTPContentRange::of(*response.headers), (HTTPContentRange{.bytes = {{2, 4}}, .total = 26}));
}

TEST_F(RangeRequestTest, learnsTheLengthOfAResourceThatIsShorter) {
  server.enqueue(MockResponse(416).header("Content-Range", "bytes */26"));
  const DataGetRequest request(server.url("/alphabet"), {.headers = {{"Range", HTTPByteRange::from(99)}}});

  const auto result = request.send().result();

  ASSERT_TRUE(result.error() && result.error()->response());
  EXPECT_EQ(HTTPContentRange::of(result.error()->response()->headers()), (HTTPContentRange{.total = 26}));
}

}  // namespace
}  // namespace corvane
