#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../Transport/InterceptorFixture.hpp"
#include "Corvane/Authentication/DigestAuthentication.hpp"
#include "Corvane/Transport/HTTPInterceptor.hpp"

namespace corvane {
namespace {

using testkit::Latch;
using testkit::MockResponse;
using testkit::Moment;
using testkit::ReceivedRequest;

struct InterceptedFeed : DataGetRequestable<InterceptedFeed>,
                         HTTPStreaming<InterceptedFeed>,
                         HTTPRequestCancelable<InterceptedFeed> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
};

class InterceptedStreamTest : public InterceptorTest {
 protected:
  InterceptedFeed feed() const { return {.url = server.url()}; }
  static std::string rest(HTTPBodyStream& stream) {
    std::string text;
    while (const auto piece = stream.next().get()) text += piece->view();
    return text;
  }
  static Error failureOfNext(HTTPBodyStream& stream) {
    const auto result = stream.next().result();
    EXPECT_TRUE(result.error());
    return result.error() ? *result.error() : Error("none", 0, "");
  }
  void addSecondTry() {
    intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
      auto response = co_await chain.send(request);
      if (response.statusCode() != 401) co_return response;
      request.allHTTPHeaderFields.set("Authorization", "now");
      co_return co_await chain.send(std::move(request));
    });
  }
};

TEST_F(InterceptedStreamTest, handsTheBodyOutWhileItArrives) {
  add(HTTPInterceptor::changing([](URLRequest& request) { request.allHTTPHeaderFields.set("X-Stamp", "7"); }));
  const Latch latch;
  server.enqueue(MockResponse(200).chunked({"first", "second"}).hold(Moment::insideBody, latch, 10));
  auto stream = feed().stream();

  EXPECT_EQ(stream.head().get().statusCode(), 200);
  EXPECT_EQ(stream.next().get()->text(), "first");
  latch.open();
  EXPECT_EQ(rest(stream), "second");
  EXPECT_EQ(server.takeRequest().header("X-Stamp"), "7");
}

TEST_F(InterceptedStreamTest, isSentAgainBeforeItsBodyIsHandedOut) {
  addSecondTry();
  server.enqueue(MockResponse(401).text("refused"));
  server.enqueue(MockResponse(200).text("content"));
  auto stream = feed().stream();

  EXPECT_EQ(rest(stream), "content");
}

TEST_F(InterceptedStreamTest, isAuthenticatedWhereARedirectLeads) {
  add(std::make_shared<DigestAuthentication>("ada", "secret", std::vector<URL>{server.url()}));
  server.handleAll([](const ReceivedRequest& request) {
    const auto digest = request.header("Authorization");
    if (!digest) return MockResponse(401).header("WWW-Authenticate", "Digest realm=\"r\", nonce=\"n\", qop=\"auth\"");
    if (digest->find("uri=\"" + request.target + "\"") == std::string::npos) return MockResponse(400);
    return request.target == "/" ? MockResponse(302).header("Location", "/new") : MockResponse(200).text("content");
  });
  auto stream = feed().stream();

  EXPECT_EQ(rest(stream), "content");
}

TEST_F(InterceptedStreamTest, letsGoOfABodyThatIsNotWanted) {
  addSecondTry();
  server.enqueue(MockResponse(401).body("endless").stall(Moment::insideBody, 3));
  server.enqueue(MockResponse(200).text("content"));
  auto stream = feed().stream();

  EXPECT_EQ(rest(stream), "content");
  EXPECT_TRUE(server.waitUntil([&] { return server.stalledConnections() == 0; }));
}

TEST_F(InterceptedStreamTest, readsTheBodyOfAnErrorThatItLetThrough) {
  add(HTTPInterceptor::changing([](URLRequest&) {}));
  server.enqueue(MockResponse(404).text("not here"));
  auto stream = feed().stream();

  const Error error = failureOfNext(stream);

  EXPECT_EQ(error, Error(HTTPResponseError::unacceptableStatus(HTTPStatus::notFound)));
  ASSERT_TRUE(error.response());
  EXPECT_EQ(error.response()->body()->text(), "not here");
}

TEST_F(InterceptedStreamTest, takesTheBytesOfAnInterceptor) {
  intercept([](const URLRequest& request, const Chain&) -> Task<Intercepted> {
    co_return Intercepted(request.url, 200, {{"X-From", "memory"}}, Data("from memory"));
  });
  auto stream = feed().stream();

  EXPECT_EQ(stream.head().get().headers->value("X-From"), "memory");
  EXPECT_EQ(rest(stream), "from memory");
}

TEST_F(InterceptedStreamTest, takesAnErrorOfAnInterceptor) {
  intercept([](const URLRequest& request, const Chain&) -> Task<Intercepted> {
    co_return Intercepted(request.url, 500, {}, Data("broken"));
  });
  auto stream = feed().stream();

  const Error error = failureOfNext(stream);

  EXPECT_EQ(error, Error(HTTPResponseError::unacceptableStatus(HTTPStatus::internalServerError)));
  ASSERT_TRUE(error.response());
  EXPECT_EQ(error.response()->body()->text(), "broken");
}

TEST_F(InterceptedStreamTest, isCancelledWhileItsBodyArrives) {
  add(HTTPInterceptor::changing([](URLRequest&) {}));
  server.enqueue(MockResponse(200).chunked({"first", "second"}).stall(Moment::insideBody, 10));
  const auto request = feed();
  auto stream = request.stream();
  EXPECT_EQ(stream.next().get()->text(), "first");

  request.cancel();

  EXPECT_EQ(failureOfNext(stream), Error(HTTPResponseError::taskCancelled()));
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(InterceptedStreamTest, isCancelledWhileAnInterceptorHasItsHead) {
  Future<bool> hasHead;
  intercept([hasHead](URLRequest request, Chain chain) -> Task<Intercepted> {
    auto response = co_await chain.send(std::move(request));
    hasHead.markCompletion(true);
    co_await sleepFor(1000);
    co_return response;
  });
  server.enqueue(MockResponse(200).body("first").stall(Moment::insideBody, 3));
  const auto request = feed();
  auto stream = request.stream();
  EXPECT_TRUE(hasHead.get());

  request.cancel();

  EXPECT_EQ(failureOfNext(stream), Error(HTTPResponseError::taskCancelled()));
  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(InterceptedStreamTest, handsOverToAHandler) {
  addSecondTry();
  server.enqueue(MockResponse(401));
  server.enqueue(MockResponse(200).text("content"));
  const DispatchQueue queue("handler");
  testkit::Expectation<std::string> piece;
  testkit::Expectation<HTTPStreamResponse> ended;

  feed().stream({.queue = queue}, [piece](const Data& bytes) { piece.fulfil(bytes.text()); }, ended);

  EXPECT_EQ(piece.wait(), "content");
  EXPECT_TRUE(ended.wait().result);
}

}  // namespace
}  // namespace corvane
