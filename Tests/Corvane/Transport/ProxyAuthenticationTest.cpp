#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Metrics/TaskMetrics.hpp"
#include "TestSupport/DigestVerifier.hpp"
#include "TestSupport/ScriptedProxy.hpp"

/// Requests through an HTTP proxy that asks for its user by Digest.
namespace corvane {
namespace {

using platform::ProxyAuthentication;
using platform::ProxyKind;
using platform::SecCertificate;
using platform::TransactionMetrics;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testkit::CertificateAuthority;
using testkit::CertificateRequest;
using testkit::DigestVerifier;
using testkit::MockResponse;
using testkit::Moment;
using testkit::ReceivedRequest;
using testkit::ScriptedProxy;
using testkit::TestServer;
using testkit::Tls;
namespace URLErrorCode = platform::URLErrorCode;

struct Get : DataGetRequestable<Get> {
  URL url;
  HTTPHeaders headers;
  double timeoutInterval = 60;
  std::optional<std::string> sessionConfigurationIdentifier = "guarded";
  HTTPHeaders sharedHeaders() const { return headers; }
};
struct Post : DataPostRequestable<Post, Data> {
  Data body;
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "guarded";
  HTTPHeaders sharedHeaders() const { return {}; }
};
template <class Body>
struct Put : UploadRequestable<Put<Body>, DataResponse, Body> {
  Body body;
  URL url;
  HTTPMethod method = HTTPMethod::put;
  std::optional<std::string> sessionConfigurationIdentifier = "guarded";
  HTTPHeaders sharedHeaders() const { return {}; }
};

HTTPBodyProducer readOnce(std::string text) {
  const auto isRead = std::make_shared<bool>(false);
  return HTTPBodyProducer([isRead, text]() -> std::optional<Data> {
    if (std::exchange(*isRead, true)) return std::nullopt;
    return Data(text);
  });
}

class ProxyAuthenticationTest : public ::testing::Test {
 protected:
  ~ProxyAuthenticationTest() override {
    HTTPClientConfiguration::removeAll();
    Corvane::resetSessions();
  }

  void use(std::uint16_t port, const std::string& password = "secret") {
    configuration_.connections.proxy = {.kind = ProxyKind::http,
                                        .host = "127.0.0.1",
                                        .port = port,
                                        .user = "ada",
                                        .password = password,
                                        .authentication = ProxyAuthentication::digest};
    HTTPClientConfiguration::set("guarded", configuration_);
  }
  static std::string get(const std::string& url) { return Get{.url = url}.send().get().body.text(); }

  HTTPClientConfiguration configuration_;
};

/// Requests to http URLs: the test server is the proxy.
class ForwardedRequestTest : public ProxyAuthenticationTest {
 protected:
  ForwardedRequestTest() {
    forward([](const ReceivedRequest& request) { return MockResponse(200).text(request.target); });
    use(proxy_.port());
  }

  template <class Forward>
  void forward(Forward respond) {
    proxy_.handleAll([this, respond](const ReceivedRequest& request) {
      const std::string value = request.header("Proxy-Authorization").value_or("");
      if (verifier_->accepts(request.method, request.target, value, request.body)) return respond(request);
      return challenge();
    });
  }
  MockResponse challenge() const {
    return MockResponse(407)
        .header("Proxy-Authenticate", "Basic realm=\"test\"")
        .header("Proxy-Authenticate", verifier_->challenge())
        .header("Set-Cookie", "of=proxy")
        .text("asked");
  }

