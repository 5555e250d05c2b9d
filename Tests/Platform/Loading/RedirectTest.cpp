#include "SessionTest.hpp"

namespace platform {
namespace {

using corvane::testkit::MockResponse;
using corvane::testkit::ReceivedRequest;
using corvane::testkit::TestServer;

class RedirectTest : public SessionTest {};

TEST_F(RedirectTest, isFollowedToTheResponse) {
  server.enqueue(MockResponse(302).header("Location", "/next?x=1").body("moved"));
  server.enqueue(MockResponse(200).body("here"));

  const Loaded loaded = load("/start");

  EXPECT_EQ(loaded.body(), "here");
  EXPECT_EQ(loaded.response->url().absoluteString(), server.url("/next?x=1"));
  EXPECT_EQ(server.connectionCount(), 1);
}

TEST_F(RedirectTest, rewritesTheMethodAsTheStatusSays) {
  struct Case {
    int status;
    const char* method;
    const char* expected;
    const char* body;
  };
  for (const Case& c : {Case{301, "POST", "GET", ""}, Case{302, "POST", "GET", ""}, Case{303, "POST", "GET", ""},
                        Case{303, "PUT", "GET", ""}, Case{307, "POST", "POST", "x"}, Case{308, "PUT", "PUT", "x"},
                        Case{301, "PUT", "PUT", "x"}}) {
    server.enqueue(MockResponse(c.status).header("Location", "/next"));
    server.enqueue(MockResponse(200));
    load(request(server.url("/"), c.method, Data("x")));
    server.takeRequest();
    const ReceivedRequest second = server.takeRequest();
    EXPECT_EQ(second.method, c.expected) << c.status << c.method;
    EXPECT_EQ(second.body, c.body) << c.status << c.method;
  }
}

TEST_F(RedirectTest, givesUpAfterTwenty) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(302).header("Location", "/again"); });

  const Loaded loaded = load("/");

  EXPECT_EQ(loaded.code(), URLErrorCode::httpTooManyRedirects);
  EXPECT_EQ(server.requestCount(), 21);
}

TEST_F(RedirectTest, leavesHTTPForNothingElse) {
  for (const char* target : {"ftp://127.0.0.1/", "file:///etc/passwd", "javascript:alert(1)"}) {
    server.enqueue(MockResponse(302).header("Location", target));
    EXPECT_EQ(load("/").code(), URLErrorCode::unsupportedURL) << target;
  }
}

TEST_F(RedirectTest, takesCredentialsToNoOtherOrigin) {
  TestServer other;
  server.enqueue(MockResponse(302).header("Location", other.url("/there")));
  other.enqueue(MockResponse(200));
  URLRequest secret(URL(server.url("/")));
  secret.allHTTPHeaderFields = {{"Authorization", "Bearer x"}, {"Cookie", "a=1"}, {"X-Plain", "1"}};

  load(secret);

  const ReceivedRequest received = other.takeRequest();
  EXPECT_FALSE(received.hasHeader("Authorization"));
  EXPECT_FALSE(received.hasHeader("Cookie"));
  EXPECT_EQ(received.header("X-Plain"), "1");
}

TEST_F(RedirectTest, keepsCredentialsOnTheSameOrigin) {
  server.enqueue(MockResponse(302).header("Location", "/there"));
  server.enqueue(MockResponse(200));
  URLRequest secret(URL(server.url("/")));
  secret.allHTTPHeaderFields = {{"Authorization", "Bearer x"}};

  load(secret);

  server.takeRequest();
  EXPECT_EQ(server.takeRequest().header("Authorization"), "Bearer x");
}

TEST_F(RedirectTest, someStatusesAreResponses) {
  for (int status : {300, 304, 305}) {
    server.enqueue(MockResponse(status).header("Location", "/elsewhere"));
    EXPECT_EQ(load("/").status(), status);
  }
  server.enqueue(MockResponse(302).body("no location"));
  EXPECT_EQ(load("/").body(), "no location");
}

TEST_F(RedirectTest, doesNotReadALongBodyOnItsWay) {
  server.enqueue(MockResponse(302).header("Location", "/next").generatedBody(std::uint64_t{1} << 40));
  server.enqueue(MockResponse(200).body("here"));

  EXPECT_EQ(load("/").body(), "here");
}

TEST_F(RedirectTest, keepsCookiesOnTheWay) {
  server.enqueue(MockResponse(302).header("Location", "/next").header("Set-Cookie", "a=1; Path=/"));
  server.enqueue(MockResponse(200));

  load("/");

  server.takeRequest();
  EXPECT_EQ(server.takeRequest().header("Cookie"), "a=1");
}

}  // namespace
}  // namespace platform
