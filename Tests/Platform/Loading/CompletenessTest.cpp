#include <gmock/gmock.h>

#include "CorvaneTesting/Compression.hpp"
#include "SessionTest.hpp"

/// Success means complete: what libcurl would pass on as a success, or might, and what must become of it.
namespace platform {
namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::Moment;

class CompletenessTest : public SessionTest {};

TEST_F(CompletenessTest, refusesABodyShorterThanAnnounced) {
  const Loaded loaded = loadMock(MockResponse(200).body("0123456789").dropConnection(Moment::insideBody, 4));

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
  EXPECT_EQ(loaded.status(), 200);
  EXPECT_EQ(loaded.body(), "0123");
}

TEST_F(CompletenessTest, refusesAChunkedBodyWithoutItsLastChunk) {
  const Loaded loaded = loadMock(MockResponse(200).chunked({"abc"}).withoutLastChunk().closeConnection());

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
}

TEST_F(CompletenessTest, refusesAChunkedBodyCutInsideAChunk) {
  const Loaded loaded =
      loadMock(MockResponse::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nA\r\n0123").closeConnection());

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
}

TEST_F(CompletenessTest, refusesAMalformedChunk) {
  const Loaded loaded =
      loadMock(MockResponse::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nabc\r\n0\r\n\r\n")
                   .closeConnection());

  EXPECT_NE(loaded.code(), 0);
}

TEST_F(CompletenessTest, refusesHeadersWithoutTheirEmptyLine) {
  const Loaded loaded = loadMock(MockResponse::raw("HTTP/1.1 200 OK\r\nX-A: 1\r\n").closeConnection());

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
  EXPECT_FALSE(loaded.response);
}

TEST_F(CompletenessTest, refusesAnEndInsideTheStatusLine) {
  const Loaded loaded = loadMock(MockResponse::raw("HTTP/1.1 2").closeConnection());

  EXPECT_NE(loaded.code(), 0);
  EXPECT_FALSE(loaded.response);
}

TEST_F(CompletenessTest, refusesAConnectionClosedWithoutAnyResponse) {
  const Loaded loaded = loadMock(MockResponse().dropConnection(Moment::beforeStatusLine));

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
}

TEST_F(CompletenessTest, refusesWhatIsNotHTTP) {
  EXPECT_NE(loadMock(MockResponse::raw("SSH-2.0-OpenSSH_9.2\r\n").closeConnection()).code(), 0);
  EXPECT_NE(loadMock(MockResponse::raw("HTTP/0.9 hello\r\n\r\n").closeConnection()).code(), 0);
  EXPECT_NE(loadMock(MockResponse::raw("<html>old</html>").closeConnection()).code(), 0);
}

TEST_F(CompletenessTest, decodesGzip) {
  const Loaded loaded = loadMock(MockResponse(200).gzipBody("compressed text"));

  EXPECT_FALSE(loaded.error) << loaded.message();
  EXPECT_EQ(loaded.body(), "compressed text");
  EXPECT_EQ(loaded.http().value("Content-Encoding"), "gzip");
}

TEST_F(CompletenessTest, refusesGzipCutOffAnywhere) {
  const std::string whole = corvane::testkit::gzipped("compressed text that is long enough to be cut in many places");
  for (std::size_t length = 1; length < whole.size(); length += 3) {
    const Loaded loaded = loadMock(MockResponse(200).header("Content-Encoding", "gzip").body(whole.substr(0, length)));
    EXPECT_EQ(loaded.code(), URLErrorCode::cannotDecodeContentData) << length << " " << loaded.message();
  }
}

TEST_F(CompletenessTest, refusesDamagedGzip) {
  std::string damaged = corvane::testkit::gzipped("compressed text");
  damaged[damaged.size() - 6] = static_cast<char>(damaged[damaged.size() - 6] ^ 1);

  EXPECT_EQ(loadMock(MockResponse(200).header("Content-Encoding", "gzip").body(damaged)).code(),
            URLErrorCode::cannotDecodeContentData);
}

TEST_F(CompletenessTest, refusesAnUnknownContentCoding) {
  EXPECT_EQ(loadMock(MockResponse(200).header("Content-Encoding", "snappy").body("x")).code(),
            URLErrorCode::cannotDecodeRawData);
}

TEST_F(CompletenessTest, refusesMoreThanFiveContentCodings) {
  EXPECT_NE(
      loadMock(MockResponse(200).header("Content-Encoding", "gzip, gzip, gzip, gzip, gzip, gzip").body("x")).code(), 0);
}

TEST_F(CompletenessTest, anEmptyBodyNeedsNoDecoding) {
  const Loaded loaded = loadMock(MockResponse(200).header("Content-Encoding", "gzip").body(""));

  EXPECT_FALSE(loaded.error) << loaded.message();
  EXPECT_EQ(loaded.body(), "");
}

TEST_F(CompletenessTest, refusesDifferingLengths) {
  EXPECT_NE(loadMock(MockResponse(200).contentLength(3).contentLength(5).body("abcde").closeConnection()).code(), 0);
  EXPECT_EQ(loadMock(MockResponse(200).contentLength(3).contentLength(3).body("abc")).body(), "abc");
}

TEST_F(CompletenessTest, refusesASpaceBeforeTheColon) {
  EXPECT_NE(loadMock(MockResponse::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding : chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n")
                         .closeConnection())
                .code(),
            0);
}

TEST_F(CompletenessTest, refusesTransferCodingsNobodyAskedFor) {
  EXPECT_NE(loadMock(MockResponse(200).header("Transfer-Encoding", "gzip, chunked").body("x").closeConnection()).code(),
            0);
}

TEST_F(CompletenessTest, takesTheEndOfThePlainStreamAsTheEndOfTheBody) {
  const Loaded loaded = loadMock(MockResponse(200).body("until the end").untilClose());

  EXPECT_FALSE(loaded.error) << loaded.message();
  EXPECT_EQ(loaded.body(), "until the end");
}

TEST_F(CompletenessTest, refusesAResetWhereTheEndWouldMarkTheEnd) {
  const Loaded loaded =
      loadMock(MockResponse(200).body("until the end").untilClose().resetConnection(Moment::insideBody, 5));

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
}

TEST_F(CompletenessTest, answersWithoutABodyAreComplete) {
  EXPECT_FALSE(loadMock(MockResponse(204)).error);
  EXPECT_FALSE(loadMock(MockResponse(304).header("Content-Length", "10")).error);
  server.enqueue(MockResponse(200).body("not sent"));
  const Loaded head = load(request(server.url("/"), "HEAD"));
  EXPECT_FALSE(head.error) << head.message();
  EXPECT_EQ(head.response->expectedContentLength(), 8);
}

TEST_F(CompletenessTest, refusesHeadsOverTheBound) {
  MockResponse large(200);
  for (int i = 0; i < 30; ++i) large.header("X-" + std::to_string(i), std::string(10'000, 'a'));

  const Loaded loaded = loadMock(std::move(large));

  EXPECT_EQ(loaded.code(), URLErrorCode::cannotParseResponse);
  EXPECT_THAT(loaded.message(), ::testing::HasSubstr("262144"));
}

TEST_F(CompletenessTest, refusesBodiesOverTheBound) {
  session = makeSession({.maximumBodyBytes = 1000});

  EXPECT_EQ(loadMock(MockResponse(200).body(std::string(1000, 'a'))).body().size(), 1000u);
  EXPECT_EQ(loadMock(MockResponse(200).body(std::string(1001, 'a'))).code(), URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_EQ(loadMock(MockResponse(200).body(std::string(5000, 'a')).chunked()).code(),
            URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_EQ(loadMock(MockResponse(200).gzipBody(std::string(100'000, 'a'))).code(),
            URLErrorCode::dataLengthExceedsMaximum);
}

TEST_F(CompletenessTest, theLimitOfARequestReplacesThatOfItsSession) {
  session = makeSession({.maximumBodyBytes = 1000});
  const auto load = [&](std::int64_t limit, MockResponse response) {
    server.enqueue(std::move(response));
    URLRequest limited(server.url("/"));
    limited.maximumBodyBytes = limit;
    return SessionTest::load(std::move(limited));
  };

  EXPECT_EQ(load(2000, MockResponse(200).body(std::string(2000, 'a'))).body().size(), 2000u);
  EXPECT_EQ(load(500, MockResponse(200).body(std::string(501, 'a'))).code(), URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_EQ(load(500, MockResponse(200).body(std::string(501, 'a')).chunked()).code(),
            URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_EQ(load(500, MockResponse(200).gzipBody(std::string(501, 'a'))).code(),
            URLErrorCode::dataLengthExceedsMaximum);
  EXPECT_EQ(load(0, MockResponse(200)).code(), 0);
}

TEST_F(CompletenessTest, theLimitOfARequestHoldsAfterARedirect) {
  server.enqueue(MockResponse(302).header("Location", "/next"));
  server.enqueue(MockResponse(200).body(std::string(11, 'a')));
  URLRequest limited(server.url("/"));
  limited.maximumBodyBytes = 10;

  EXPECT_EQ(load(std::move(limited)).code(), URLErrorCode::dataLengthExceedsMaximum);
}

}  // namespace
}  // namespace platform
