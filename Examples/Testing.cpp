// Tests of code that sends requests: mocks, a server that does as it is told, its certificates, queues, log records,
// time.

#include <Corvane/Corvane.hpp>
#include <CorvaneTesting/CorvaneTesting.hpp>
#include <CorvaneTesting/ServerTest.hpp>
#include <Platform/Foundation/FileManager.hpp>
#include <Vantorel/LogRecord.hpp>

using namespace corvane;
using namespace corvane::testkit;

struct User {
  std::int64_t id;
  std::string name;
};

struct GetUser : JSONGetRequestable<GetUser, User>, HTTPRequestCancelable<GetUser> {
  URL baseURL = "https://users.example.com";
  std::int64_t id = 0;
  std::string path() const { return "/users/" + std::to_string(id); }
  HTTPHeaders sharedHeaders() const { return {{"X-App", "Greeter"}}; }
};

template <class Request = GetUser>
std::string greeting(const Request& request) {
  const auto result = request.send().result();
  return "Hello, " + (result ? result.value()->body.name : "stranger") + "!";
}

template <class Show>
void showGreeting(const GetUser& request, Show show) {
  request.send([show](const JSONResponse<User>& response) {
    const User* user = response.result.body();
    show("Hello, " + (user ? user->name : "stranger") + "!");
  });
}

struct MockedGetUser : JSONGetRequestable<MockedGetUser, User>, HTTPMockable<MockedGetUser> {
  URL url = "https://users.example.com/users/7";
  HTTPHeaders sharedHeaders() const { return {}; }

  HTTPStatus mockStatus = HTTPStatus::success;
  std::optional<Data> mockResponseData() const { return Data(R"({"id": 7, "name": "Ada"})"); }
};

TEST(MockedGreetingTest, namesTheUser) { EXPECT_EQ(greeting(MockedGetUser()), "Hello, Ada!"); }

TEST(MockedGreetingTest, namesNobodyWhoIsUnknown) {
  EXPECT_EQ(greeting(MockedGetUser{.mockStatus = HTTPStatus::notFound}), "Hello, stranger!");
}

struct GetPreview : JSONGetRequestable<GetPreview, User>, HTTPTestMockable<GetPreview> {
  URL url = "https://users.example.com/users/1";
  HTTPHeaders sharedHeaders() const { return {}; }

  std::optional<Data> mockResponseData() const { return Data(R"({"id": 1, "name": "Preview"})"); }
  std::optional<Error> testError;
};

TEST(PreviewTest, showsThePreviewUnlessTheTestSaysOtherwise) {
  const Error offline(platform::NSURLErrorDomain, -1009, "There is no network.");

  EXPECT_EQ(greeting(GetPreview()), "Hello, Preview!");
  EXPECT_EQ(greeting(GetPreview{.testError = offline}), "Hello, stranger!");
}

TEST(MockedGreetingTest, needsNoNetwork) {
  const ForbiddenNetwork forbidden;

  EXPECT_EQ(greeting(MockedGetUser()), "Hello, Ada!");

  const auto result = GetUser{.id = 7}.send().result();
  ASSERT_TRUE(result.error());
  EXPECT_EQ(result.error()->message(), "network forbidden: GET https://users.example.com/users/7");
}

class MockedNetworkTest : public ::testing::Test {
 protected:
  const ForbiddenNetwork forbidden;  // nothing gets out by mistake
  MockNetwork network;
};

TEST_F(MockedNetworkTest, namesTheUser) {
  network.on<GetUser>().respond(NetworkResponse().json(User{.id = 7, .name = "Ada"}));

  EXPECT_EQ(greeting(GetUser{.id = 7}), "Hello, Ada!");

  const SentRequest request = network.requests().at(0);
  EXPECT_EQ(request.description(), "GET https://users.example.com/users/7");
  EXPECT_EQ(request.header("X-App"), "Greeter");
}

