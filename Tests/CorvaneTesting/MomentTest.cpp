#include "CorvaneTesting/Moment.hpp"

#include "CorvaneTesting/ServerTest.hpp"
#include "TestSupport/RawClient.hpp"

namespace corvane::testkit {
namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using ::testing::EndsWith;

constexpr std::string_view head = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n";
constexpr std::string_view upload = "POST / HTTP/1.1\r\nContent-Length: 4\r\n\r\n";

using MomentTest = ServerTest;

TEST_F(MomentTest, dropsBeforeAnythingIsRead) {
  server.enqueue(MockResponse().dropConnection(Moment::onAccept));
  server.enqueue(MockResponse().dropConnection(Moment::afterHandshake));

  EXPECT_EQ(RawClient(server).receiveAll(), "");
  EXPECT_EQ(RawClient(server).receiveAll(), "");
  EXPECT_EQ(server.headCount(), 0);
}

TEST_F(MomentTest, dropsAroundAndInsideTheResponse) {
  const auto received = [&](Moment moment, std::optional<std::uint64_t> afterBytes = std::nullopt) {
    server.enqueue(MockResponse().body("hello").dropConnection(moment, afterBytes));
    return RawClient(server).exchange(get("/"));
  };

  EXPECT_EQ(received(Moment::beforeStatusLine), "");
  EXPECT_EQ(received(Moment::insideHead, 3), "HTT");
  EXPECT_EQ(received(Moment::insideHead), head.substr(0, head.size() / 2));
  EXPECT_EQ(received(Moment::afterHead), head);
  EXPECT_EQ(received(Moment::insideBody, 0), head);
  EXPECT_EQ(received(Moment::insideBody, 4), std::string(head) + "hell");
  EXPECT_EQ(received(Moment::insideBody), std::string(head) + "he");
  EXPECT_EQ(received(Moment::insideBody, 99), std::string(head) + "hello");
  EXPECT_EQ(received(Moment::afterResponse), std::string(head) + "hello");
}

TEST_F(MomentTest, dropsInsideGeneratedAndChunkedBodies) {
  server.enqueue(MockResponse().generatedBody(1'000'000).dropConnection(Moment::insideBody, 300'001));
  server.enqueue(MockResponse().chunked({"abc", "def"}).dropConnection(Moment::insideBody, 10));

  const std::string generated = RawClient(server).exchange(get("/"));
  const std::string chunked = RawClient(server).exchange(get("/"));

  EXPECT_TRUE(generated.ends_with("\r\n\r\n" + generatedBytes(300'001)));
  EXPECT_THAT(chunked, EndsWith("\r\n\r\n3\r\nabc\r\n3\r"));
}

TEST_F(MomentTest, resetsTheConnection) {
  server.enqueue(MockResponse().body("hello").resetConnection(Moment::beforeStatusLine));
  server.enqueue(MockResponse().body("hello").resetConnection(Moment::insideBody, 2));

  EXPECT_THROW(RawClient(server).exchange(get("/")), std::system_error);
  EXPECT_THROW(RawClient(server).exchange(get("/")), std::system_error);
}

TEST_F(MomentTest, dropsBeforeTheRequestBodyIsRead) {
  server.enqueue(MockResponse().dropConnection(Moment::beforeRequestBody));
  RawClient client(server);

  EXPECT_EQ(client.exchange(upload), "");
  EXPECT_EQ(server.headCount(), 1);
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(MomentTest, dropsInsideTheRequestBody) {
  server.enqueue(MockResponse().dropConnection(Moment::insideRequestBody));
  server.enqueue(MockResponse().dropConnection(Moment::insideRequestBody, 3));

  EXPECT_EQ(RawClient(server).exchange(std::string(upload) + "12"), "");
  EXPECT_EQ(server.bodyBytesReceived(), 2U);
  EXPECT_EQ(RawClient(server).exchange(std::string(upload) + "123"), "");
  EXPECT_EQ(server.bodyBytesReceived(), 5U);
}

TEST_F(MomentTest, halfClosesAndStaysUntilTheClientLeaves) {
  server.enqueue(MockResponse().body("hello").halfClose(Moment::afterResponse));
  RawClient client(server);

  const std::string response = client.exchange(get("/"));
  const bool stays = server.waitForStall() && server.openConnections() == 1;
  client.send("still listening?");
  client.close();

  EXPECT_THAT(response, EndsWith("hello"));
  EXPECT_TRUE(stays);
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(MomentTest, stallsUntilTheClientLeaves) {
  for (const Moment moment :
       {Moment::onAccept, Moment::afterHandshake, Moment::beforeRequestBody, Moment::beforeStatusLine,
        Moment::insideHead, Moment::afterHead, Moment::insideBody, Moment::afterResponse}) {
    server.enqueue(MockResponse().body("hello").stall(moment));
    RawClient client(server);
    client.send(get("/"));
    EXPECT_TRUE(server.waitForStall());
    client.close();
    EXPECT_TRUE(server.waitUntilAllClosed());
    EXPECT_EQ(server.stalledConnections(), 0);
  }
}

TEST_F(MomentTest, holdsTheResponseUntilTheLatchOpens) {
  Latch beforeHead;
  Latch insideBody;
  server.enqueue(
      MockResponse().body("hello").hold(Moment::beforeStatusLine, beforeHead).hold(Moment::insideBody, insideBody, 2));
  RawClient client(server);
  client.send(get("/"));

  ASSERT_TRUE(server.waitForStall());
  beforeHead.open();
  const std::string first = client.receiveUntil("he");
  ASSERT_TRUE(server.waitForStall());
  insideBody.open();
  const std::string rest = client.receiveExactly(3);

  EXPECT_EQ(first, std::string(head) + "he");
  EXPECT_EQ(rest, "llo");
  EXPECT_TRUE(beforeHead.isOpen());
}

TEST_F(MomentTest, acceptsLateAndThenAnswers) {
  Latch latch;
  server.enqueue(MockResponse().body("hello").hold(Moment::onAccept, latch));
  RawClient client(server);
  client.send(closingGet("/"));
  ASSERT_TRUE(server.waitForStall());
  EXPECT_EQ(server.headCount(), 0);

  latch.open();

  EXPECT_THAT(client.receiveAll(), EndsWith("hello"));
}

TEST_F(MomentTest, waitsAtLeastAsLongAsItWasTold) {
  server.enqueue(MockResponse()
                     .body("hello")
                     .delay(Moment::beforeStatusLine, milliseconds(20))
                     .delay(Moment::afterHead, milliseconds(20))
                     .closeConnection());
  const auto start = std::chrono::steady_clock::now();

  RawClient(server).exchange(get("/"));

  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(40));
}

TEST_F(MomentTest, breaksOffADelayWhenTheClientLeaves) {
  server.enqueue(MockResponse().delay(Moment::beforeStatusLine, hours(1)));
  {
    RawClient client(server);
    client.send(get("/"));
    ASSERT_TRUE(server.waitForRequests(1));
  }

  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(MomentTest, sendsInPiecesWhenThrottled) {
  server.enqueue(MockResponse().body(generatedBytes(1000)).throttle(100, milliseconds(1)).closeConnection());
  const auto start = std::chrono::steady_clock::now();

  const std::string response = RawClient(server).exchange(get("/"));

  EXPECT_TRUE(response.ends_with(generatedBytes(1000)));
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(10));
}

TEST_F(MomentTest, sendsUnaskedBytesAfterTheResponseOrWhenIdle) {
  server.enqueue(MockResponse().body("hello").extraBytesAfter("extra"));
  server.enqueue(MockResponse().body("hello").extraBytesAfter("later", milliseconds(1)).closeWhenIdle(milliseconds(2)));
  RawClient client(server);

  client.send(get("/"));
  const std::string first = client.receiveUntil("extra");
  const std::string second = client.exchange(get("/"));

  EXPECT_EQ(first, std::string(head) + "helloextra");
  EXPECT_EQ(second, std::string(head) + "hellolater");
}

TEST_F(MomentTest, actsOnIdleConnectionsAtTheTestsWord) {
  for (int index = 0; index < 3; ++index) server.enqueue(MockResponse().body("hello"));
  const auto idleClient = [&] {
    RawClient client(server);
    client.send(get("/"));
    client.receiveUntil("hello");
    return client;
  };

  RawClient first = idleClient();
  EXPECT_EQ(server.sendOnIdleConnections("unasked"), 1);
  EXPECT_EQ(first.receiveExactly(7), "unasked");
  EXPECT_EQ(server.closeIdleConnections(), 1);
  EXPECT_EQ(first.receiveAll(), "");
  RawClient second = idleClient();
  EXPECT_EQ(server.resetIdleConnections(), 1);
  EXPECT_THROW(second.receive(), std::system_error);
  EXPECT_EQ(server.openConnections(), 0);
}

}  // namespace
}  // namespace corvane::testkit
