#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/CorvaneTesting.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"
#include "Platform/Loading/HTTPErrorResponse.hpp"
#include "Platform/Loading/URLResponse.hpp"

/// Redirects as a client configuration wants them.
namespace corvane {
namespace {

using platform::HTTPURLResponse;
using platform::RedirectFollowing;
using platform::URLRedirect;
using platform::URLRequest;
using testkit::Expectation;
using testkit::MockResponse;
using testkit::ReceivedRequest;

struct Moving : DataGetRequestable<Moving>, HTTPStreaming<Moving> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "redirects";
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct MovingDownload : DownloadRequestable<MovingDownload, Data> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "redirects";
  HTTPHeaders sharedHeaders() const { return {}; }
};

class RedirectConfigurationTest : public testkit::ServerTest {
 protected:
  RedirectConfigurationTest() {
    server.handle("/old",
                  [](const ReceivedRequest&) { return MockResponse(302).header("Location", "/new").text("it moved"); });
    server.handle("/new", [](const ReceivedRequest&) { return MockResponse().text("here"); });
  }
  ~RedirectConfigurationTest() override { HTTPClientConfiguration::removeAll(); }

  static void use(platform::RedirectConfiguration redirects) {
    HTTPClientConfiguration configuration;
    configuration.redirects = std::move(redirects);
    HTTPClientConfiguration::set("redirects", configuration);
  }
  DataResponse sent(const std::string& target) {
    const Expectation<DataResponse> finished;
    Moving{.url = server.url(target)}.send({.queue = queue_}, finished);
    return finished.wait();
  }
  static std::string bodyOf(const DataResponse& response) {
    return response.result.body() ? response.result.body()->text() : "";
  }
  /// Of an error that stands for the redirect itself.
  static void expectRedirect(const Error* error) {
    ASSERT_TRUE(error);
    EXPECT_EQ(*error->as<HTTPResponseError>(), HTTPResponseError::unacceptableStatus(HTTPStatus::found));
    ASSERT_TRUE(error->response());
    EXPECT_EQ(error->response()->statusCode(), 302);
    EXPECT_EQ(error->response()->headers().value("Location"), "/new");
    EXPECT_EQ(error->response()->body()->text(), "it moved");
  }

  const DispatchQueue queue_{"test"};
};

TEST_F(RedirectConfigurationTest, followsByDefaultAndKeepsTheHistory) {
  use({});
  server.handle("/older", [](const ReceivedRequest&) { return MockResponse(301).header("Location", "/old"); });

  const DataResponse response = sent("/older");

  EXPECT_EQ(bodyOf(response), "here");
  const auto last = std::dynamic_pointer_cast<const HTTPURLResponse>(response.urlResponse);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->redirects(), (std::vector<URLRedirect>{{server.url("/older"), 301}, {server.url("/old"), 302}}));
}

TEST_F(RedirectConfigurationTest, hasNoHistoryWithoutARedirect) {
  const auto last = std::dynamic_pointer_cast<const HTTPURLResponse>(sent("/new").urlResponse);

  ASSERT_TRUE(last);
  EXPECT_TRUE(last->redirects().empty());
}

TEST_F(RedirectConfigurationTest, leavesTheResponseWhereItIsOff) {
  use({.following = RedirectFollowing::never});

  const DataResponse response = sent("/old");

  expectRedirect(response.result.error());
  EXPECT_EQ(response.headers->value("Location"), "/new");
  EXPECT_EQ(server.requestCount(), 1);
}

TEST_F(RedirectConfigurationTest, countsRedirects) {
  use({.limit = 1});
  server.handle("/older", [](const ReceivedRequest&) { return MockResponse(301).header("Location", "/old"); });

  EXPECT_EQ(bodyOf(sent("/old")), "here");
  const DataResponse tooMany = sent("/older");
  ASSERT_TRUE(tooMany.result.error());
  EXPECT_EQ(*tooMany.result.error()->as<CFNetworkErrors>(), CFNetworkErrors(-1007));
}

TEST_F(RedirectConfigurationTest, staysWithinTheOrigin) {
  use({.following = RedirectFollowing::sameOrigin});
  testkit::TestServer other;
  server.handle("/away", [&](const ReceivedRequest&) { return MockResponse(307).header("Location", other.url("/x")); });

  EXPECT_EQ(bodyOf(sent("/old")), "here");
  const DataResponse away = sent("/away");

  ASSERT_TRUE(away.result.error());
  EXPECT_EQ(away.headers->value("Location"), other.url("/x"));
  EXPECT_EQ(other.requestCount(), 0);
}