TEST_F(MockedNetworkTest, namesNobodyWhoIsUnknown) {
  network.on("https://users.example.com/users/*").respond(NetworkResponse(404));
  network.on("https://users.example.com/users/7").respond(NetworkResponse().json(User{.id = 7, .name = "Ada"}));

  EXPECT_EQ(greeting(GetUser{.id = 7}), "Hello, Ada!");
  EXPECT_EQ(greeting(GetUser{.id = 8}), "Hello, stranger!");
}

TEST_F(MockedNetworkTest, namesNobodyWithoutAConnection) {
  network.onAll().respond(NetworkResponse::cannotConnect(), NetworkResponse::connectionLost(),
                          NetworkResponse().text("not JSON"));

  EXPECT_EQ(greeting(GetUser()), "Hello, stranger!");
  EXPECT_EQ(greeting(GetUser()), "Hello, stranger!");
  EXPECT_EQ(greeting(GetUser()), "Hello, stranger!");
}

TEST_F(MockedNetworkTest, asksForEachUser) {
  network.on("GET /users/*").respond([](const SentRequest& request) {
    return NetworkResponse().json(User{.id = 1, .name = "user at " + request.url.path()});
  });

  EXPECT_EQ(greeting(GetUser{.id = 1}), "Hello, user at /users/1!");
  EXPECT_EQ(greeting(GetUser{.id = 2}), "Hello, user at /users/2!");
}

struct GetReport : DataGetRequestable<GetReport> {
  URL baseURL;
  HTTPHeaders sharedHeaders() const { return {{"Authorization", "Bearer of the test account"}}; }
  std::string path() const { return "/report"; }
};

/// Run it against the service once, and keep the file with the tests.
void recordReport(const URL& service, const std::string& file) {
  MockNetwork network;
  network.record();
  GetReport{.baseURL = service}.send().get();
  network.recording().save(file);
}

/// Needs no service any more.
std::string replayedReport(const URL& service, const std::string& file) {
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(ExchangeRecording::load(file));
  return GetReport{.baseURL = service}.send().get().body.text();
}

class GreetingTest : public ServerTest {
 protected:
  const std::string ada = R"({"id": 7, "name": "Ada"})";
  const GetUser request{.baseURL = server.url(), .id = 7};
};

TEST_F(GreetingTest, namesTheUser) {
  server.enqueue(MockResponse(200).json(ada));

  EXPECT_EQ(greeting(request), "Hello, Ada!");

  const ReceivedRequest received = server.takeRequest();
  EXPECT_EQ(received.target, "/users/7");
  EXPECT_EQ(received.header("X-App"), "Greeter");
}

TEST_F(GreetingTest, readsAReplayedReport) {
  server.enqueue(MockResponse().text("all is well"));
  const std::string folder = platform::FileManager::createTemporaryDirectory();
  const std::string file = folder + "/report.json";

  recordReport(server.url(), file);

  EXPECT_EQ(replayedReport(server.url(), file), "all is well");
  platform::FileManager::remove(folder);
}

TEST_F(GreetingTest, namesNobodyWhenTheServerFails) {
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200).json("{"));
  server.enqueue(MockResponse(200).json(ada).dropConnection(Moment::insideBody));

  EXPECT_EQ(greeting(request), "Hello, stranger!");
  EXPECT_EQ(greeting(request), "Hello, stranger!");
  EXPECT_EQ(greeting(request), "Hello, stranger!");
  EXPECT_EQ(greeting({.baseURL = refusedUrl()}), "Hello, stranger!");
}

TEST_F(GreetingTest, asksForEachUser) {
  server.handle("/users/*", [](const ReceivedRequest& received) {
    return MockResponse(200).json(R"({"id": 1, "name": "User at )" + received.path() + "\"}");
  });

  EXPECT_EQ(greeting({.baseURL = server.url(), .id = 1}), "Hello, User at /users/1!");
  EXPECT_EQ(greeting({.baseURL = server.url(), .id = 2}), "Hello, User at /users/2!");
}

