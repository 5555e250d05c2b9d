#include <string>

#include "CorvaneTesting/ServerTest.hpp"
#include "MockNetworkFixture.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

/// Exchanges that are recorded, and replayed without a server.
namespace corvane::testkit {
namespace {

class MockNetworkReplayTest : public ServerTest {
 protected:
  ~MockNetworkReplayTest() override { Corvane::resetSessions(); }

  /// What the requests that `send` sends to the server lead to, over a file.
  template <class Send>
  ExchangeRecording recorded(Send send, HTTPRedaction redaction = HTTPRedaction::secrets()) {
    MockNetwork network;
    network.record(std::move(redaction));
    send();
    network.recording().save(path_);
    return ExchangeRecording::load(path_);
  }
  std::string bodyOf(const std::string& target) const {
    return DataGetRequest(server.url(target)).send().get().body.text();
  }

  const TemporaryDirectory folder_;
  const std::string path_ = (folder_ / "recording.json").string();
};

TEST_F(MockNetworkReplayTest, respondsAsTheServerDid) {
  server.handleAll(
      [](const ReceivedRequest& request) { return MockResponse(200).header("X-A", "1").text(request.target); });
  const auto recording = recorded([&] {
    bodyOf("/one");
    bodyOf("/two?x=1");
  });
  const int requests = server.requestCount();
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(recording);

  EXPECT_EQ(bodyOf("/two?x=1"), "/two?x=1");
  EXPECT_EQ(bodyOf("/one"), "/one");
  EXPECT_EQ(DataGetRequest(server.url("/three")).send().result().error()->message(),
            "network forbidden: GET " + server.url("/three"));
  EXPECT_EQ(server.requestCount(), requests);
}

TEST_F(MockNetworkReplayTest, keepsTheOrderOfEqualRequests) {
  for (const char* text : {"first", "second", "third"}) server.enqueue(MockResponse().text(text));
  const auto recording = recorded([&] { bodyOf("/"), bodyOf("/"), bodyOf("/"); });
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(recording);

  EXPECT_EQ(bodyOf("/"), "first");
  EXPECT_EQ(bodyOf("/"), "second");
  EXPECT_EQ(bodyOf("/"), "third");
  EXPECT_TRUE(DataGetRequest(server.url("/")).send().result().error());
}

TEST_F(MockNetworkReplayTest, comparesBodiesWhereItIsAskedTo) {
  server.handleAll([](const ReceivedRequest& request) { return MockResponse().text("got " + request.body); });
  const auto post = [&](const char* body) {
    return DataPostRequest(server.url("/"), Data(body)).send().get().body.text();
  };
  const auto recording = recorded([&] { post("a"), post("b"); });
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(recording, {.comparesBodies = true});

  EXPECT_EQ(post("b"), "got b");
  EXPECT_EQ(post("a"), "got a");
  EXPECT_TRUE(DataPostRequest(server.url("/"), Data("c")).send().result().error());
}

TEST_F(MockNetworkReplayTest, keepsSecretsOutOfTheFile) {
  server.handleAll(
      [](const ReceivedRequest&) { return MockResponse().header("Set-Cookie", "id=hidden-1").text("ok"); });
  const URL url(server.url("/x?token=hidden-2&page=1"));
  const HTTPRequestOptions options{
      .headers = {{"Authorization", "Bearer hidden-3"}, {"Cookie", "c=hidden-4"}, {"X-Mine", "hidden-5"}}};
  HTTPRedaction redaction = HTTPRedaction::secrets();
  redaction.headerFields.push_back("x-mine");

  const auto recording = recorded([&] { DataGetRequest(url, options).send().get(); }, redaction);

  const std::string text = platform::FileManager::contents(path_).text();
  EXPECT_EQ(text.find("hidden"), std::string::npos) << text;
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(recording);
  const auto response = DataGetRequest(url, options).send().get();
  EXPECT_EQ(response.body.text(), "ok");
  EXPECT_FALSE(response.headers->contains("Set-Cookie"));
}

TEST_F(MockNetworkReplayTest, keepsContentDecoded) {
  server.enqueue(MockResponse().contentType("text/plain").gzipBody("plain text"));
  const auto recording = recorded([&] { EXPECT_EQ(bodyOf("/"), "plain text"); });

  ASSERT_EQ(recording.exchanges.size(), 1U);
  EXPECT_EQ(recording.exchanges[0].responseBody.text(), "plain text");
  EXPECT_FALSE(recording.exchanges[0].responseHeaders.contains("Content-Encoding"));
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(recording);
  EXPECT_EQ(bodyOf("/"), "plain text");
}

TEST_F(MockNetworkReplayTest, followsRedirectsAgain) {
  server.handle("/old", [](const ReceivedRequest&) { return MockResponse(302).header("Location", "/new?token=t"); });
  server.handle("/new", [](const ReceivedRequest&) { return MockResponse().text("here"); });
  const auto recording = recorded([&] { EXPECT_EQ(bodyOf("/old"), "here"); });
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(recording);

  EXPECT_EQ(recording.exchanges.size(), 2U);
  EXPECT_EQ(bodyOf("/old"), "here");
}

TEST_F(MockNetworkReplayTest, failsAgain) {
  server.enqueue(MockResponse().text("half of it").dropConnection(Moment::insideBody));
  const DataGetRequest request(server.url("/"));
  const auto recording = recorded([&] { EXPECT_TRUE(request.send().result().error()); });
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(recording);

  const auto result = request.send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(*result.error()->as<CFNetworkErrors>(), CFNetworkErrors(-1005));
}

TEST_F(MockNetworkReplayTest, failsAgainBeforeAnythingWasSent) {
  const DataGetRequest request(URL("http://127.0.0.1:" + std::to_string(unusedPort()) + "/?token=hidden"));
  const auto recording = recorded([&] { EXPECT_TRUE(request.send().result().error()); });
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay(recording);

  const auto result = request.send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(*result.error()->as<CFNetworkErrors>(), CFNetworkErrors(-1004));
  const auto userInfo = result.error()->userInfo();
  ASSERT_TRUE(userInfo.contains(platform::URLErrorKey::requestWasSent));
  EXPECT_EQ(userInfo.find(platform::URLErrorKey::requestWasSent)->boolean(), false);
  ASSERT_TRUE(userInfo.contains(platform::URLErrorKey::failingURL));
  EXPECT_EQ(*userInfo.find(platform::URLErrorKey::failingURL), platform::AnyValue(request.url().absoluteString()));
  EXPECT_EQ(platform::FileManager::contents(path_).text().find("hidden"), std::string::npos);
}

TEST_F(MockNetworkReplayTest, takesARecordingThatWasMadeByHand) {
  const ForbiddenNetwork forbidden;
  MockNetwork network;
  network.replay({.exchanges = {{.method = "GET",
                                 .url = "https://a.example/x?key=1&page=2",
                                 .status = 200,
                                 .responseBody = Data("by hand")}}});

  EXPECT_EQ(DataGetRequest(URL("https://a.example/x?key=1&page=2")).send().get().body.text(), "by hand");
}

TEST_F(MockNetworkReplayTest, recordsUploadsOfFiles) {
  server.enqueue(MockResponse(201));
  const std::string file = (folder_ / "file").string();
  platform::FileManager::write(Data("the content"), file);

  const auto recording = recorded(
      [&] { FileUploadRequest(URL(server.url("/file")), URL::file(file), {.method = HTTPMethod::put}).send().get(); });

  ASSERT_EQ(recording.exchanges.size(), 1U);
  EXPECT_EQ(recording.exchanges[0].requestBody.text(), "the content");
  EXPECT_EQ(server.takeRequest().body, "the content");
}

TEST_F(MockNetworkReplayTest, doesNotRecordWhatARouteTakes) {
  MockNetwork network;
  network.record();
  network.onAll().respond(NetworkResponse().text("mocked"));

  EXPECT_EQ(bodyOf("/"), "mocked");

  EXPECT_TRUE(network.recording().exchanges.empty());
}

}  // namespace
}  // namespace corvane::testkit
