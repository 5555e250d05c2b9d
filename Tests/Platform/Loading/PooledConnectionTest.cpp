#include "SessionTest.hpp"

namespace platform {
namespace {

using corvane::testing::Answer;
using corvane::testing::Moment;
using corvane::testing::ReceivedRequest;

class PooledConnectionTest : public SessionTest {
 protected:
  void SetUp() override {
    server.enqueue(Answer(200).body("warm"));
    ASSERT_EQ(load("/").body(), "warm");
    server.takeRequest();
  }
};

TEST_F(PooledConnectionTest, isNotUsedAfterItWasClosed) {
  ASSERT_EQ(server.closeIdleConnections(), 1);
  server.enqueue(Answer(200).body("fresh"));

  EXPECT_EQ(load(request(server.url("/"), "POST", Data("x"))).body(), "fresh");

  EXPECT_EQ(server.takeRequest().connectionNumber, 2);
}

TEST_F(PooledConnectionTest, isNotUsedAfterItWasReset) {
  ASSERT_EQ(server.resetIdleConnections(), 1);
  server.enqueue(Answer(200).body("fresh"));

  EXPECT_EQ(load(request(server.url("/"), "POST", Data("x"))).body(), "fresh");
}

TEST_F(PooledConnectionTest, isNotUsedAfterItReceivedUnaskedBytes) {
  ASSERT_EQ(server.sendOnIdleConnections("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged"), 1);
  server.enqueue(Answer(200).body("fresh"));

  EXPECT_EQ(load("/").body(), "fresh");

  EXPECT_EQ(server.takeRequest().connectionNumber, 2);
}

TEST_F(PooledConnectionTest, isNotUsedAfterMoreBytesThanTheBody) {
  server.enqueue(Answer(200).body("whole").extraBytesAfter("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged"));
  server.enqueue(Answer(200).body("fresh"));

  EXPECT_EQ(load("/").body(), "whole");
  EXPECT_EQ(load("/").body(), "fresh");
}

TEST_F(PooledConnectionTest, isNotUsedAfterMoreBytesThanTheChunks) {
  server.enqueue(
      Answer(200).body("whole").chunked().extraBytesAfter("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nforged"));
  server.enqueue(Answer(200).body("fresh"));

  EXPECT_EQ(load("/").body(), "whole");
  EXPECT_EQ(load("/").body(), "fresh");
}

TEST_F(PooledConnectionTest, thatDiesBeforeTheAnswerIsReplacedOnceForASafeMethod) {
  server.enqueue(Answer().dropConnection(Moment::beforeStatusLine));
  server.enqueue(Answer(200).body("again"));

  EXPECT_EQ(load("/").body(), "again");

  EXPECT_EQ(server.takeRequest().connectionNumber, 1);
  EXPECT_EQ(server.takeRequest().connectionNumber, 2);
}

TEST_F(PooledConnectionTest, thatDiesBeforeTheAnswerIsNotReplacedForPost) {
  server.enqueue(Answer().dropConnection(Moment::beforeStatusLine));
  server.enqueue(Answer(200).body("again"));

  const Loaded loaded = load(request(server.url("/"), "POST", Data("x")));

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
  EXPECT_EQ(loaded.error->userInfo().find(URLErrorKey::requestWasSent)->boolean(), true);
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(PooledConnectionTest, isReplacedOnlyOnce) {
  server.enqueue(Answer().dropConnection(Moment::beforeStatusLine));
  server.enqueue(Answer().dropConnection(Moment::beforeStatusLine));
  server.enqueue(Answer(200).body("third"));

  EXPECT_EQ(load("/").code(), URLErrorCode::networkConnectionLost);
  EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(PooledConnectionTest, thatDiesInsideTheHeadIsNotReplaced) {
  server.enqueue(Answer(200).body("x").dropConnection(Moment::insideHead));
  server.enqueue(Answer(200).body("again"));

  EXPECT_NE(load("/").code(), 0);
  EXPECT_EQ(server.requestCount(), 2);
}

}  // namespace
}  // namespace platform
