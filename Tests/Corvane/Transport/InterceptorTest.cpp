#include "Corvane/Transport/HTTPInterceptor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

#include "CorvaneTesting/LogCapture.hpp"
#include "InterceptorFixture.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testkit::MockResponse;

TEST_F(InterceptorTest, changesEveryPartOfARequest) {
  add(HTTPInterceptor::changing([](URLRequest& request) {
    request.allHTTPHeaderFields.set("X-Stamp", "7");
    request.url = URL("elsewhere?a=b", request.url);
    request.httpMethod = "PATCH";
    request.httpBody = Data("changed");
  }));
  server.enqueue(MockResponse(200).text("done"));

  EXPECT_EQ((InterceptedPost{.body = "original", .url = server.url("/here")}.send().get().body.text()), "done");

  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "PATCH");
  EXPECT_EQ(received.target, "/elsewhere?a=b");
  EXPECT_EQ(received.header("X-Stamp"), "7");
  EXPECT_EQ(received.header("Content-Length"), "7");
  EXPECT_EQ(received.body, "changed");
}

TEST_F(InterceptorTest, isOfNoConcernToOtherRequests) {
  intercept([](const URLRequest&, const Chain&) -> Future<Intercepted> { throw Error("none of its business", 1, ""); });
  server.enqueue(MockResponse(200).text("plain"));

  EXPECT_EQ(DataGetRequest(server.url()).send().get().body.text(), "plain");
}

TEST_F(InterceptorTest, isOfTheDefaultConfigurationForAllOthers) {
  configuration_.interceptors = {
      HTTPInterceptor::changing([](URLRequest& request) { request.allHTTPHeaderFields.set("X-Stamp", "default"); })};
  HTTPClientConfiguration::setDefault(configuration_);
  server.enqueue(MockResponse(200));

  DataGetRequest(server.url()).send().get();

  EXPECT_EQ(server.takeRequest().header("X-Stamp"), "default");
}

TEST_F(InterceptorTest, respondsWithoutTheNetwork) {
  intercept([](const URLRequest& request, const Chain&) {
    Future<Intercepted> response;
    response.markCompletion(Intercepted(request.url, 203, {{"X-From", "memory"}}, Data("kept")));
    return response;
  });

  const auto response = get("/a").send().get();

  EXPECT_EQ(response.body.text(), "kept");
  EXPECT_EQ(response.statusCode(), 203);
  EXPECT_EQ(response.headers->value("X-From"), "memory");
  EXPECT_EQ(server.connectionCount(), 0);
}

struct Pet {
  std::string name;
};
struct GetPet : JSONGetRequestable<GetPet, Pet> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(InterceptorTest, respondsToJSONRequestsBeforeTheyAreDecoded) {
  intercept([](const URLRequest& request, const Chain&) -> Task<Intercepted> {
    co_return Intercepted(request.url, 200, {{"Content-Type", "application/json"}}, Data(R"({"name": "Rex"})"));
  });

  EXPECT_EQ(GetPet{.url = server.url()}.send().get().body.name, "Rex");
}

TEST_F(InterceptorTest, respondsWithAStatusThatIsJudgedAsThatOfAServer) {
  intercept([](const URLRequest& request, const Chain&) -> Task<Intercepted> {
    co_return Intercepted(request.url, 404, {}, Data("not here"));
  });

  const Error error = failureOf(get());

  EXPECT_EQ(error, Error(HTTPResponseError::unacceptableStatus(HTTPStatus::notFound)));
  ASSERT_TRUE(error.response());
  EXPECT_EQ(error.response()->body()->text(), "not here");
}

/// Reads the body in memory, changes it, and keeps what it saw.
struct Reader final : HTTPInterceptor {
  Future<HTTPInterceptedResponse> intercept(URLRequest request, HTTPInterceptorChain chain) override {
    auto response = co_await chain.send(std::move(request));
    statusSeen = response.statusCode();
    response.data = Data(response.data->text() + "!");
    co_return response;
  }

  std::atomic<int> statusSeen = 0;
};

TEST_F(InterceptorTest, looksAtTheResponseAndReplacesItsBody) {
  const auto reader = std::make_shared<Reader>();
  add(reader);
  server.enqueue(MockResponse(201).text("hello"));

  EXPECT_EQ(bodyOf(get()), "hello!");
  EXPECT_EQ(reader->statusSeen, 201);
}

TEST_F(InterceptorTest, sendsAgain) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    auto response = co_await chain.send(request);
    if (response.statusCode() != 503) co_return response;
    request.allHTTPHeaderFields.set("X-Again", response.value("X-Ticket").value_or(""));
    co_return co_await chain.send(std::move(request));
  });
  server.enqueue(MockResponse(503).header("X-Ticket", "12"));
  server.enqueue(MockResponse(200).text("now"));

  EXPECT_EQ((InterceptedPost{.body = "same", .url = server.url()}.send().get().body.text()), "now");

  EXPECT_EQ(server.takeRequest().body, "same");
  const auto second = server.takeRequest();
  EXPECT_EQ(second.header("X-Again"), "12");
  EXPECT_EQ(second.body, "same");
}

