#include "CorvaneTesting/TestServer.hpp"

#include <atomic>
#include <thread>

#include "CorvaneTesting/ServerTest.hpp"
#include "TestSupport/RawClient.hpp"

namespace corvane::testkit {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using TestServerTest = ServerTest;

TEST_F(TestServerTest, sendsTheEnqueuedResponse) {
  server.enqueue(MockResponse(200).header("X-A", "1").header("X-A", "2").body("hello"));

  const std::string response = RawClient(server).exchange(closingGet("/users/7"));

  EXPECT_EQ(response, "HTTP/1.1 200 OK\r\nX-A: 1\r\nX-A: 2\r\nContent-Length: 5\r\n\r\nhello");
}

TEST_F(TestServerTest, recordsTheRequestAsItArrived) {
  server.enqueue(MockResponse());

  RawClient(server).exchange(
      "PUT /a%20b?x=1&y=a%26b HTTP/1.1\r\nHost: h\r\nx-A:  one \r\nX-a: two\r\nContent-Length: 3\r\nConnection: "
      "close\r\n\r\nabc");
  const ReceivedRequest request = server.takeRequest();

  EXPECT_EQ(request.method, "PUT");
  EXPECT_EQ(request.target, "/a%20b?x=1&y=a%26b");
  EXPECT_EQ(request.path(), "/a%20b");
  EXPECT_EQ(request.queryValue("y"), "a&b");
  EXPECT_EQ(request.queryValue("z"), std::nullopt);
  EXPECT_THAT(request.headers,
              ElementsAre(HeaderField{"Host", "h"}, HeaderField{"x-A", "one"}, HeaderField{"X-a", "two"},
                          HeaderField{"Content-Length", "3"}, HeaderField{"Connection", "close"}));
  EXPECT_THAT(request.headerValues("X-A"), ElementsAre("one", "two"));
  EXPECT_EQ(request.body, "abc");
  EXPECT_EQ(request.bodySize, 3U);
  EXPECT_EQ(request.connectionNumber, 1);
  EXPECT_EQ(request.indexOnConnection, 1);
  EXPECT_EQ(request.localAddress, "127.0.0.1");
  EXPECT_THAT(request.head, StartsWith("PUT /a%20b?x=1&y=a%26b HTTP/1.1\r\nHost: h\r\nx-A:  one \r\n"));
}

TEST_F(TestServerTest, hasTakenTheResponseOfARequestThatIsKnown) {
  for (std::size_t round = 0; round < 200; ++round) {
    server.enqueue(MockResponse());
    RawClient client(server);
    client.send(closingGet("/"));

    server.takeRequest();

    ASSERT_EQ(server.remainingResponses(), 0U) << "round " << round;
    client.receiveUntil("200 OK");
  }
}

TEST_F(TestServerTest, countsRequestsOnAKeptConnection) {
  for (const char* body : {"one", "two"}) server.enqueue(MockResponse().body(body));
  RawClient client(server);

  client.send(get("/1"));
  const std::string first = client.receiveUntil("one");
  const std::string second = client.exchange(closingGet("/2"));

  EXPECT_THAT(second, EndsWith("\r\n\r\ntwo"));
  EXPECT_EQ(server.takeRequest().indexOnConnection, 1);
  const ReceivedRequest request = server.takeRequest();
  EXPECT_EQ(request.indexOnConnection, 2);
  EXPECT_EQ(request.connectionNumber, 1);
  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(TestServerTest, answersPipelinedRequestsInOrder) {
  server.handleAll([](const ReceivedRequest& request) { return MockResponse().body(request.target + ";"); });

  const std::string responses = RawClient(server).exchange(get("/1") + get("/2") + closingGet("/3"));

  EXPECT_LT(responses.find("/1;"), responses.find("/2;"));
  EXPECT_LT(responses.find("/2;"), responses.find("/3;"));
  EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(TestServerTest, prefersTheRouteThenTheQueueThenTheCatchAll) {
  server.handle("/files/*", [](const ReceivedRequest&) { return MockResponse().body("prefix"); });
  server.handle("/files/a", [](const ReceivedRequest&) { return MockResponse().body("exact"); });
  server.handleAll([](const ReceivedRequest&) { return MockResponse().body("any"); });
  server.enqueue(MockResponse().body("queue"));

  const auto bodyOf = [&](std::string_view target) {
    const std::string response = RawClient(server).exchange(closingGet(target));
    return response.substr(response.find("\r\n\r\n") + 4);
  };

  EXPECT_EQ(bodyOf("/files/a"), "exact");
  EXPECT_EQ(bodyOf("/files/b?c"), "prefix");
  EXPECT_EQ(bodyOf("/other"), "queue");
  EXPECT_EQ(bodyOf("/other"), "any");
  EXPECT_EQ(server.remainingResponses(), 0U);
}

TEST_F(TestServerTest, saysWhichRequestWasNotScripted) {
  const std::string response = RawClient(server).exchange(closingGet("/forgotten?x"));

  EXPECT_THAT(response, StartsWith("HTTP/1.1 500 Internal Server Error\r\n"));
  EXPECT_THAT(response, HasSubstr("no response was scripted for GET /forgotten?x (request 1 on connection 1)"));
  EXPECT_THAT(server.takeFailures(),
              ElementsAre("no response was scripted for GET /forgotten?x (request 1 on connection 1)"));
}

TEST_F(TestServerTest, recordsAHandlerThatThrows) {
  server.handle("/", [](const ReceivedRequest&) -> MockResponse { throw std::runtime_error("out of cheese"); });

  const std::string response = RawClient(server).exchange(closingGet("/"));

  EXPECT_THAT(response, HasSubstr("the handler of GET / threw: out of cheese"));
  EXPECT_EQ(server.takeFailures().size(), 1U);
}

TEST_F(TestServerTest, recordsMalformedRequests) {
  const char* const malformed[] = {
      "GET /\r\n\r\n",
      "GET  / HTTP/1.1\r\n\r\n",
      "GET / HTTP/2.0\r\n\r\n",
      "GE T / HTTP/1.1\r\n\r\n",
      "GET / HTTP/1.1\r\nNo colon\r\n\r\n",
      "GET / HTTP/1.1\r\nName : x\r\n\r\n",
      "GET / HTTP/1.1\r\nA: x\ny\r\n\r\n",
      "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
      "POST / HTTP/1.1\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n",
      "POST / HTTP/1.1\r\nContent-Length: +1\r\n\r\n",
      "POST / HTTP/1.1\r\nTransfer-Encoding: gzip\r\n\r\n",
      "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nx\r\n",
      "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nabc\r\n",
  };

  for (const char* request : malformed) {
    EXPECT_THAT(RawClient(server).exchange(request), StartsWith("HTTP/1.1 400 Bad Request\r\n")) << request;
  }

  EXPECT_EQ(server.takeFailures().size(), std::size(malformed));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(TestServerTest, sendsNoBodyWhereNoneIsAllowed) {
  server.enqueue(MockResponse(204).body("never"));
  server.enqueue(MockResponse(304).body("never"));
  server.enqueue(MockResponse(200).body("never"));
  RawClient client(server);

  const std::string responses = client.exchange(get("/") + get("/") + "HEAD / HTTP/1.1\r\nConnection: close\r\n\r\n");

  EXPECT_EQ(responses,
            "HTTP/1.1 204 No Content\r\n\r\n"
            "HTTP/1.1 304 Not Modified\r\n\r\n"
            "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n");
}

TEST_F(TestServerTest, readsChunkedBodiesWithExtensionsAndTrailers) {
  server.enqueue(MockResponse());

  RawClient(server).exchange(
      "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n"
      "3;x=y\r\nabc\r\nA\r\n0123456789\r\n0\r\nX-Sum: 13\r\n\r\n");
  const ReceivedRequest request = server.takeRequest();

  EXPECT_TRUE(request.isChunked);
  EXPECT_EQ(request.body, "abc0123456789");
  EXPECT_THAT(request.trailers, ElementsAre(HeaderField{"X-Sum", "13"}));
}

TEST_F(TestServerTest, discardsBodiesWhenAsked) {
  server.discardBodies();
  server.enqueue(MockResponse());
  const std::string body = generatedBytes(3'000'000);

  RawClient(server).exchange("POST / HTTP/1.1\r\nContent-Length: 3000000\r\nConnection: close\r\n\r\n" + body);
  const ReceivedRequest request = server.takeRequest();

  EXPECT_EQ(request.bodySize, body.size());
  EXPECT_EQ(request.body, "");
  EXPECT_EQ(server.bodyBytesReceived(), body.size());
}

TEST_F(TestServerTest, saysContinueToThoseWhoExpectIt) {
  server.enqueue(MockResponse().body("done"));
  RawClient client(server);

  client.send("POST / HTTP/1.1\r\nContent-Length: 2\r\nExpect: 100-continue\r\nConnection: close\r\n\r\n");
  const std::string interim = client.receiveUntil("\r\n\r\n");
  const std::string response = client.exchange("ab");

  EXPECT_EQ(interim, "HTTP/1.1 100 Continue\r\n\r\n");
  EXPECT_THAT(response, EndsWith("done"));
  EXPECT_EQ(server.takeRequest().body, "ab");
}

TEST_F(TestServerTest, ignoresTheExpectationWhenAsked) {
  server.ignoreExpectContinue();
  server.enqueue(MockResponse().body("done"));
  RawClient client(server);

  client.send("POST / HTTP/1.1\r\nContent-Length: 2\r\nExpect: 100-continue\r\nConnection: close\r\n\r\n");
  const bool headArrived = server.waitUntil([&] { return server.headCount() == 1; });
  const std::string response = client.exchange("ab");

  EXPECT_TRUE(headArrived);
  EXPECT_THAT(response, StartsWith("HTTP/1.1 200 OK"));
}

TEST_F(TestServerTest, refusesABodyBeforeItIsSent) {
  server.enqueue(MockResponse(417).beforeRequestBody());

  const std::string response =
      RawClient(server).exchange("POST / HTTP/1.1\r\nContent-Length: 2\r\nExpect: 100-continue\r\n\r\n");

  EXPECT_EQ(response, "HTTP/1.1 417 Expectation Failed\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(server.takeRequest().bodySize, 0U);
}

TEST_F(TestServerTest, readsTheRestOfABodyItAnsweredEarly) {
  server.enqueue(MockResponse(413).beforeRequestBody());
  server.enqueue(MockResponse().body("next"));
  RawClient client(server);

  client.send("POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\n12");
  const std::string early = client.receiveUntil("\r\n\r\n");
  const std::string next = client.exchange("345" + closingGet("/next"));

  EXPECT_THAT(early, StartsWith("HTTP/1.1 413"));
  EXPECT_THAT(next, EndsWith("next"));
}

TEST_F(TestServerTest, takesNoRequestThatNeverCame) {
  EXPECT_THROW(server.takeRequest(std::chrono::milliseconds(1)), std::runtime_error);
}

TEST_F(TestServerTest, servesSixteenClientsAtOnce) {
  constexpr int clients = 16;
  constexpr int requestsEach = 100;
  server.handleAll([](const ReceivedRequest& request) { return MockResponse().body(request.target); });
  std::atomic<int> right = 0;

  std::vector<std::thread> threads;
  for (int number = 0; number < clients; ++number) {
    threads.emplace_back([&, number] {
      for (int index = 0; index < requestsEach; ++index) {
        const std::string target = "/" + std::to_string(number) + "/" + std::to_string(index);
        const std::string response = RawClient(server).exchange(closingGet(target));
        if (response.ends_with("\r\n\r\n" + target)) ++right;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(right, clients * requestsEach);
  EXPECT_EQ(server.connectionCount(), clients * requestsEach);
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST(TestServerLifeTest, endsAtOnceWithHundredsOfConnectionsInEveryState) {
  auto server = std::make_unique<TestServer>();
  server->handle("/stall", [](const ReceivedRequest&) { return MockResponse().stall(Moment::beforeStatusLine); });
  server->handle("/slow", [](const ReceivedRequest&) {
    return MockResponse().delay(Moment::afterHead, std::chrono::hours(1)).body("never");
  });
  server->handle("/big", [](const ReceivedRequest&) { return MockResponse().generatedBody(std::uint64_t(1) << 40); });
  std::vector<RawClient> clients;
  for (int index = 0; index < 400; ++index) clients.emplace_back(*server);
  ASSERT_TRUE(server->waitForConnections(400));
  const char* const targets[] = {"/stall", "/slow", "/big"};
  for (std::size_t index = 0; index < 300; ++index) clients[index].send(get(targets[index % 3]));
  ASSERT_TRUE(server->waitForRequests(300));

  server.reset();

  EXPECT_EQ(clients.back().receiveAll(), "");
}

TEST(TestServerLifeTest, listensOnSeveralAddressesWithOnePort) {
  ServerOptions options;
  options.addresses = {"::1", "127.0.0.1", "127.0.0.2"};
  TestServer server(options);
  server.handleAll([](const ReceivedRequest& request) { return MockResponse().body(request.localAddress); });

  for (const std::string& address : options.addresses) {
    EXPECT_THAT(RawClient(server, address).exchange(closingGet("/")), EndsWith("\r\n\r\n" + address));
  }
  EXPECT_EQ(server.url("/x"), "http://[::1]:" + std::to_string(server.port()) + "/x");
  EXPECT_EQ(server.url("/x", "localhost"), "http://localhost:" + std::to_string(server.port()) + "/x");
}

TEST(TestServerLifeTest, reportsFailuresThatNobodyTook) {
  static std::vector<std::string>& reported = *new std::vector<std::string>;
  reported.clear();
  TestServer::reportFailuresTo([](const std::string& failure) { reported.push_back(failure); });

  {
    TestServer server;
    RawClient(server).exchange(closingGet("/"));
  }

  TestServer::reportFailuresTo([](const std::string& failure) { ADD_FAILURE() << failure; });
  EXPECT_EQ(reported.size(), 1U);
}

TEST(TestServerLifeTest, refusesConnectionsOnceItStoppedListening) {
  TestServer server;
  server.enqueue(MockResponse().body("still here"));
  RawClient open(server);
  ASSERT_TRUE(server.waitForConnections(1));

  server.stopListening();

  EXPECT_THROW(RawClient{server}, std::system_error);
  EXPECT_THAT(open.exchange(closingGet("/")), EndsWith("still here"));
}

}  // namespace
}  // namespace corvane::testkit