  std::shared_ptr<DigestVerifier> verifier_ = std::make_shared<DigestVerifier>("ada", "secret");
  TestServer proxy_;
};

TEST_F(ForwardedRequestTest, saysWhoItsUserIsOnceItIsAsked) {
  EXPECT_EQ(get("http://service.test/one?a=b"), "http://service.test/one?a=b");
  EXPECT_EQ(get("http://service.test/two"), "http://service.test/two");
  EXPECT_EQ(get("http://other.test/three"), "http://other.test/three");

  const auto requests = proxy_.requests();
  ASSERT_EQ(requests.size(), 4U);
  EXPECT_FALSE(requests[0].hasHeader("Proxy-Authorization"));
  EXPECT_FALSE(requests[1].hasHeader("Cookie"));
  EXPECT_THAT(*requests[1].header("Proxy-Authorization"), HasSubstr("uri=\"http://service.test/one?a=b\""));
  EXPECT_THAT(*requests[3].header("Proxy-Authorization"), HasSubstr("nc=00000003"));
  EXPECT_EQ(proxy_.connectionCount(), 1);
}

TEST_F(ForwardedRequestTest, sendsABodyOnceMore) {
  forward([](const ReceivedRequest& request) { return MockResponse(200).text(request.body); });

  EXPECT_EQ((Post{.body = Data("first"), .url = "http://service.test/"}.send().get().body.text()), "first");
  EXPECT_EQ(proxy_.requestCount(), 2);
}

TEST_F(ForwardedRequestTest, keepsABodyThatCanBeReadOnceUntilTheChallengeIsKnown) {
  proxy_.enqueue(challenge().beforeRequestBody());
  forward([](const ReceivedRequest& request) { return MockResponse(200).text(request.body); });

  const Put<HTTPBodyProducer> first{.body = readOnce("once"), .url = "http://service.test/"};
  EXPECT_EQ(first.send().get().body.text(), "once");
  EXPECT_EQ(proxy_.takeRequest().header("Expect"), "100-continue");
  EXPECT_FALSE(proxy_.takeRequest().hasHeader("Expect"));

  const Put<HTTPBodyProducer> second{.body = readOnce("again"), .url = "http://service.test/"};
  EXPECT_EQ(second.send().get().body.text(), "again");
  EXPECT_EQ(proxy_.requestCount(), 3);
}

TEST_F(ForwardedRequestTest, deliversTheResponseWhereABodyIsGone) {
  EXPECT_EQ(get("http://service.test/"), "http://service.test/");
  verifier_->useNonce("second");

  const Put<HTTPBodyProducer> request{.body = readOnce("once"), .url = "http://service.test/"};
  const auto result = request.send().result();

  ASSERT_TRUE(result.error());
  ASSERT_TRUE(result.error()->response());
  EXPECT_EQ(result.error()->response()->statusCode(), 407);
}

TEST_F(ForwardedRequestTest, learnsOfANonceAlsoWhereABodyIsGone) {
  EXPECT_EQ(get("http://service.test/"), "http://service.test/");
  verifier_->useNonce("second");

  const Put<HTTPBodyProducer> lost{.body = readOnce("lost"), .url = "http://service.test/"};
  EXPECT_TRUE(lost.send().result().error());
  const Put<HTTPBodyProducer> next{.body = readOnce("next"), .url = "http://service.test/next"};
  EXPECT_EQ(next.send().get().body.text(), "http://service.test/next");
  EXPECT_EQ(proxy_.requestCount(), 4);
}

TEST_F(ForwardedRequestTest, sendsABodyWithoutTheExpectationThatIsRefused) {
  proxy_.enqueue(MockResponse(417).beforeRequestBody());
  proxy_.handleAll([](const ReceivedRequest& request) { return MockResponse(200).text(request.body); });

  const Put<HTTPBodyProducer> request{.body = readOnce("once"), .url = "http://service.test/"};
  const auto response = request.send().get();

  EXPECT_EQ(response.body.text(), "once");
  ASSERT_TRUE(response.metrics);
  EXPECT_EQ(response.metrics->transactions.back().cause, TransactionMetrics::Cause::expectationRefused);
  EXPECT_TRUE(proxy_.takeRequest().hasHeader("Expect"));
  EXPECT_FALSE(proxy_.takeRequest().hasHeader("Expect"));
}

TEST_F(ForwardedRequestTest, expectsNothingForABodyWithoutBytes) {
  forward([](const ReceivedRequest& request) { return MockResponse(200).text(request.body); });

  const Put<HTTPBodyProducer> request{
      .body = HTTPBodyProducer([]() -> std::optional<Data> { return std::nullopt; }, {.length = 0}),
      .url = "http://service.test/"};
  request.send().get();

  EXPECT_FALSE(proxy_.takeRequest().hasHeader("Expect"));
}

TEST_F(ForwardedRequestTest, takesTheTimeOfTheRequestForARefusalThatStops) {
  proxy_.handleAll([this](const ReceivedRequest&) { return challenge().stall(Moment::insideBody, 2); });

  const auto result = Get{.url = "http://service.test/", .timeoutInterval = 0.3}.send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(result.error()->code(), URLErrorCode::timedOut);
  EXPECT_EQ(proxy_.requestCount(), 1);
}

TEST_F(ForwardedRequestTest, coversABodyInMemoryWhereTheProxyInsists) {
  verifier_ = std::make_shared<DigestVerifier>("ada", "secret", "auth-int");
  forward([](const ReceivedRequest& request) { return MockResponse(200).text(request.body); });

  EXPECT_EQ((Post{.body = Data("covered"), .url = "http://service.test/"}.send().get().body.text()), "covered");
  EXPECT_EQ(get("http://service.test/"), "");

  const Put<HTTPBodyProducer> elsewhere{.body = HTTPBodyProducer::ofData(Data("x")), .url = "http://service.test/"};
  const auto result = elsewhere.send().result();
  ASSERT_TRUE(result.error());
  ASSERT_TRUE(result.error()->response());
  EXPECT_EQ(result.error()->response()->statusCode(), 407);
  EXPECT_EQ(proxy_.requestCount(), 4);
}

TEST_F(ForwardedRequestTest, takesAnotherNonceForAStaleOne) {
  get("http://service.test/");
  verifier_->useNonce("second");

  EXPECT_EQ(get("http://service.test/two"), "http://service.test/two");
  EXPECT_THAT(*proxy_.requests().back().header("Proxy-Authorization"), HasSubstr("nonce=\"second\", nc=00000001"));
  EXPECT_EQ(proxy_.requestCount(), 4);
}

TEST_F(ForwardedRequestTest, takesTheNextNonceOfTheProxy) {
  forward([this](const ReceivedRequest&) {
    verifier_->useNonce("second");
    return MockResponse(200).header("Proxy-Authentication-Info", "nextnonce=\"second\"");
  });

  get("http://service.test/");
  get("http://service.test/");

  EXPECT_EQ(proxy_.requestCount(), 3);
}

TEST_F(ForwardedRequestTest, deliversTheResponseWhereThePasswordIsWrong) {
  use(proxy_.port(), "wrong");

  const auto result = Get{.url = "http://service.test/"}.send().result();

  ASSERT_TRUE(result.error());
  ASSERT_TRUE(result.error()->response());
  EXPECT_EQ(result.error()->response()->statusCode(), 407);
  EXPECT_EQ(result.error()->response()->body().value_or(Data()).text(), "asked");
  EXPECT_EQ(proxy_.requestCount(), 2);

  EXPECT_TRUE(Get{.url = "http://service.test/"}.send().result().error());
  EXPECT_EQ(proxy_.requestCount(), 3);
}

TEST_F(ForwardedRequestTest, triesAPasswordOnceMoreThatWasTakenBefore) {
  EXPECT_EQ(get("http://service.test/one"), "http://service.test/one");
  // The proxy begins anew, and does not know its old nonce.
  proxy_.enqueue(MockResponse(407).header("Proxy-Authenticate", verifier_->challenge()));

  EXPECT_EQ(get("http://service.test/two"), "http://service.test/two");
  EXPECT_EQ(proxy_.requestCount(), 4);
}

TEST_F(ForwardedRequestTest, isNotAskedWithoutEnd) {
  proxy_.handleAll([count = std::make_shared<int>(0)](const ReceivedRequest&) {
    return MockResponse(407).header("Proxy-Authenticate",
                                    "Digest realm=\"r\", stale=true, nonce=\"" + std::to_string(++*count) + "\"");
  });

  EXPECT_TRUE(Get{.url = "http://service.test/"}.send().result().error());
  EXPECT_EQ(proxy_.requestCount(), 4);
}

TEST_F(ForwardedRequestTest, tellsOthersNothing) {
  TestServer origin;
  origin.handleAll([](const auto&) { return MockResponse(200).text("direct"); });
  const std::string direct = "http://127.0.0.1:" + std::to_string(origin.port()) + "/";
  forward([&](const ReceivedRequest&) { return MockResponse(302).header("Location", direct); });

  const Get request{.url = "http://service.test/", .headers = {{"Proxy-Authorization", "Basic own"}}};
  EXPECT_EQ(request.send().get().body.text(), "direct");

  EXPECT_FALSE(origin.takeRequest().hasHeader("Proxy-Authorization"));
  EXPECT_FALSE(proxy_.requests().front().hasHeader("Proxy-Authorization"));
}

TEST_F(ForwardedRequestTest, countsWhatIsSentAtATime) {
  std::vector<velisand::Future<HTTPResponse<Data>>> sent;
  for (int i = 0; i < 20; ++i) sent.push_back(Get{.url = "http://service.test/" + std::to_string(i)}.send());
  for (std::size_t i = 0; i < sent.size(); ++i)
    EXPECT_EQ(sent[i].get().body.text(), "http://service.test/" + std::to_string(i));
}

TEST_F(ForwardedRequestTest, knowsTheNonceOnceItIsItsTurn) {
  configuration_.connections.maximumConnections = 1;
  use(proxy_.port());
  std::vector<velisand::Future<HTTPResponse<Data>>> sent;
  for (int i = 0; i < 10; ++i) sent.push_back(Get{.url = "http://service.test/" + std::to_string(i)}.send());
  for (auto& each : sent) each.get();

  EXPECT_EQ(proxy_.requestCount(), 11);
}

TEST_F(ForwardedRequestTest, tellsWhyItWasSentTwice) {
  const auto response = Get{.url = "http://service.test/"}.send().get();

  ASSERT_TRUE(response.metrics);
  ASSERT_EQ(response.metrics->transactions.size(), 2U);
  EXPECT_EQ(response.metrics->transactions[0].statusCode, 407);
  EXPECT_EQ(response.metrics->transactions[1].cause, TransactionMetrics::Cause::proxyChallenge);
}

/// Over TLS to "service.test", which only the proxy can find.
class GuardedTunnelTest : public ProxyAuthenticationTest {
 protected:
  GuardedTunnelTest() {
    configuration_.tls.anchors = SecCertificate::listFromPEM(Data(root_.certificate().pem()));
    server_.handleAll([](const auto& request) { return MockResponse(200).text(request.target); });
    proxy_.leadTo("service.test", server_.port());
    proxy_.leadTo("other.test", server_.port());
  }
  static CertificateRequest certificate() { return {.dnsNames = {"service.test", "other.test"}}; }