TEST_F(InterceptorTest, sendsAgainToTheServerWhateverIsStored) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    auto response = co_await chain.send(request);
    if (response.statusCode() != 404) co_return response;
    co_return co_await chain.send(std::move(request));
  });
  server.enqueue(MockResponse(404).header("Cache-Control", "max-age=60"));
  server.enqueue(MockResponse(200).text("now"));

  EXPECT_EQ(bodyOf(get()), "now");
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(InterceptorTest, sendsOneRequestEightTimesAtMost) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    for (;;) {
      auto response = co_await chain.send(request);
      if (response.error) co_return response;
    }
  });
  server.handleAll([](const auto&) { return MockResponse(503); });

  EXPECT_EQ(failureOf(get()), Error(HTTPInterceptorError::tooManySends(HTTPInterceptor::maximumSends)));
  EXPECT_EQ(server.requestCount(), HTTPInterceptor::maximumSends);
}

TEST_F(InterceptorTest, sendsEightTimesAtMostWhereTheNextInterceptorResponds) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    for (;;) {
      auto response = co_await chain.send(request);
      if (response.error) co_return response;
    }
  });
  intercept(
      [](const URLRequest& request, const Chain&) -> Task<Intercepted> { co_return Intercepted(request.url, 503); });

  EXPECT_EQ(failureOf(get()), Error(HTTPInterceptorError::tooManySends(HTTPInterceptor::maximumSends)));
}

TEST_F(InterceptorTest, standsInTheOrderOfTheList) {
  for (const char* const name : {"a", "b", "c"}) {
    intercept([name](URLRequest request, Chain chain) -> Task<Intercepted> {
      const std::string before = request.allHTTPHeaderFields.value("X-Way").value_or("");
      request.allHTTPHeaderFields.set("X-Way", before + name);
      auto response = co_await chain.send(std::move(request));
      response.data = Data(response.data->text() + name);
      co_return response;
    });
  }
  server.enqueue(MockResponse(200).text(""));

  EXPECT_EQ(bodyOf(get()), "cba");
  EXPECT_EQ(server.takeRequest().header("X-Way"), "abc");
}

TEST_F(InterceptorTest, failsTheRequestWithWhatItThrows) {
  intercept([](const URLRequest&, const Chain&) -> Future<Intercepted> { throw Error("Test", 3, "thrown at once"); });

  EXPECT_EQ(failureOf(get()), Error("Test", 3, "thrown at once"));
}

TEST_F(InterceptorTest, failsTheRequestWithWhatLeavesItsCoroutine) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    co_await chain.send(std::move(request));
    throw Error("Test", 4, "thrown later");
  });
  server.enqueue(MockResponse(200));

  EXPECT_EQ(failureOf(get()), Error("Test", 4, "thrown later"));
}

struct Forgetful final : HTTPInterceptor {
  Future<HTTPInterceptedResponse> intercept(URLRequest, HTTPInterceptorChain) override { return {}; }
};

TEST_F(InterceptorTest, failsTheRequestThatItForgets) {
  add(std::make_shared<Forgetful>());

  const Error error = failureOf(get());

  const auto* const own = error.as<HTTPInterceptorError>();
  ASSERT_TRUE(own);
  EXPECT_EQ(own->which(), HTTPInterceptorError::Case::noResponse);
  EXPECT_THAT(own->message(), HasSubstr("Forgetful let go of a request without a response"));
}

TEST_F(InterceptorTest, seesTheFailureOfAnExchangeAsAResponse) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    const auto response = co_await chain.send(request);
    if (!response.error) co_return response;
    co_return Intercepted(request.url, 200, {}, Data(response.error->domain()));
  });
  server.enqueue(MockResponse(200).text("never seen").dropConnection(testkit::Moment::insideBody, 2));

  EXPECT_EQ(bodyOf(get()), platform::kCFErrorDomainCFNetwork);
}

TEST_F(InterceptorTest, leavesErrorsOfTheNetworkAsTheyAre) {
  add(HTTPInterceptor::changing([](URLRequest&) {}));
  server.enqueue(MockResponse(200).text("incomplete").dropConnection(testkit::Moment::insideBody, 2));

  const Error error = failureOf(get());

  const auto* const network = error.as<CFNetworkErrors>();
  ASSERT_TRUE(network);
  EXPECT_EQ(network->errorCode(), platform::URLErrorCode::networkConnectionLost);
  ASSERT_TRUE(error.response());
  EXPECT_EQ(error.response()->statusCode(), 200);
}

TEST_F(InterceptorTest, mayBlock) {
  intercept([](URLRequest request, const Chain& chain) {
    Future<Intercepted> response;
    response.markCompletion(chain.send(std::move(request)).get());
    return response;
  });
  intercept([](URLRequest request, const Chain& chain) {
    Future<Intercepted> response;
    response.markCompletion(chain.send(std::move(request)).get());
    return response;
  });
  server.enqueue(MockResponse(200).text("patience"));

  EXPECT_EQ(bodyOf(get()), "patience");
}

