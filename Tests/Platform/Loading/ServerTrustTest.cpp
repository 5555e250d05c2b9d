#include <gmock/gmock.h>

#include "AnchorDelegate.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "SessionTest.hpp"
#include "TestSupport/NetworkTime.hpp"

/// What TLS connections make of servers' certificates, with a delegate and without.
namespace platform {
namespace {

using corvane::testkit::Certificate;
using corvane::testkit::CertificateAuthority;
using corvane::testkit::MockResponse;
using corvane::testkit::Moment;
using corvane::testkit::ReceivedRequest;
using corvane::testkit::ServerOptions;
using corvane::testkit::TestServer;
using corvane::testkit::Tls;
using corvane::testkit::Validity;

/// Answers every challenge the same way.
struct FixedDelegate : URLSessionDelegate {
  explicit FixedDelegate(AuthChallengeDisposition fixed) : disposition(fixed) {}
  void didReceiveChallenge(const std::shared_ptr<URLSession>&, const URLAuthenticationChallenge& challenge,
                           ChallengeCompletion completion) override {
    completion(disposition, URLCredential{challenge.protectionSpace.serverTrust});
  }
  AuthChallengeDisposition disposition;
};

class ServerTrustTest : public ::testing::Test {
 protected:
  Loaded load(TestServer& server, std::string_view host = "localhost") {
    return Load(session, URLRequest(URL(server.url("/", host)))).resume().wait();
  }
  void trustAuthority() {
    delegate = std::make_shared<AnchorDelegate>(authority.certificate().der());
    session = URLSession::make({}, delegate, DispatchQueue("test.delegate"));
  }

  CertificateAuthority authority{"Test Root"};
  std::shared_ptr<AnchorDelegate> delegate;
  std::shared_ptr<URLSession> session = URLSession::make({}, nullptr, DispatchQueue("test.delegate"));
};

TEST_F(ServerTrustTest, acceptsAChainToARegisteredAnchor) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  server.enqueue(MockResponse(200).body("secret"));
  trustAuthority();

  const Loaded loaded = load(server);

  EXPECT_EQ(loaded.body(), "secret") << loaded.message();
  EXPECT_EQ(delegate->challenges, 1);
  EXPECT_EQ(delegate->lastSpace.host, "localhost");
  EXPECT_EQ(delegate->lastSpace.port, server.port());
}

TEST_F(ServerTrustTest, sendsNothingToAServerItDoesNotTrust) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));

  const Loaded loaded = load(server);

  EXPECT_EQ(loaded.code(), URLErrorCode::serverCertificateHasUnknownRoot) << loaded.message();
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.requestCount(), 0);
  EXPECT_EQ(server.headCount(), 0);
}

TEST_F(ServerTrustTest, asksForEachConnectionAndNotForEachRequest) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body("x"); });
  trustAuthority();

  for (int i = 0; i < 3; ++i) EXPECT_EQ(load(server).body(), "x");

  EXPECT_EQ(server.connectionCount(), 1);
  EXPECT_EQ(delegate->challenges, 1);
}

TEST_F(ServerTrustTest, asksNobodyAboutASessionThatIsResumed) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body("x").closeConnection(); });
  trustAuthority();

  for (int i = 0; i < 3; ++i) EXPECT_EQ(load(server).body(), "x");

  EXPECT_EQ(server.connectionCount(), 3);
  EXPECT_EQ(delegate->challenges, 1);
}

TEST_F(ServerTrustTest, asksAgainForANewConnection) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})).withoutSessions());
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).body("x").closeConnection(); });
  trustAuthority();

  for (int i = 0; i < 3; ++i) EXPECT_EQ(load(server).body(), "x");

  EXPECT_EQ(delegate->challenges, 3);
}

TEST_F(ServerTrustTest, sendsABodyAfterTheDecision) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  server.enqueue(MockResponse(200));
  trustAuthority();
  const std::string body = corvane::testkit::generatedBytes(4 << 20);
  URLRequest upload(URL(server.url("/", "localhost")));
  upload.httpMethod = "POST";
  upload.httpBody = Data(body);

  EXPECT_EQ(Load(session, upload).resume().wait().status(), 200);

  EXPECT_EQ(server.takeRequest().body, body);
}

TEST_F(ServerTrustTest, worksWithBothVersionsOfTLS) {
  for (const auto version : {corvane::testkit::TlsVersion::v1_2, corvane::testkit::TlsVersion::v1_3}) {
    TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})).versions(version, version));
    server.enqueue(MockResponse(200).body("x"));
    trustAuthority();
    EXPECT_EQ(load(server).body(), "x");
  }
}

TEST_F(ServerTrustTest, refusesAnExpiredCertificate) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}, .validity = Validity::expired()})));
  trustAuthority();

  EXPECT_EQ(load(server).code(), URLErrorCode::serverCertificateHasBadDate);
}