  const CertificateAuthority root_;
  TestServer server_{Tls(root_.issue(certificate()))};
  std::shared_ptr<DigestVerifier> verifier_ = std::make_shared<DigestVerifier>("ada", "secret");
  ScriptedProxy proxy_{{.digest = verifier_}};
};

TEST_F(GuardedTunnelTest, isOpenedOnceTheProxyKnowsTheUser) {
  use(proxy_.port());

  EXPECT_EQ(get("https://service.test/one"), "/one");
  EXPECT_EQ(get("https://service.test/two"), "/two");
  EXPECT_EQ(get("https://other.test/three"), "/three");

  EXPECT_THAT(proxy_.requests(),
              ElementsAre(Not(HasSubstr("Proxy-Authorization")), HasSubstr("nc=00000001"), HasSubstr("nc=00000002")));
  for (const auto& request : server_.requests()) EXPECT_FALSE(request.hasHeader("Proxy-Authorization"));
}

TEST_F(GuardedTunnelTest, takesAnotherNonceForAStaleOne) {
  use(proxy_.port());
  EXPECT_EQ(get("https://service.test/one"), "/one");
  verifier_->useNonce("second");

  EXPECT_EQ(get("https://other.test/two"), "/two");
  EXPECT_EQ(proxy_.requests().size(), 4U);
}

TEST_F(GuardedTunnelTest, saysThatTheProxyRefusesItsUser) {
  use(proxy_.port(), "wrong");

  const auto result = Get{.url = "https://service.test/"}.send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(result.error()->code(), URLErrorCode::httpBadProxyCredentials);
  EXPECT_EQ(proxy_.requests().size(), 2U);
}

TEST_F(GuardedTunnelTest, opensManyAtATime) {
  use(proxy_.port());
  std::vector<velisand::Future<HTTPResponse<Data>>> sent;
  for (int i = 0; i < 12; ++i) sent.push_back(Get{.url = "https://service.test/" + std::to_string(i)}.send());
  for (std::size_t i = 0; i < sent.size(); ++i) EXPECT_EQ(sent[i].get().body.text(), "/" + std::to_string(i));
}

}  // namespace
}  // namespace corvane