TEST_F(InterceptorTest, mayBlockBeforeACoroutine) {
  intercept([](URLRequest request, const Chain& chain) {
    Future<Intercepted> response;
    response.markCompletion(chain.send(std::move(request)).get());
    return response;
  });
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    auto response = co_await chain.send(request);
    if (response.statusCode() == 503) response = co_await chain.send(std::move(request));
    co_return response;
  });
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200).text("patience"));
  testkit::Expectation<DataResponse> ended;

  get().send(DispatchQueue::global(), ended);

  EXPECT_EQ(ended.wait().data->text(), "patience");
}

TEST_F(InterceptorTest, runsOnASerialQueueOfTheRequest) {
  Future<std::string> label;
  intercept([label](URLRequest request, Chain chain) -> Task<Intercepted> {
    auto response = co_await chain.send(std::move(request));
    label.markCompletion(DispatchQueue::current()->label());
    co_return response;
  });
  server.enqueue(MockResponse(200));

  bodyOf(get());

  EXPECT_EQ(label.get(), "org.corvane.Corvane.interceptors");
}

struct Retrying : DataGetRequestable<Retrying>, HTTPRetryAttempting<Retrying> {
  URL url;
  double retryInterval = 0;
  int retryLimit = 3;
  std::optional<std::string> sessionConfigurationIdentifier = interceptedIdentifier;
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(InterceptorTest, seesEachAttemptOfARetry) {
  std::atomic<int> calls = 0;
  add(HTTPInterceptor::changing(
      [&](URLRequest& request) { request.allHTTPHeaderFields.set("X-Call", std::to_string(++calls)); }));
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200));

  const auto result = Retrying{.url = server.url()}.sendAttemptingRetry().get();

  EXPECT_EQ(result.failCount(), 1);
  EXPECT_EQ(server.takeRequest().header("X-Call"), "1");
  EXPECT_EQ(server.takeRequest().header("X-Call"), "2");
}

TEST_F(InterceptorTest, respondsWhereTheNetworkIsForbidden) {
  intercept([](URLRequest request, Chain chain) -> Task<Intercepted> {
    if (request.url.path() == "/known") co_return Intercepted(request.url, 200, {}, Data("known"));
    co_return co_await chain.send(std::move(request));
  });
  Corvane::isNetworkForbidden = true;

  EXPECT_EQ(bodyOf(get("/known")), "known");
  EXPECT_TRUE(failureOf(get("/unknown")).is<HTTPNetworkForbiddenError>());

  Corvane::isNetworkForbidden = false;
}

TEST_F(InterceptorTest, cannotBeNull) {
  configuration_.interceptors = {nullptr};

  EXPECT_EQ(configuration_.problem(), "An interceptor is null.");
  EXPECT_THROW(HTTPClientConfiguration::set(interceptedIdentifier, configuration_), Error);
}

TEST_F(InterceptorTest, keepsItsCredentialsFromOtherOrigins) {
  testkit::TestServer other;
  other.enqueue(MockResponse(200).text("stranger"));
  server.enqueue(MockResponse(302).header("Location", "/mine"));
  server.enqueue(MockResponse(302).header("Location", other.url("/theirs")));
  add(HTTPInterceptor::changing([](URLRequest& request) {
    request.allHTTPHeaderFields.set("Authorization", "Bearer secret");
    request.allHTTPHeaderFields.set("Cookie", "secret=1");
    request.allHTTPHeaderFields.set("Proxy-Authorization", "Basic secret");
  }));

  EXPECT_EQ(bodyOf(get()), "stranger");

  EXPECT_EQ(server.takeRequest().header("Authorization"), "Bearer secret");
  EXPECT_EQ(server.takeRequest().header("Authorization"), "Bearer secret");
  EXPECT_THAT(other.takeRequest().head, Not(HasSubstr("secret")));
}

TEST_F(InterceptorTest, showsInDebugOutputWhatWasSent) {
  add(HTTPInterceptor::changing([](URLRequest& request) {
    request.url = URL("changed", request.url);
    request.allHTTPHeaderFields.set("Authorization", "Bearer secret");
    request.allHTTPHeaderFields.set("X-Stamp", "7");
  }));
  server.enqueue(MockResponse(200).text("hello"));
  const testkit::LogCapture log;
  Corvane::verbosity = HTTPVerbosityLevel::verbose;

  bodyOf(get("/original"));

  Corvane::verbosity = HTTPVerbosityLevel::none;
  ASSERT_EQ(log->records().size(), 1u);
  const auto record = log->records().front();
  EXPECT_EQ(record.message, server.url("/changed"));
  const std::string curl = record.userInfo->find("curl")->description();
  EXPECT_THAT(curl, HasSubstr("X-Stamp: 7"));
  EXPECT_THAT(curl, HasSubstr("Authorization: REDACTED"));
  EXPECT_THAT(curl, Not(HasSubstr("secret")));
}

}  // namespace
}  // namespace corvane