TEST_F(ServerTrustTest, refusesACertificateThatIsNotYetValid) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}, .validity = Validity::notYet()})));
  trustAuthority();

  const auto code = load(server).code();
  EXPECT_TRUE(code == URLErrorCode::serverCertificateNotYetValid) << code;
}

TEST_F(ServerTrustTest, refusesACertificateForAnotherHost) {
  TestServer server(Tls(authority.issue({.dnsNames = {"example.com"}})));
  trustAuthority();

  EXPECT_EQ(load(server).code(), URLErrorCode::serverCertificateUntrusted);
  EXPECT_EQ(server.headCount(), 0);
}

TEST_F(ServerTrustTest, checksTheHostEvenWhenTheDelegateDoesNot) {
  TestServer server(Tls(authority.issue({.dnsNames = {"example.com"}})));
  session = URLSession::make({}, std::make_shared<FixedDelegate>(AuthChallengeDisposition::useCredential),
                             DispatchQueue("test.delegate"));

  EXPECT_EQ(load(server).code(), URLErrorCode::serverCertificateUntrusted);
  EXPECT_EQ(server.headCount(), 0);
}

TEST_F(ServerTrustTest, anIPAddressMatchesAnAddressEntryOnly) {
  TestServer named(Tls(authority.issue({.dnsNames = {"localhost"}})));
  TestServer addressed(Tls(authority.issue({.ipAddresses = {"127.0.0.1"}})));
  addressed.enqueue(MockResponse(200).body("x"));
  trustAuthority();

  EXPECT_EQ(load(named, "127.0.0.1").code(), URLErrorCode::serverCertificateUntrusted);
  EXPECT_EQ(load(addressed, "127.0.0.1").body(), "x");
}

TEST_F(ServerTrustTest, aMissingIntermediateIsNotTrusted) {
  const CertificateAuthority intermediate = authority.intermediate();
  const Certificate leaf = intermediate.issue({.dnsNames = {"localhost"}});
  TestServer complete{Tls(leaf)};
  TestServer incomplete{Tls(leaf.withoutIntermediates())};
  complete.enqueue(MockResponse(200).body("x"));
  trustAuthority();

  EXPECT_EQ(load(complete).body(), "x");
  EXPECT_NE(load(incomplete).code(), 0);
}

TEST_F(ServerTrustTest, theApplicationMayRefuse) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  session =
      URLSession::make({}, std::make_shared<FixedDelegate>(AuthChallengeDisposition::cancelAuthenticationChallenge),
                       DispatchQueue("test.delegate"));

  EXPECT_EQ(load(server).code(), URLErrorCode::userCancelledAuthentication);
  EXPECT_EQ(server.headCount(), 0);
}

TEST_F(ServerTrustTest, aBusyDelegateQueueHoldsUpOnlyWhatWaitsForIt) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  TestServer plain;
  server.enqueue(MockResponse(200).body("secret"));
  plain.enqueue(MockResponse(200).body("plain"));
  const DispatchQueue queue("test.busy");
  session = URLSession::make({}, std::make_shared<AnchorDelegate>(authority.certificate().der()), queue);
  std::promise<void> release;
  queue.async([ready = release.get_future().share()] { ready.wait(); });
  Load waiting(session, URLRequest(URL(server.url("/", "localhost"))));
  waiting.resume();
  ASSERT_TRUE(server.waitForConnections(1));

  const Loaded other =
      Load(URLSession::make({}, nullptr, DispatchQueue("test.other")), URLRequest(URL(plain.url()))).resume().wait();

  EXPECT_EQ(other.body(), "plain");
  EXPECT_FALSE(waiting.isDone());
  release.set_value();
  EXPECT_EQ(waiting.wait().body(), "secret");
}

/// Keeps the questions it is asked; the test answers.
struct SilentDelegate : URLSessionDelegate {
  void didReceiveChallenge(const std::shared_ptr<URLSession>&, const URLAuthenticationChallenge& challenge,
                           ChallengeCompletion completion) override {
    asked.fulfil([completion, trust = challenge.protectionSpace.serverTrust](AuthChallengeDisposition disposition) {
      completion(disposition, URLCredential{trust});
    });
  }
  corvane::testkit::Expectation<std::function<void(AuthChallengeDisposition)>> asked;
};

class PendingTrustTest : public ServerTrustTest {
 protected:
  PendingTrustTest() { session = URLSession::make({}, silent, DispatchQueue("test.delegate")); }

  URLRequest request(double timeout = 60) const {
    return {URL(server.url("/", "localhost")), URLRequestCachePolicy::useProtocolCachePolicy, timeout};
  }

