#include <gmock/gmock.h>

#include "SessionTest.hpp"

namespace platform {
namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::ReceivedRequest;
using ::testing::HasSubstr;

class DataTaskTest : public SessionTest {};

TEST_F(DataTaskTest, takesTheNameOfTheSchemeInAnyCase) {
  server.enqueue(MockResponse(200).body("loud"));

  EXPECT_EQ(load(URLRequest("HTTP" + server.url("/").substr(4))).body(), "loud");
}

TEST_F(DataTaskTest, deliversStatusHeadersAndBody) {
  const Loaded loaded =
      loadMock(MockResponse(200).header("X-A", "1").contentType("text/plain; charset=UTF-8").body("hello"));

  EXPECT_FALSE(loaded.error) << loaded.message();
  EXPECT_EQ(loaded.status(), 200);
  EXPECT_EQ(loaded.body(), "hello");
  EXPECT_EQ(loaded.http().value("x-a"), "1");
  EXPECT_EQ(loaded.response->mimeType(), "text/plain");
  EXPECT_EQ(loaded.response->textEncodingName(), "utf-8");
  EXPECT_EQ(loaded.response->expectedContentLength(), 5);
}

TEST_F(DataTaskTest, sendsWhatTheRequestSaysAndNothingElse) {
  server.enqueue(MockResponse(200));
  URLRequest sent(URL(server.url("/a/../b?x=1&y=%20")));
  sent.allHTTPHeaderFields = {{"X-One", "1"}, {"X-Empty", ""}};

  load(sent);

  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(received.method, "GET");
  EXPECT_EQ(received.target, "/a/../b?x=1&y=%20");
  EXPECT_EQ(received.header("X-One"), "1");
  EXPECT_EQ(received.header("X-Empty"), "");
  EXPECT_EQ(received.headers.size(), 3u) << received.head;  // with Host
}

TEST_F(DataTaskTest, sendsTheBodyWithItsLength) {
  server.enqueue(MockResponse(201));

  load(request(server.url("/"), "POST", Data("a body")));

  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.body, "a body");
  EXPECT_EQ(received.header("Content-Length"), "6");
  EXPECT_FALSE(received.hasHeader("Content-Type"));
  EXPECT_FALSE(received.hasHeader("Expect"));
}

TEST_F(DataTaskTest, sendsEveryMethodAsWritten) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200); });
  for (const std::string method : {"GET", "POST", "PUT", "PATCH", "DELETE", "OPTIONS", "PURGE", "HEAD"}) {
    EXPECT_EQ(load(request(server.url("/"), method)).status(), 200) << method;
    EXPECT_EQ(server.takeRequest().method, method);
  }
}

TEST_F(DataTaskTest, sendsABodyWithAnyMethodButHead) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200); });
  for (const std::string method : {"GET", "POST", "PUT", "PATCH", "DELETE", "PURGE"}) {
    load(request(server.url("/"), method, Data("x")));
    const ReceivedRequest received = server.takeRequest();
    EXPECT_EQ(received.method, method);
    EXPECT_EQ(received.body, "x") << method;
  }

  const Loaded refused = load(request(server.url("/"), "HEAD", Data("x")));
  EXPECT_THAT(refused.message(), HasSubstr("HEAD"));
  EXPECT_EQ(load(request(server.url("/"), "HEAD", Data())).status(), 200);
}

TEST_F(DataTaskTest, handlesOfOneExchangeLeaveNothingToTheNext) {
  server.handleAll([](const ReceivedRequest& received) { return MockResponse(200).body(received.method); });
  URLRequest first = request(server.url("/first"), "PURGE", Data("body"));
  first.allHTTPHeaderFields.set("X-First", "1");
  load(first);
  server.takeRequest();

  EXPECT_EQ(load(request(server.url("/head"), "HEAD")).body(), "");
  const Loaded plain = load("/second");

  server.takeRequest();
  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(plain.body(), "GET");
  EXPECT_EQ(received.target, "/second");
  EXPECT_EQ(received.body, "");
  EXPECT_FALSE(received.hasHeader("X-First"));
  EXPECT_FALSE(received.hasHeader("Content-Length"));
}

TEST_F(DataTaskTest, anEmptyBodyIsAnnouncedAsEmpty) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200); });
  load(request(server.url("/"), "POST", Data()));
  EXPECT_EQ(server.takeRequest().header("Content-Length"), "0");
  load(request(server.url("/"), "PUT"));
  EXPECT_EQ(server.takeRequest().header("Content-Length"), "0");
  load(request(server.url("/"), "DELETE"));
  EXPECT_FALSE(server.takeRequest().hasHeader("Content-Length"));
}

TEST_F(DataTaskTest, sendsALargeBodyCompletely) {
  const std::string body = corvane::testkit::generatedBytes(8 << 20);
  server.enqueue(MockResponse(200));

  EXPECT_EQ(load(request(server.url("/"), "POST", Data(body))).status(), 200);

  EXPECT_EQ(server.takeRequest().body, body);
}

TEST_F(DataTaskTest, receivesALargeBodyCompletely) {
  const Loaded loaded = loadMock(MockResponse(200).generatedBody(32 << 20));

  EXPECT_EQ(loaded.body(), corvane::testkit::generatedBytes(32 << 20));
}

