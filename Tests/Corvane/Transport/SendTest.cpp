#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/LogCapture.hpp"
#include "CorvaneTesting/MainQueue.hpp"
#include "CorvaneTesting/Ports.hpp"
#include "SendFixture.hpp"

namespace corvane {
namespace {

using corvane::testkit::await;
using corvane::testkit::Expectation;
using corvane::testkit::MockResponse;

TEST_F(SendTest, deliversTheBodyAndTheFactsOfTheResponse) {
  server.enqueue(MockResponse(200).header("X-A", "1").text("hello"));

  const DataResponse response = responseTo(DataGetRequest(server.url("/users"), {{"X-B", 2}}, {{"page", 3}}));

  ASSERT_TRUE(response.result.body());
  EXPECT_EQ(response.result.body()->text(), "hello");
  EXPECT_EQ(response.status, HTTPStatus::success);
  EXPECT_EQ(response.headers->value("x-a"), "1");
  EXPECT_EQ(response.mimeType, "text/plain");
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "GET");
  EXPECT_EQ(received.target, "/users?page=3");
  EXPECT_EQ(received.header("X-B"), "2");
  EXPECT_EQ(received.header("Accept"), "*/*");
  EXPECT_EQ(received.header("Accept-Encoding"), "gzip;q=1.0, compress;q=0.5");
}

TEST_F(SendTest, sendsABody) {
  server.enqueue(MockResponse(201));

  const DataResponse response = responseTo(DataPostRequest(server.url("/"), "bytes"));

  EXPECT_EQ(response.status, HTTPStatus::created);
  const auto received = server.takeRequest();
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.body, "bytes");
  EXPECT_EQ(received.header("Content-Type"), "application/octet-stream");
}

TEST_F(SendTest, deliversOnTheGivenQueue) {
  server.enqueue(MockResponse(200));

  const bool isOnQueue =
      await<bool>([&](auto done) { get().send(queue, [=, this](const DataResponse&) { done(queue.isCurrent()); }); });

  EXPECT_TRUE(isOnQueue);
}

TEST_F(SendTest, deliversOnTheMainQueueWhenNoneIsGiven) {
  server.enqueue(MockResponse(200));
  server.enqueue(MockResponse(200));

  const auto first = testkit::awaitOnMain<DataResponse>([&](auto done) { get().send(done); });
  const auto second = testkit::awaitOnMain<DataResponse>([&](auto done) { get().send(std::nullopt, done); });

  EXPECT_EQ(first.status, HTTPStatus::success);
  EXPECT_EQ(second.status, HTTPStatus::success);
}

TEST_F(SendTest, doesNothingAtAllWhenItShouldNotSend) {
  Expectation<DataResponse> completion;
  Get request = get();
  request.shouldSend = false;

  request.send(queue, completion);

  // Whatever the send did would have come before the response to this one.
  server.enqueue(MockResponse(200));
  responseTo(get());
  EXPECT_FALSE(completion.isFulfilled());
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(SendTest, reportsAMalformedURLOnTheQueueWithoutATask) {
  Expectation<bool> completion;

  DataGetRequest("/").send(queue, [=, this](const DataResponse& response) {
    const auto* error = response.result.error()->as<HTTPRequestError>();
    completion.fulfil(queue.isCurrent() && error && *error == HTTPRequestError::malformedURL("/") && !response.data &&
                      !response.urlResponse);
  });

  EXPECT_TRUE(completion.wait());
}

TEST_F(SendTest, neverCallsTheCompletionBeforeItReturns) {
  Expectation<DataResponse> completion;

  const bool wasCalled = queue.sync([&] {
    DataGetRequest("/").send(queue, completion);
    return completion.isFulfilled();
  });

  EXPECT_FALSE(wasCalled);
  completion.wait();
}

struct Refusing : DataGetRequestable<Refusing> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  void validate() const { throw Error("Test", 1, "not now"); }
};

TEST_F(SendTest, reportsWhatValidateThrows) {
  const DataResponse response = responseTo(Refusing{.url = server.url("/")});

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->message(), "not now");
  EXPECT_EQ(server.requestCount(), 0);
}

struct OddlyThrowing : DataGetRequestable<OddlyThrowing> {
  std::string path() const { throw 42; }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(SendTest, reportsWhateverAPropertyThrows) {
  const DataResponse response = responseTo(OddlyThrowing());

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(*response.result.error()->as<int>(), 42);
}

TEST_F(SendTest, reportsARefusedHeader) {
  const DataResponse response = responseTo(DataGetRequest(server.url("/"), {{"X-Bad", "a\r\nInjected: 1"}}));

  ASSERT_TRUE(response.result.error());
  EXPECT_THAT(response.result.error()->userInfo().find("NSLocalizedDescription")->description(), ::testing::Ne(""));
  EXPECT_EQ(server.requestCount(), 0);
}

struct Picky : DataGetRequestable<Picky> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  void validate(const DataResponse& response) const {
    if (response.data && response.data->text() == "bad") throw Error("Test", 2, "bad body");
  }
};