TEST_F(RedirectConfigurationTest, letsStandWhatLeavesTheOriginWhateverItIs) {
  use({.following = RedirectFollowing::sameOrigin, .limit = 0});
  int place = 0;
  for (const std::string location : {"com.example.app:/cb?code=1", "ftp://a.example/x", "http://a.example/x"}) {
    const std::string target = "/away/" + std::to_string(++place);
    server.handle(target, [=](const ReceivedRequest&) { return MockResponse(302).header("Location", location); });

    const DataResponse response = sent(target);

    ASSERT_TRUE(response.result.error()) << location;
    const auto* const error = response.result.error()->as<HTTPResponseError>();
    ASSERT_TRUE(error) << location << ": " << response.result.error()->message();
    EXPECT_EQ(*error, HTTPResponseError::unacceptableStatus(HTTPStatus::found));
    EXPECT_EQ(response.headers->value("Location"), location);
  }
  EXPECT_EQ(*sent("/old").result.error()->as<CFNetworkErrors>(), CFNetworkErrors(-1007));
}

TEST_F(RedirectConfigurationTest, asksADeciderThatFollows) {
  const Expectation<std::string> asked;
  use({.decide = [asked](const HTTPURLResponse& response, URLRequest proposed) {
    asked(std::to_string(response.statusCode()) + " " + proposed.url.path());
    proposed.allHTTPHeaderFields.set("X-Decided", "1");
    return std::optional(std::move(proposed));
  }});

  EXPECT_EQ(bodyOf(sent("/old")), "here");

  EXPECT_EQ(asked.waitForAll(1), std::vector<std::string>{"302 /new"});
  EXPECT_EQ(server.requests().back().header("X-Decided"), "1");
}

TEST_F(RedirectConfigurationTest, letsTheResponseStandWhereTheDeciderSaysSo) {
  use({.decide = [](const HTTPURLResponse&, URLRequest) -> std::optional<URLRequest> { return std::nullopt; }});

  expectRedirect(sent("/old").result.error());
  expectRedirect(MovingDownload{.url = server.url("/old")}.send().result().error());
  expectRedirect(Moving{.url = server.url("/old")}.stream().head().result().error());
  EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(RedirectConfigurationTest, downloadsAndStreamsWhatTheDeciderFollows) {
  use({.decide = [](const HTTPURLResponse&, URLRequest proposed) { return std::optional(std::move(proposed)); }});

  EXPECT_EQ(MovingDownload{.url = server.url("/old")}.send().get().body.text(), "here");
  EXPECT_EQ(Moving{.url = server.url("/old")}.stream().next().get()->text(), "here");
}

TEST_F(RedirectConfigurationTest, failsWithWhatTheDeciderThrowsOrCannotSend) {
  use({.decide = [](const HTTPURLResponse&, URLRequest) -> std::optional<URLRequest> {
    throw std::runtime_error("undecided");
  }});
  EXPECT_EQ(sent("/old").result.error()->message(), "undecided");

  use({.decide = [](const HTTPURLResponse&, URLRequest) { return std::optional(URLRequest("ftp://a.example/")); }});
  ASSERT_TRUE(sent("/old").result.error());
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(RedirectConfigurationTest, isCancelledWhileTheDeciderThinks) {
  const Expectation<void> asked;
  const Expectation<void> over;
  const platform::DispatchSemaphore decided(0);
  std::stop_source stop;
  HTTPClientConfiguration configuration;
  configuration.maximumConnectionsPerHost = 1;
  configuration.redirects.decide = [=](const HTTPURLResponse&, URLRequest proposed) {
    asked();
    decided.wait();
    // Goes with the decision, when the task has seen it.
    const std::shared_ptr<void> token(nullptr, [over](void*) { over(); });
    proposed.exchangeSources = std::shared_ptr<const platform::detail::ExchangeSources>(token, nullptr);
    return std::optional(std::move(proposed));
  };
  HTTPClientConfiguration::set("redirects", configuration);
  const auto future = Moving{.url = server.url("/old")}.send({.stop = stop.get_token()});
  asked.wait();

  stop.request_stop();
  const auto result = future.result();
  decided.signal();
  over.wait();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(*result.error()->as<HTTPResponseError>(), HTTPResponseError::taskCancelled());
  // It would come after the redirect, on the same connection.
  EXPECT_EQ(bodyOf(sent("/new")), "here");
  EXPECT_EQ(server.requestCount(), 2);
}

TEST_F(RedirectConfigurationTest, refusesANegativeLimit) {
  HTTPClientConfiguration configuration;
  configuration.redirects.limit = -1;

  EXPECT_EQ(configuration.problem(), "The limit of redirects is negative.");
}

}  // namespace
}  // namespace corvane