TEST_F(DataTaskTest, receivesChunksAndIgnoresInterimHeadsAndTrailers) {
  const Loaded loaded = loadMock(MockResponse(200)
                                     .interim(103, {{"Link", "</style.css>"}})
                                     .chunked({"one ", "two ", "three"})
                                     .trailer("X-Sum", "3"));

  EXPECT_EQ(loaded.body(), "one two three");
  EXPECT_FALSE(loaded.http().allHeaderFields().contains("Link"));
  EXPECT_EQ(loaded.response->expectedContentLength(), URLResponse::unknownLength);
}

TEST_F(DataTaskTest, keepsTheConnectionForTheNextRequest) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body("x"); });
  for (int i = 0; i < 5; ++i) load("/");

  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(DataTaskTest, sessionsDoNotShareConnections) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body("x"); });
  load("/");
  Load(makeSession(), URLRequest(server.url("/"))).resume().wait();

  EXPECT_EQ(server.connectionCount(), 2);
}

TEST_F(DataTaskTest, deliversOnTheDelegateQueue) {
  server.enqueue(MockResponse(200));
  const DispatchQueue queue("the.delegate.queue");
  auto onQueue = std::make_shared<std::promise<bool>>();
  auto own = URLSession::make({}, nullptr, queue);

  own->dataTask(URLRequest(server.url("/")), [=](auto, auto, auto) { onQueue->set_value(queue.isCurrent()); })
      ->resume();

  EXPECT_TRUE(onQueue->get_future().get());
}

TEST_F(DataTaskTest, aSecondResumeDoesNothing) {
  server.enqueue(MockResponse(200));
  Load loading(session, URLRequest(server.url("/")));
  loading.resume().resume();

  loading.wait();
  EXPECT_EQ(server.requestCount(), 1);
  EXPECT_EQ(loading.task().state(), URLSessionTask::State::completed);
}

TEST_F(DataTaskTest, mapsARefusedConnection) {
  server.stopListening();

  const Loaded loaded = load("/");

  EXPECT_EQ(loaded.code(), URLErrorCode::cannotConnectToHost);
  EXPECT_EQ(loaded.error->domain(), kCFErrorDomainCFNetwork);
  EXPECT_EQ(loaded.error->userInfo().find(URLErrorKey::transportCode)->integer(), ECONNREFUSED);
  EXPECT_FALSE(loaded.response);
  EXPECT_FALSE(loaded.data);
}

TEST_F(DataTaskTest, refusesWhatMustNotBeSentAndNamesIt) {
  URLRequest broken(URL(server.url("/")));
  broken.allHTTPHeaderFields.set("X-Bad", "a\r\nInjected: 1");
  EXPECT_THAT(load(broken).message(), HasSubstr("X-Bad"));
  EXPECT_THAT(load(request(server.url("/"), "GE T")).message(), HasSubstr("method"));
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(DataTaskTest, refusesOtherSchemes) {
  EXPECT_EQ(load(URLRequest(URL("ftp://127.0.0.1/x"))).code(), URLErrorCode::unsupportedURL);
  EXPECT_EQ(load(URLRequest(URL("/relative"))).code(), URLErrorCode::unsupportedURL);
}

TEST_F(DataTaskTest, hasNoCacheToAnswerFrom) {
  URLRequest cached(URL(server.url("/")), URLRequestCachePolicy::returnCacheDataDontLoad);
  EXPECT_EQ(load(cached).code(), URLErrorCode::cannotLoadFromNetwork);
}

TEST_F(DataTaskTest, keepsCookiesInMemoryForTheSession) {
  server.enqueue(MockResponse(200).header("Set-Cookie", "session=abc; Path=/"));
  server.enqueue(MockResponse(200));
  load("/login");
  load("/home");

  EXPECT_FALSE(server.takeRequest().hasHeader("Cookie"));
  EXPECT_EQ(server.takeRequest().header("Cookie"), "session=abc");
}

TEST_F(DataTaskTest, joinsTheRequestsOwnCookiesWithTheSessions) {
  server.enqueue(MockResponse(200).header("Set-Cookie", "session=abc; Path=/"));
  server.enqueue(MockResponse(200));
  load("/");
  URLRequest second(URL(server.url("/")));
  second.allHTTPHeaderFields.set("Cookie", "mine=1");
  load(second);

  server.takeRequest();
  const ReceivedRequest received = server.takeRequest();
  ASSERT_EQ(received.headerValues("Cookie").size(), 1u) << received.head;
  EXPECT_THAT(*received.header("Cookie"), HasSubstr("mine=1"));
  EXPECT_THAT(*received.header("Cookie"), HasSubstr("session=abc"));
}

TEST_F(DataTaskTest, keepsNoCookiesWhenToldSo) {
  session = makeSession({.httpShouldSetCookies = false});
  server.enqueue(MockResponse(200).header("Set-Cookie", "session=abc; Path=/"));
  server.enqueue(MockResponse(200));
  load("/");
  load("/");

  server.takeRequest();
  EXPECT_FALSE(server.takeRequest().hasHeader("Cookie"));
}

}  // namespace
}  // namespace platform