TEST_F(SendTest, turnsAResponseThatItsValidationRefusesIntoAFailure) {
  server.enqueue(MockResponse(200).header("X-A", "1").text("bad"));

  const DataResponse response = responseTo(Picky{.url = server.url("/")});

  ASSERT_TRUE(response.result.error());
  EXPECT_EQ(response.result.error()->message(), "bad body");
  EXPECT_EQ(response.data->text(), "bad");
  EXPECT_EQ(response.headers->value("X-A"), "1");
  EXPECT_EQ(response.status, HTTPStatus::success);
}

struct Processing : DataGetRequestable<Processing> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  void process(const DataResponse&) const { throw Error("Test", 3, "not processed"); }
};

TEST_F(SendTest, callsProcessToValidateAResponse) {
  server.enqueue(MockResponse(200));

  EXPECT_EQ(responseTo(Processing{.url = server.url("/")}).result.error()->message(), "not processed");
}

TEST_F(SendTest, failsForAnUnacceptableStatusAndKeepsWhatWasReceived) {
  server.enqueue(MockResponse(404).text("nothing here"));

  const DataResponse response = responseTo(get());

  ASSERT_TRUE(responseError(response));
  EXPECT_EQ(*responseError(response), HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  EXPECT_EQ(response.data->text(), "nothing here");
}

TEST_F(SendTest, failsForNotModifiedAndForAStatusWithoutAName) {
  server.enqueue(MockResponse(304));
  server.enqueue(MockResponse(429));

  EXPECT_EQ(*responseError(responseTo(get())), HTTPResponseError::unacceptableStatus(HTTPStatus::notModified));
  EXPECT_EQ(*responseError(responseTo(get())), HTTPResponseError::unacceptableStatus(HTTPStatus::unknown));
}

struct Lenient : DataGetRequestable<Lenient> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  bool isAcceptable(HTTPStatus status) const { return status == HTTPStatus::notFound; }
};

TEST_F(SendTest, leavesAnAcceptedStatusToTheResponseType) {
  server.enqueue(MockResponse(404));
  server.enqueue(MockResponse(200));

  EXPECT_EQ(*responseError(responseTo(Lenient{.url = server.url("/")})),
            HTTPResponseError::unacceptableStatus(HTTPStatus::notFound));
  EXPECT_EQ(*responseError(responseTo(Lenient{.url = server.url("/")})),
            HTTPResponseError::unacceptableStatus(HTTPStatus::success));
}

/// Succeeds whatever the status is.
struct AnyStatusResponse : DataResponse {
  AnyStatusResponse(std::optional<Data> bytes, std::optional<URL> file, std::shared_ptr<const URLResponse> response,
                    std::optional<Error> error)
      : DataResponse(bytes, file, response, error) {
    result = error ? DataResult::failure(*error) : DataResult::success(bytes);
  }
};
struct AnyStatusGet : HTTPGetRequestable<AnyStatusGet, AnyStatusResponse> {
  URL url;
  HTTPHeaders sharedHeaders() const { return {}; }
  bool isAcceptable(HTTPStatus status) const { return status == HTTPStatus::notFound; }
};

TEST_F(SendTest, passesAnAcceptedStatusWithoutAnError) {
  server.enqueue(MockResponse(404).text("a page of its own"));
  server.enqueue(MockResponse(405));
  const AnyStatusGet request{.url = server.url("/")};

  EXPECT_EQ(request.send().get().body.text(), "a page of its own");
  EXPECT_EQ(request.send().result().error()->message(), "HTTPStatus: methodNotAllowed:405 is unacceptable");
}

DataResponse processed(std::shared_ptr<const URLResponse> urlResponse, std::optional<Error> error) {
  return await<DataResponse>([&](auto done) {
    DataGetRequest("https://example.com")
        .processTaskCompletion(std::nullopt, std::nullopt, urlResponse, error, DispatchQueue::global(), done);
  });
}

TEST_F(SendTest, callsACompletionWithNeitherErrorNorResponseAnUnknownStatus) {
  EXPECT_EQ(*responseError(processed(nullptr, std::nullopt)),
            HTTPResponseError::unacceptableStatus(HTTPStatus::unknown));
}

TEST_F(SendTest, callsAResponseThatIsNotHTTPAnUnknownStatus) {
  const auto file = std::make_shared<URLResponse>(URL("file:///tmp/x"), "text/plain", 5, std::nullopt);

  EXPECT_EQ(*responseError(processed(file, std::nullopt)), HTTPResponseError::unacceptableStatus(HTTPStatus::unknown));
}

