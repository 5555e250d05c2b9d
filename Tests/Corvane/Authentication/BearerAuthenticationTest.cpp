#include "Corvane/Authentication/BearerAuthentication.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stop_token>

#include "../Transport/InterceptorFixture.hpp"

namespace corvane {
namespace {

using testkit::Expectation;
using testkit::Latch;
using testkit::MockResponse;
using testkit::Moment;
using testkit::ReceivedRequest;

Error unauthorized() { return HTTPResponseError::unacceptableStatus(HTTPStatus::unauthorized); }

/// A server that takes one token, and refreshes whose outcomes the test decides on.
class BearerAuthenticationTest : public InterceptorTest {
 protected:
  using Token = std::string;

  BearerAuthenticationTest() {
    server.handleAll([](const ReceivedRequest& request) {
      return MockResponse(request.header("Authorization") == "Bearer new" ? 200 : 401);
    });
  }

  std::shared_ptr<BearerAuthentication> addTokens(std::optional<Token> first) {
    // Once it has sent a request on, the next interceptor waits, or has sent it, too.
    intercept([joined = joined_](URLRequest request, Chain chain) {
      auto response = chain.send(std::move(request));
      joined.fulfil();
      return response;
    });
    auto bearer = std::make_shared<BearerAuthentication>(
        std::vector<URL>{server.url()},
        [refreshes = refreshes_](std::optional<Token> refused) {
          const Future<Token> outcome;
          refreshes.fulfil({std::move(refused), outcome});
          return outcome;
        },
        std::move(first));
    add(bearer);
    return bearer;
  }

