#include "SessionTest.hpp"

namespace platform {
namespace {

using corvane::testkit::Ending;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ReceivedRequest;

class PooledConnectionTest : public SessionTest {
 protected:
  void SetUp() override {
    server.enqueue(MockResponse(200).body("warm"));
    ASSERT_EQ(load("/").body(), "warm");
    server.takeRequest();
  }
};

TEST_F(PooledConnectionTest, isNotUsedAfterItWasClosed) {
  ASSERT_EQ(server.closeIdleConnections(), 1);
  server.enqueue(MockResponse(200).body("fresh"));

  EXPECT_EQ(load(request(server.url("/"), "POST", Data("x"))).body(), "fresh");

  EXPECT_EQ(server.takeRequest().connectionNumber, 2);
}

TEST_F(PooledConnectionTest, isNotUsedAfterItWasReset) {
  ASSERT_EQ(server.resetIdleConnections(), 1);
  server.enqueue(MockResponse(200).body("fresh"));

  EXPECT_EQ(load(request(server.url("/"), "POST", Data("x"))).body(), "fresh");
}

TEST_F(PooledConnectionTest, isNotUsedAfterItReceivedUnaskedBytes) {
  ASSERT_EQ(server.sendOnIdleConnections("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged"), 1);
  server.enqueue(MockResponse(200).body("fresh"));

  EXPECT_EQ(load("/").body(), "fresh");

  EXPECT_EQ(server.takeRequest().connectionNumber, 2);
}

TEST_F(PooledConnectionTest, isNotUsedAfterMoreBytesThanTheBody) {
  server.enqueue(MockResponse(200).body("whole").extraBytesAfter("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged"));
  server.enqueue(MockResponse(200).body("fresh"));

  EXPECT_EQ(load("/").body(), "whole");
  EXPECT_EQ(load("/").body(), "fresh");
}

TEST_F(PooledConnectionTest, isNotUsedAfterMoreBytesThanTheChunks) {
  server.enqueue(
      MockResponse(200).body("whole").chunked().extraBytesAfter("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged"));
  server.enqueue(MockResponse(200).body("fresh"));

  EXPECT_EQ(load("/").body(), "whole");
  EXPECT_EQ(load("/").body(), "fresh");
}

TEST_F(PooledConnectionTest, thatDiesBeforeTheResponseIsReplacedWhereRepeatingChangesNothing) {
  // More of them in a row than libcurl repeats on one handle.
  for (const char* method : {"GET", "HEAD", "PUT", "DELETE", "OPTIONS", "TRACE"}) {
    const int connections = server.connectionCount();
    server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
    server.enqueue(MockResponse(200).header("X-Try", "2"));

    const Loaded loaded = load(request(server.url("/"), method));

    ASSERT_FALSE(loaded.error) << method << ": " << loaded.message();
    EXPECT_EQ(loaded.http().value("X-Try"), "2") << method;
    EXPECT_EQ(server.takeRequest().connectionNumber, connections) << method;
    EXPECT_EQ(server.takeRequest().connectionNumber, connections + 1) << method;
  }
}

TEST_F(PooledConnectionTest, isReplacedHoweverItDies) {
  for (const auto ending : {Ending::close, Ending::drop, Ending::reset}) {
    server.enqueue(MockResponse().end(ending, Moment::beforeStatusLine));
    server.enqueue(MockResponse(200).body("again"));

    EXPECT_EQ(load("/").body(), "again");
  }
}

TEST_F(PooledConnectionTest, thatDiesBeforeTheResponseIsNotReplacedWhereTheServerMayHaveActed) {
  for (const char* method : {"POST", "PATCH", "get", "MOVE"}) {
    server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));

    const Loaded loaded = load(request(server.url("/"), method, Data("x")));

    EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << method << ": " << loaded.message();
    EXPECT_EQ(loaded.error->userInfo().find(URLErrorKey::requestWasSent)->boolean(), true) << method;
    EXPECT_EQ(server.remainingResponses(), 0u) << method;
    server.enqueue(MockResponse(200).body("warm"));
    ASSERT_EQ(load("/").body(), "warm");
  }
  EXPECT_EQ(server.requestCount(), 9) << "each was sent once";
}

TEST_F(PooledConnectionTest, isReplacedWithTheWholeBody) {
  const std::string body = corvane::testkit::generatedBytes(3 << 20);
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
  server.enqueue(MockResponse(200).body("again"));

  EXPECT_EQ(load(request(server.url("/"), "PUT", Data(body))).body(), "again");

  EXPECT_EQ(server.takeRequest().body, body);
  EXPECT_EQ(server.takeRequest().body, body);
}

TEST_F(PooledConnectionTest, thatDiesInsideTheRequestsBodyIsReplacedWithTheWholeBody) {
  const std::string body = corvane::testkit::generatedBytes(3 << 20);
  server.enqueue(MockResponse().resetConnection(Moment::insideRequestBody));
  server.enqueue(MockResponse(200).body("again"));

  const Loaded loaded = load(request(server.url("/"), "PUT", Data(body)));

  EXPECT_EQ(loaded.body(), "again") << loaded.message();

  EXPECT_EQ(server.takeRequest().body, body);
}

TEST_F(PooledConnectionTest, thatIsFreshIsNotReplaced) {
  server.closeIdleConnections();
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
  server.enqueue(MockResponse(200).body("again"));

  EXPECT_EQ(load("/").code(), URLErrorCode::networkConnectionLost);

  EXPECT_EQ(server.remainingResponses(), 1u);
}

TEST_F(PooledConnectionTest, isReplacedOnlyOnce) {
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
  server.enqueue(MockResponse().dropConnection(Moment::beforeStatusLine));
  server.enqueue(MockResponse(200).body("third"));

  EXPECT_EQ(load("/").code(), URLErrorCode::networkConnectionLost);
  EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(PooledConnectionTest, thatDiesAfterAnInterimHeadIsNotReplaced) {
  server.enqueue(MockResponse(200).interim(103).dropConnection(Moment::beforeStatusLine));
  server.enqueue(MockResponse(200).body("again"));

  EXPECT_NE(load("/").code(), 0);
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(PooledConnectionTest, thatDiesInsideTheHeadIsNotReplaced) {
  server.enqueue(MockResponse(200).body("x").dropConnection(Moment::insideHead));
  server.enqueue(MockResponse(200).body("again"));

  EXPECT_NE(load("/").code(), 0);
  EXPECT_EQ(server.requestCount(), 2);
}

}  // namespace
}  // namespace platform
