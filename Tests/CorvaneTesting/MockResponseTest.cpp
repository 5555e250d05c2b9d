#include "CorvaneTesting/MockResponse.hpp"

#include "CorvaneTesting/Compression.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "TestSupport/RawClient.hpp"

namespace corvane::testkit {
namespace {

using ::testing::EndsWith;
using ::testing::StartsWith;

class MockResponseTest : public ServerTest {
 protected:
  std::string sent(MockResponse response) {
    server.enqueue(std::move(response));
    return RawClient(server).exchange(closingGet("/"));
  }
};

TEST_F(MockResponseTest, sendsTheReasonItWasGiven) {
  EXPECT_EQ(sent(MockResponse(404)), "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(sent(MockResponse(404, "Gone fishing")), "HTTP/1.1 404 Gone fishing\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(sent(MockResponse(404, "")), "HTTP/1.1 404 \r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(sent(MockResponse(799)), "HTTP/1.1 799 Unknown\r\nContent-Length: 0\r\n\r\n");
}

TEST_F(MockResponseTest, sendsTheChunksExtensionsAndTrailersAsGiven) {
  const std::string response = sent(MockResponse().chunked({"abc", {"0123456789", ";a=b"}}).trailer("X-Sum", "13"));

  EXPECT_EQ(response,
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
            "3\r\nabc\r\na;a=b\r\n0123456789\r\n0\r\nX-Sum: 13\r\n\r\n");
}

TEST_F(MockResponseTest, cutsABodyIntoChunks) {
  EXPECT_THAT(sent(MockResponse().body("abcde").chunkedBy(2)),
              EndsWith("\r\n\r\n2\r\nab\r\n2\r\ncd\r\n1\r\ne\r\n0\r\n\r\n"));
  EXPECT_THAT(sent(MockResponse().body("abcde").chunked()), EndsWith("\r\n\r\n5\r\nabcde\r\n0\r\n\r\n"));
  EXPECT_THAT(sent(MockResponse().generatedBody(3).chunkedBy(2)),
              EndsWith("2\r\n" + generatedBytes(2) + "\r\n1\r\n" + generatedBytes(1, 2) + "\r\n0\r\n\r\n"));
  EXPECT_THAT(sent(MockResponse().body("").chunked()), EndsWith("\r\n\r\n0\r\n\r\n"));
}

TEST_F(MockResponseTest, leavesOutTheLastChunk) {
  EXPECT_THAT(sent(MockResponse().chunked({"abc"}).withoutLastChunk()), EndsWith("\r\n\r\n3\r\nabc\r\n"));
}

TEST_F(MockResponseTest, endsTheBodyByClosing) {
  server.enqueue(MockResponse().body("hello").untilClose());

  EXPECT_EQ(RawClient(server).exchange(get("/")), "HTTP/1.1 200 OK\r\n\r\nhello");
}

TEST_F(MockResponseTest, liesAboutTheLengthWhenTold) {
  EXPECT_EQ(sent(MockResponse().contentLength(9).body("hello")), "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhello");
  EXPECT_EQ(sent(MockResponse().contentLength(5).contentLength(6).body("hello")),
            "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nContent-Length: 6\r\n\r\nhello");
  EXPECT_EQ(sent(MockResponse().header("transfer-encoding ", "chunked").header("Content-Length", "1").body("x")),
            "HTTP/1.1 200 OK\r\ntransfer-encoding : chunked\r\nContent-Length: 1\r\n\r\nx");
}

TEST_F(MockResponseTest, sendsRawBytesUntouched) {
  const std::string bytes("ICY 200\nno: http\n\n\0", 19);

  EXPECT_EQ(sent(MockResponse::raw(bytes)), bytes);
}

TEST_F(MockResponseTest, breaksRawBytesAtTheirEmptyLine) {
  const std::string head = "HTTP/1.1 200 OK\r\nX : y\r\n\r\n";

  EXPECT_EQ(sent(MockResponse::raw(head + "body").dropConnection(Moment::afterHead)), head);
  EXPECT_EQ(sent(MockResponse::raw(head + "body").dropConnection(Moment::insideBody, 1)), head + "b");
  EXPECT_EQ(sent(MockResponse::raw("HTTP/1.1 200 OK\r\nX: y\r\n").dropConnection(Moment::insideHead, 4)), "HTTP");
}

TEST_F(MockResponseTest, sendsInterimHeadsFirst) {
  const std::string response = sent(MockResponse().interim(100).interim(103, {{"Link", "</a>"}}).body("x"));

  EXPECT_EQ(response,
            "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: </a>\r\n\r\n"
            "HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx");
}

TEST_F(MockResponseTest, saysThatItCloses) {
  server.enqueue(MockResponse().closeConnection());

  EXPECT_EQ(RawClient(server).exchange(get("/")), "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 0\r\n\r\n");
}

TEST_F(MockResponseTest, compressesItsBody) {
  const std::string response = sent(MockResponse().gzipBody("hello"));

  EXPECT_THAT(response, StartsWith("HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: "));
  EXPECT_EQ(gunzipped(response.substr(response.find("\r\n\r\n") + 4)), "hello");
}

TEST_F(MockResponseTest, generatesLargeBodies) {
  constexpr std::size_t size = 20'000'000;

  const std::string response = sent(MockResponse().generatedBody(size));

  EXPECT_TRUE(response.ends_with("Content-Length: 20000000\r\n\r\n" + generatedBytes(size)));
}

TEST(CompressionTest, readsBackWhatItWrote) {
  const std::string text = generatedBytes(300'000);

  EXPECT_EQ(gunzipped(gzipped(text)), text);
  EXPECT_EQ(gunzipped(gzipped("one") + gzipped("two")), "onetwo");
  EXPECT_EQ(gunzipped(gzipped("")), "");
  EXPECT_LT(deflated(text).size(), text.size());
  EXPECT_EQ(deflated(text).size(), rawDeflated(text).size() + 6);
}

TEST(CompressionTest, noticesDamage) {
  const std::string good = gzipped(generatedBytes(10'000));

  EXPECT_THROW(gunzipped(cutOff(good)), std::runtime_error);
  EXPECT_THROW(gunzipped(cutOff(good, 9)), std::runtime_error);
  EXPECT_THROW(gunzipped(corrupted(good)), std::runtime_error);
  EXPECT_THROW(gunzipped(corrupted(good, 0)), std::runtime_error);
  EXPECT_THROW(gunzipped("plain"), std::runtime_error);
}

}  // namespace
}  // namespace corvane::testkit