TEST_F(SendTest, translatesTheErrorsOfTasks) {
  const Error network(platform::kCFErrorDomainCFNetwork, -1004, "transport text");
  const Error cancelled(platform::NSURLErrorDomain, -999, "cancelled");
  const Error other("Elsewhere", -999, "something else");

  EXPECT_EQ(*processed(nullptr, network).result.error()->as<CFNetworkErrors>(), CFNetworkErrors::cannotConnectToHost());
  EXPECT_EQ(*responseError(processed(nullptr, cancelled)), HTTPResponseError::taskCancelled());
  EXPECT_EQ(*processed(nullptr, other).result.error(), other);
}

TEST(SendDeathTest, trapsForACodeThatDoesNotFit) {
  const Error network(platform::kCFErrorDomainCFNetwork, std::int64_t{1} << 31, "too large");

  EXPECT_DEATH(processed(nullptr, network), "A CFNetwork error code does not fit in 32 bits");
}

TEST_F(SendTest, saysThatAConnectionWasRefused) {
  const DataResponse response = responseTo(DataGetRequest(testkit::refusedUrl()));

  ASSERT_TRUE(response.result.error());
  ASSERT_TRUE(response.result.error()->as<CFNetworkErrors>());
  EXPECT_EQ(response.result.error()->code(), -1004);
  EXPECT_EQ(response.result.error()->message(),
            "CFURL/NSURL error: The connection failed because a connection cannot be made to the host.");
}

struct OwnRoute : DataGetRequestable<OwnRoute> {
  using DataGetRequestable::send;
  void send(std::optional<DispatchQueue> queue, Completion completion) const {
    report(Error("Test", 4, "own route"), std::move(queue), std::move(completion));
  }
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(SendTest, honoursATypesOwnSend) {
  EXPECT_EQ(OwnRoute().send().result().error()->message(), "own route");
  EXPECT_EQ(testkit::awaitOnMain<DataResponse>([](auto done) { OwnRoute().send(done); }).result.error()->message(),
            "own route");
}

struct Chained : DataGetRequestable<Chained> {
  URL url;
  URL next;
  Expectation<DataResponse> completion;
  HTTPHeaders sharedHeaders() const { return {}; }
  void process(const DataResponse&) const { DataGetRequest(next).send(DispatchQueue::global(), completion); }
};

TEST_F(SendTest, canBeCalledFromAHookOfAnotherRequest) {
  server.enqueue(MockResponse(200));
  server.enqueue(MockResponse(200).text("second"));
  const Chained request{.url = server.url("/1"), .next = server.url("/2"), .completion = {}};

  responseTo(request);

  EXPECT_EQ(request.completion.wait().data->text(), "second");
}

TEST_F(SendTest, logsOnceBeforeItDelivers) {
  const corvane::testkit::LogCapture log;
  Corvane::verbosity = HTTPVerbosityLevel::brief;
  server.enqueue(MockResponse(200));
  const Get request = get();

  const auto messages = await<std::vector<std::string>>(
      [&](auto done) { request.send(queue, [&log, done](const DataResponse&) { done(log.messages()); }); });

  Corvane::verbosity = HTTPVerbosityLevel::none;
  EXPECT_EQ(messages,
            std::vector<std::string>{"REQUEST GET '" + request.url.absoluteString() + "' RESPONSE status: 200"});
}

TEST_F(SendTest, logsNothingAboutARequestThatCouldNotBeBuilt) {
  const corvane::testkit::LogCapture log;
  Corvane::verbosity = HTTPVerbosityLevel::brief;

  responseTo(DataGetRequest("/"));

  Corvane::verbosity = HTTPVerbosityLevel::none;
  EXPECT_TRUE(log->records().empty());
}

TEST_F(SendTest, servesManyThreadsAtOnce) {
  server.handleAll([](const testkit::ReceivedRequest& request) { return MockResponse(200).text(request.target); });
  constexpr int threadCount = 16;
  constexpr int requestsEach = 20;
  Expectation<std::string> bodies;

  std::vector<std::thread> threads;
  for (int i = 0; i < threadCount; ++i)
    threads.emplace_back([&, i] {
      for (int j = 0; j < requestsEach; ++j)
        get("/" + std::to_string(i * requestsEach + j)).send(queue, [=](const DataResponse& response) {
          bodies.fulfil(response.data ? response.data->text() : "failed");
        });
    });
  for (auto& thread : threads) thread.join();

  auto received = bodies.waitForAll(threadCount * requestsEach, std::chrono::seconds(30));
  std::sort(received.begin(), received.end());
  EXPECT_EQ(std::unique(received.begin(), received.end()), received.end());
  EXPECT_EQ(std::count(received.begin(), received.end(), "failed"), 0);
}

}  // namespace
}  // namespace corvane