  struct Refresh {
    std::optional<Token> refused;
    Future<Token> outcome;
  };
  const Expectation<Refresh> refreshes_;
  const Expectation<void> joined_;
};

TEST_F(BearerAuthenticationTest, sendsItsTokenUnasked) {
  addTokens("new");

  get().send().get();

  EXPECT_EQ(server.requestCount(), 1);
  EXPECT_EQ(refreshes_.count(), 0);
}

TEST_F(BearerAuthenticationTest, beginsWithARefreshWhereItHasNoToken) {
  const auto bearer = addTokens(std::nullopt);
  const auto future = get().send();

  const Refresh refresh = refreshes_.wait();
  EXPECT_EQ(server.requestCount(), 0);
  refresh.outcome.markCompletion("new");

  future.get();
  EXPECT_EQ(refresh.refused, std::nullopt);
  EXPECT_EQ(bearer->token(), "new");
}

TEST_F(BearerAuthenticationTest, refreshesOnceForAHundredRequests) {
  constexpr int count = 100;
  addTokens("old");
  std::vector<Future<HTTPResponse<Data>>> futures;
  for (int i = 0; i < count; ++i) futures.push_back(get().send());
  const Refresh refresh = refreshes_.wait();
  joined_.waitForAll(count);

  refresh.outcome.markCompletion("new");

  for (const auto& future : futures) EXPECT_TRUE(future.result());
  EXPECT_EQ(refreshes_.count(), 1);
  EXPECT_EQ(refresh.refused, "old");
  // Those that began meanwhile were not sent with the refused token.
  EXPECT_LE(server.requestCount(), 2 * count);
}

TEST_F(BearerAuthenticationTest, failsAllThatWaitWithTheErrorOfTheRefresh) {
  addTokens(std::nullopt);
  const auto first = get().send();
  const auto second = get().send();
  joined_.waitForAll(2);

  refreshes_.wait().outcome.markFailure(Error("Login", 5, "the session has ended"));

  EXPECT_EQ(*first.result().error(), Error("Login", 5, "the session has ended"));
  EXPECT_EQ(*second.result().error(), Error("Login", 5, "the session has ended"));
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(BearerAuthenticationTest, refreshesAnewAfterAFailure) {
  addTokens("old");
  const auto first = get().send();
  refreshes_.wait().outcome.markFailure(Error("Login", 5, "not now"));
  EXPECT_FALSE(first.result());

  const auto second = get().send();
  refreshes_.waitForAll(2).back().outcome.markCompletion("new");

  EXPECT_TRUE(second.result());
}

TEST_F(BearerAuthenticationTest, takesARefusalOfAFreshTokenForTheResponse) {
  addTokens("old");
  const auto future = get().send();

  refreshes_.wait().outcome.markCompletion("wrong");

  EXPECT_EQ(*future.result().error(), unauthorized());
  EXPECT_EQ(server.requestCount(), 2);
  EXPECT_EQ(refreshes_.count(), 1);
}

TEST_F(BearerAuthenticationTest, usesATokenThatCameMeanwhileWithoutAnotherRefresh) {
  const auto bearer = addTokens("old");
  const Latch latch;
  server.handle("/slow", [latch](const ReceivedRequest& request) {
    if (request.header("Authorization") == "Bearer new") return MockResponse(200);
    return MockResponse(401).hold(Moment::beforeStatusLine, latch);
  });
  const auto slow = get("/slow").send();
  ASSERT_TRUE(server.waitForStall());
  const auto quick = get().send();
  refreshes_.wait().outcome.markCompletion("new");
  EXPECT_TRUE(quick.result());

  latch.open();

  EXPECT_TRUE(slow.result());
  EXPECT_EQ(refreshes_.count(), 1);
}

TEST_F(BearerAuthenticationTest, leavesTheOthersAloneWhenOneIsCancelled) {
  addTokens(std::nullopt);
  const auto first = get();
  const auto cancelled = first.send();
  const auto other = get().send();
  joined_.waitForAll(2);

  first.cancel();
  EXPECT_EQ(*cancelled.result().error(), Error(HTTPResponseError::taskCancelled()));
  refreshes_.wait().outcome.markCompletion("new");

  EXPECT_TRUE(other.result());
  EXPECT_EQ(refreshes_.count(), 1);
}

TEST_F(BearerAuthenticationTest, cancelsARefreshThatNobodyWaitsForAnyMore) {
  addTokens(std::nullopt);
  const auto cancelled = get().send();
  const Refresh refresh = refreshes_.wait();
  Expectation<void> told;
  const std::stop_callback telling(refresh.outcome.stopToken(), [told] { told.fulfil(); });

  cancelled.cancel();

  told.wait();
  const auto next = get().send();
  joined_.waitForAll(2);
  EXPECT_EQ(refreshes_.count(), 1);  // not two at a time
  refresh.outcome.markFailure(Error("Login", 7, "cancelled"));
  refreshes_.waitForAll(2).back().outcome.markCompletion("new");
  EXPECT_TRUE(next.result());
}

TEST_F(BearerAuthenticationTest, takesATokenThatComesThoughNobodyWaitsForItAnyMore) {
  const auto bearer = addTokens(std::nullopt);
  const auto cancelled = get().send();
  const Refresh refresh = refreshes_.wait();
  cancelled.cancel();
  const auto next = get().send();
  joined_.waitForAll(2);

  refresh.outcome.markCompletion("new");

  EXPECT_TRUE(next.result());
  EXPECT_EQ(refreshes_.count(), 1);
  EXPECT_EQ(bearer->token(), "new");
}

TEST_F(BearerAuthenticationTest, prefersATokenThatIsSetToThatOfARefresh) {
  const auto bearer = addTokens("old");
  const auto waiting = get().send();
  const Refresh refresh = refreshes_.wait();

  bearer->setToken("new");
  EXPECT_TRUE(waiting.result());
  refresh.outcome.markCompletion("of another user");

  // The next refresh begins when the first is over.
  bearer->setToken(std::nullopt);
  const auto next = get().send();
  const Refresh second = refreshes_.waitForAll(2).back();
  EXPECT_EQ(second.refused, std::nullopt);
  second.outcome.markCompletion("new");
  EXPECT_TRUE(next.result());
}

TEST_F(BearerAuthenticationTest, refreshesAnewWhenItsTokenIsTakenAwayMeanwhile) {
  const auto bearer = addTokens("old");
  const auto waiting = get().send();
  const Refresh refresh = refreshes_.wait();

  bearer->setToken(std::nullopt);
  refresh.outcome.markCompletion("of another user");
  const Refresh second = refreshes_.waitForAll(2).back();
  EXPECT_EQ(second.refused, std::nullopt);
  second.outcome.markCompletion("new");

  EXPECT_TRUE(waiting.result());
}

TEST_F(BearerAuthenticationTest, doesNotSendAgainWhatWasTakenBeforeARedirectWasRefused) {
  addTokens("new");
  server.handle("/orders", [](const ReceivedRequest&) { return MockResponse(303).header("Location", "/orders/7"); });
  server.handle("/orders/7", [](const ReceivedRequest&) { return MockResponse(401); });

  const auto result = InterceptedPost{.body = "order", .url = server.url("/orders")}.send().result();

  EXPECT_EQ(*result.error(), unauthorized());
  EXPECT_EQ(server.requestCount(), 2);
  EXPECT_EQ(refreshes_.count(), 0);
}

TEST_F(BearerAuthenticationTest, endsWithTheDeadlineOfARequest) {
  // Whether the deadline comes before it is asked for or after: it ends when nobody waits for it any more.
  add(std::make_shared<BearerAuthentication>(std::vector<URL>{server.url()}, [](std::optional<Token>) -> Task<Token> {
    co_await sleepFor(3600);
    co_return "too late";
  }));

  const Error error = failureOf(get(), {.deadline = 0.05});

  EXPECT_TRUE(error.is<CFNetworkErrors>());
  EXPECT_EQ(server.requestCount(), 0);
}

TEST_F(BearerAuthenticationTest, failsWhereTheRefreshIsForgotten) {
  add(std::make_shared<BearerAuthentication>(std::vector<URL>{server.url()},
                                             [](const std::optional<Token>&) { return Future<Token>(); }));

  EXPECT_TRUE(failureOf(get()).is<HTTPInterceptorError>());
}

TEST_F(BearerAuthenticationTest, failsWhereTheRefreshThrows) {
  add(std::make_shared<BearerAuthentication>(
      std::vector<URL>{server.url()},
      [](const std::optional<Token>&) -> Future<Token> { throw Error("Login", 6, "thrown"); }));

  EXPECT_EQ(failureOf(get()), Error("Login", 6, "thrown"));
}

TEST_F(BearerAuthenticationTest, mayRefreshThroughItsOwnConfiguration) {
  server.handle("/token", [](const ReceivedRequest& request) {
    return MockResponse(request.hasHeader("Authorization") ? 400 : 200).text("new");
  });
  add(std::make_shared<BearerAuthentication>(
      std::vector<URL>{server.url()},
      [request = get("/token")](const std::optional<Token>&) -> Task<Token> {
        // Two, one after the other: the second is sent where the coroutine resumed.
        const auto first = co_await request.send();
        const auto second = co_await request.send();
        co_return second.body.text();
      },
      "old"));

  EXPECT_TRUE(get().send().result());
  EXPECT_EQ(server.requestCount(), 4);
}

TEST_F(BearerAuthenticationTest, keepsItsTokenFromOtherOrigins) {
  testkit::TestServer other;
  other.enqueue(MockResponse(401));
  server.handle("/away",
                [url = other.url()](const ReceivedRequest&) { return MockResponse(302).header("Location", url); });
  addTokens("new");

  EXPECT_EQ(failureOf(get("/away")), unauthorized());

  EXPECT_FALSE(other.takeRequest().hasHeader("Authorization"));
  EXPECT_EQ(refreshes_.count(), 0);
}

TEST_F(BearerAuthenticationTest, takesATokenOfTheApplication) {
  const auto bearer = addTokens("old");

  bearer->setToken("new");

  EXPECT_TRUE(get().send().result());
  EXPECT_EQ(refreshes_.count(), 0);
  EXPECT_THROW(bearer->setToken("line\nbreak"), Error);
}

}  // namespace
}  // namespace corvane