  std::shared_ptr<SilentDelegate> silent = std::make_shared<SilentDelegate>();
  corvane::testkit::Latch reset;
  TestServer server{Tls(authority.issue({.dnsNames = {"localhost"}})).withoutSessions().resetHandshakesWhenOpen(reset)};
};

TEST_F(PendingTrustTest, canBeCancelled) {
  Load waiting(session, request());
  waiting.resume();
  const auto decide = silent->asked.wait();

  waiting.cancel();

  EXPECT_EQ(waiting.wait().code(), URLErrorCode::cancelled);
  decide(AuthChallengeDisposition::performDefaultHandling);
  EXPECT_EQ(server.headCount(), 0);
}

TEST_F(PendingTrustTest, isNotTheServersIdleness) {
  server.handleAll([](const ReceivedRequest&) { return MockResponse(200).closeConnection().body("x"); });
  corvane::testkit::NetworkTime time;
  Load asking(session, request(0.5));
  Load sharing(session, request(0.5));  // waits to see whether it can use the same connection
  asking.resume();
  sharing.resume();
  const auto decide = silent->asked.wait();
  time.pass(std::chrono::minutes(1));
  EXPECT_FALSE(asking.isDone());
  EXPECT_FALSE(sharing.isDone());

  decide(AuthChallengeDisposition::useCredential);

  EXPECT_EQ(asking.wait().body(), "x");
  // Over HTTP/1 it needs a connection of its own, which is judged in its turn.
  silent->asked.waitForAll(2).back()(AuthChallengeDisposition::useCredential);
  EXPECT_EQ(sharing.wait().body(), "x");
}

TEST_F(PendingTrustTest, letsTheTimeOutRunAgainAfterwards) {
  server.enqueue(MockResponse(200).stall(Moment::beforeStatusLine));
  Load loading(session, request(0.2));
  loading.resume();

  silent->asked.wait()(AuthChallengeDisposition::useCredential);

  EXPECT_EQ(loading.wait().code(), URLErrorCode::timedOut);
}

TEST_F(PendingTrustTest, endsWhenTheServerResetsTheConnection) {
  Load loading(session, request());
  loading.resume();
  const auto decide = silent->asked.wait();

  reset.open();

  EXPECT_EQ(loading.wait().code(), URLErrorCode::secureConnectionFailed);
  decide(AuthChallengeDisposition::useCredential);
  EXPECT_EQ(loading.completions(), 1);
}

class BrokenHandshakeTest : public ServerTrustTest, public ::testing::WithParamInterface<corvane::testkit::Ending> {};

TEST_P(BrokenHandshakeTest, isAFailureToSecureTheConnection) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  server.enqueue(MockResponse().end(GetParam(), Moment::onAccept));
  trustAuthority();

  const Loaded loaded = load(server);

  EXPECT_EQ(loaded.code(), URLErrorCode::secureConnectionFailed) << loaded.message();
  EXPECT_EQ(loaded.error->userInfo().find(URLErrorKey::requestWasSent)->boolean(), false);
}

std::string nameOf(const ::testing::TestParamInfo<corvane::testkit::Ending>& used) {
  if (used.param == corvane::testkit::Ending::reset) return "Reset";
  return used.param == corvane::testkit::Ending::drop ? "Dropped" : "Closed";
}

INSTANTIATE_TEST_SUITE_P(, BrokenHandshakeTest,
                         ::testing::Values(corvane::testkit::Ending::close, corvane::testkit::Ending::drop,
                                           corvane::testkit::Ending::reset),
                         nameOf);

TEST_F(ServerTrustTest, refusesAStreamThatEndsWithoutItsClosingAlert) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  trustAuthority();
  server.enqueue(MockResponse(200).body("until the end").untilClose().dropConnection(Moment::afterResponse));

  const Loaded loaded = load(server);

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
}

TEST_F(ServerTrustTest, acceptsAStreamThatEndsWithItsClosingAlert) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  trustAuthority();
  server.enqueue(MockResponse(200).body("until the end").untilClose());

  EXPECT_EQ(load(server).body(), "until the end");
}

TEST_F(ServerTrustTest, aRedirectNeverLeadsFromHTTPSToHTTP) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  TestServer plain;
  trustAuthority();
  server.enqueue(MockResponse(302).header("Location", plain.url("/")));

  EXPECT_NE(load(server).code(), 0);
  EXPECT_EQ(plain.connectionCount(), 0);
}

TEST_F(ServerTrustTest, aPlainServerOnTheTLSPortIsAnError) {
  corvane::testkit::NetworkTime time;
  TestServer plain;
  Load loading(session, URLRequest(URL("https://" + plain.authority() + "/")));
  loading.resume();
  ASSERT_TRUE(plain.waitForConnections(1));

  time.pass(std::chrono::seconds(60));

  EXPECT_NE(loading.wait().code(), 0);
  plain.takeFailures();
}

}  // namespace
}  // namespace platform
