#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Corvane/Insight/HTTPMetrics.hpp"
#include "MockNetworkFixture.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

/// What goes on above a `MockNetwork` as it does above a server.
namespace corvane::testkit {
namespace {

using ::testing::ElementsAre;

class MockNetworkExchangeTest : public MockNetworkTest {};

TEST_F(MockNetworkExchangeTest, redirects) {
  network.on("https://a.example/old").respond(NetworkResponse(302).header("Location", "https://b.example/new"));
  network.on("https://b.example/new").respond(NetworkResponse().text("here"));

  const auto response =
      DataGetRequest("https://a.example/old", {.headers = {{"Authorization", "Bearer x"}}}).send().get();

  EXPECT_EQ(response.body.text(), "here");
  EXPECT_EQ(response.url, URL("https://b.example/new"));
  const auto requests = network.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_TRUE(requests[0].header("Authorization"));
  EXPECT_FALSE(requests[1].header("Authorization"));
}

TEST_F(MockNetworkExchangeTest, refusesARedirectThatNoRouteTakes) {
  network.on("https://a.example/old").respond(NetworkResponse(302).header("Location", "https://b.example/new"));

  EXPECT_EQ(errorOf(DataGetRequest("https://a.example/old").send().result()).message(),
            "network forbidden: GET https://b.example/new");
}

TEST_F(MockNetworkExchangeTest, keepsCookies) {
  Corvane::resetSessions();
  network.on("https://a.example/login").respond(NetworkResponse().header("Set-Cookie", "id=42; Path=/"));
  network.on("https://a.example/x").respond(NetworkResponse());

  DataGetRequest("https://a.example/login").send().get();
  DataGetRequest("https://a.example/x").send().get();

  EXPECT_EQ(network.requests().at(1).header("Cookie"), "id=42");
  Corvane::resetSessions();
}

TEST_F(MockNetworkExchangeTest, decodesContent) {
  network.onAll().respond(NetworkResponse().header("Content-Encoding", "gzip").body(Data(gzipped("plain"))));

  EXPECT_EQ(DataGetRequest("https://a.example/").send().get().body.text(), "plain");
}

TEST_F(MockNetworkExchangeTest, givesNoBodyToHead) {
  network.onAll().respond(NetworkResponse().text("12345"));

  const auto response = DataHeadRequest("https://a.example/").send().get();

  EXPECT_EQ(response.headers->value("Content-Length"), "5");
  EXPECT_EQ(network.requests().at(0).method, "HEAD");
}

TEST_F(MockNetworkExchangeTest, downloadsToAFile) {
  const std::string content = generatedBytes(1'000'000);
  network.onAll().respond(NetworkResponse().body(Data(content)));

  const Data received = DownloadGetRequest<Data>("https://a.example/manual.pdf").send().get().body;

  EXPECT_EQ(received.text(), content);
}

TEST_F(MockNetworkExchangeTest, uploadsAFile) {
  const TemporaryDirectory folder;
  const std::string path = (folder / "upload.bin").string();
  const std::string content = generatedBytes(700'000);
  platform::FileManager::write(Data(content), path);
  network.onAll().respond(NetworkResponse(201).text("taken"));
  const Expectation<std::int64_t> sent;
  const DispatchQueue queue("test");
  const Expectation<DataResponse> finished;

  FileUploadRequest(URL("https://a.example/files"), URL::file(path), {.method = HTTPMethod::put})
      .send({.queue = queue, .progress = [sent](const HTTPProgress& progress) { sent(progress.completedBytes()); }},
            finished);

  EXPECT_EQ(finished.wait().data->text(), "taken");
  EXPECT_EQ(network.requests().at(0).body.text(), content);
  ASSERT_GE(sent.count(), 1);
  EXPECT_EQ(sent.waitForAll(1).back(), 700'000);
}

struct SendRows : DataPostRequestable<SendRows, HTTPBodyProducer> {
  URL url = "https://a.example/rows";
  HTTPMediaType contentType = "text/csv";
  HTTPHeaders sharedHeaders() const { return {}; }
  HTTPBodyProducer body() const {
    const auto row = std::make_shared<int>(0);
    return HTTPBodyProducer([row]() -> std::optional<Data> {
      return *row == 100 ? std::nullopt : std::optional(Data("row " + std::to_string(++*row) + "\n"));
    });
  }
};

TEST_F(MockNetworkExchangeTest, takesBodiesThatAreMadeWhileTheyAreSent) {
  network.on<SendRows>().respond(
      [](const SentRequest& request) { return NetworkResponse().text(std::to_string(request.body.count())); });

  EXPECT_EQ(SendRows().send().get().body.text(), "692");
}

struct Feed : DataGetRequestable<Feed>, HTTPStreaming<Feed> {
  URL url = "https://a.example/feed";
  HTTPHeaders sharedHeaders() const { return {}; }
};

TEST_F(MockNetworkExchangeTest, streams) {
  const std::string content = generatedBytes(3'000'000);
  network.on<Feed>().respond(NetworkResponse().body(Data(content)));
  auto stream = Feed().stream();

  std::string received;
  while (const auto piece = stream.next().get()) received += piece->view();

  EXPECT_EQ(received, content);
}

TEST_F(MockNetworkExchangeTest, breaksAStream) {
  network.on<Feed>().respond(NetworkResponse().body(Data("12345678")).breakAfter(5));
  auto stream = Feed().stream();

  EXPECT_EQ(stream.next().get()->text(), "12345");
  EXPECT_TRUE(stream.next().result().error());
}

TEST_F(MockNetworkExchangeTest, writesDebugOutput) {
  const LogCapture log;
  Corvane::verbosity = HTTPVerbosityLevel::brief;
  network.onAll().respond(NetworkResponse(404));

  DataGetRequest("https://a.example/x").send().result();

  Corvane::verbosity = HTTPVerbosityLevel::none;
  EXPECT_THAT(log.messages(), ElementsAre("REQUEST GET 'https://a.example/x' RESPONSE status: 404"));
}

TEST_F(MockNetworkExchangeTest, hasMetrics) {
  network.on("https://a.example/old").respond(NetworkResponse(302).header("Location", "/new"));
  network.on("https://a.example/new").respond(NetworkResponse().text("12345"));

  const auto response = DataGetRequest("https://a.example/old").send().get();

  ASSERT_TRUE(response.metrics);
  ASSERT_EQ(response.metrics->transactions.size(), 2U);
  EXPECT_EQ(response.metrics->transactions[1].bytes.responseBody, 5);
  EXPECT_FALSE(response.metrics->transactions[1].nameLookUp);
}

TEST_F(MockNetworkExchangeTest, respondsToManyRequestsAtATime) {
  network.on<GetMockedUser>().respond(NetworkResponse().json(ada));
  const std::vector<GetMockedUser> requests(20);

  std::vector<Future<HTTPResponse<MockedUser>>> futures;
  for (const GetMockedUser& request : requests) futures.push_back(request.send());

  for (const auto& future : futures) EXPECT_EQ(future.get().body.name, "Ada");
  EXPECT_EQ(network.requests().size(), 20U);
}

}  // namespace
}  // namespace corvane::testkit