TEST_F(GreetingTest, canBeCancelledWhileTheServerThinks) {
  const Latch latch;
  server.enqueue(MockResponse(200).json(ada).hold(Moment::beforeStatusLine, latch));
  const auto future = request.send();
  ASSERT_TRUE(server.waitForRequests(1));

  request.cancel();

  const auto result = future.result();
  ASSERT_TRUE(result.error());
  EXPECT_EQ(*result.error()->as<HTTPResponseError>(), HTTPResponseError::taskCancelled());
}

TEST_F(GreetingTest, isShownOnTheMainQueue) {
  server.enqueue(MockResponse(200).json(ada));
  const Expectation<std::string> shown;

  showGreeting(request, shown);

  EXPECT_EQ(waitOnMain(shown), "Hello, Ada!");
}

TEST(SecureGreetingTest, trustsTheAuthorityOfTheTest) {
  const CertificateAuthority authority;
  const TrustedAuthority trusted(authority);
  TestServer server(Tls(authority.issue(CertificateRequest::localhost())));
  server.enqueue(MockResponse(200).json(R"({"id": 7, "name": "Ada"})"));

  EXPECT_EQ(greeting({.baseURL = server.url("/", "localhost"), .id = 7}), "Hello, Ada!");
}

TEST(SecureGreetingTest, namesNobodyOnAnExpiredCertificate) {
  const CertificateAuthority authority;
  const TrustedAuthority trusted(authority);
  CertificateRequest expired = CertificateRequest::localhost();
  expired.validity = Validity::expired();
  TestServer server(Tls(authority.issue(expired)));

  EXPECT_EQ(greeting({.baseURL = server.url("/", "localhost")}), "Hello, stranger!");

  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();  // the handshake's, which is what the test is about
}

TEST_F(GreetingTest, leavesARecordOfTheExchange) {
  const LogCapture log;
  Corvane::verbosity = HTTPVerbosityLevel::brief;
  server.enqueue(MockResponse(404));

  greeting(request);

  Corvane::verbosity = HTTPVerbosityLevel::none;
  EXPECT_EQ(log.messages().at(0), "REQUEST GET '" + server.url("/users/7") + "' RESPONSE status: 404");
}

struct GetUserPatiently : JSONGetRequestable<GetUserPatiently, User>, HTTPRetryAttempting<GetUserPatiently> {
  URL baseURL;
  HTTPHeaders sharedHeaders() const { return {}; }

  static constexpr double retryInterval = 30;
  static constexpr std::int64_t retryLimit = 3;
};

TEST_F(GreetingTest, isTriedAgainAfterHalfAMinute) {
  ManualTime time;
  server.enqueue(MockResponse(503));
  server.enqueue(MockResponse(200).json(ada));

  const auto future = GetUserPatiently{.baseURL = server.url()}.sendAttemptingRetry();
  ASSERT_TRUE(time.waitForTimers(1));
  time.advanceToNextTimer();

  EXPECT_EQ(future.get().failCount(), 1);
  EXPECT_EQ(time.waits(), std::vector<platform::Seconds>{30});
}

TEST_F(MockedNetworkTest, isTriedAgainAfterHalfAMinute) {
  ManualTime time;
  const MockRoute route = network.on<GetUserPatiently>().respond(NetworkResponse(503).delay(2),
                                                                 NetworkResponse().json(User{.id = 7, .name = "Ada"}));

  const auto future = GetUserPatiently{.baseURL = "https://users.example.com"}.sendAttemptingRetry();
  for (int wait = 0; wait < 2; ++wait) {
    ASSERT_TRUE(time.waitForTimers(1));
    time.advanceToNextTimer();
  }

  EXPECT_EQ(future.get().failCount(), 1);
  EXPECT_EQ(route.count(), 2);
  EXPECT_EQ(time.waits(), (std::vector<platform::Seconds>{2, 30}));
}
