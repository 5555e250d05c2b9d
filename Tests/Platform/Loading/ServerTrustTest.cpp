#include <gmock/gmock.h>

#include "SessionTest.hpp"
#include "TestSupport/CertificateAuthority.hpp"

/// What TLS connections make of servers' certificates, with a delegate and without.
namespace platform {
namespace {

using corvane::testing::Answer;
using corvane::testing::Certificate;
using corvane::testing::CertificateAuthority;
using corvane::testing::Moment;
using corvane::testing::ReceivedRequest;
using corvane::testing::ServerOptions;
using corvane::testing::TestServer;
using corvane::testing::Tls;
using corvane::testing::Validity;

/// Trusts what leads to one anchor, the way an application would.
struct AnchorDelegate : URLSessionDelegate {
  explicit AnchorDelegate(const std::string& der) : anchor(*SecCertificate::createWithData(Data(der))) {}

  void didReceiveChallenge(const std::shared_ptr<URLSession>&, const URLAuthenticationChallenge& challenge,
                           ChallengeCompletion completion) override {
    ++challenges;
    lastSpace = challenge.protectionSpace;
    const auto trust = challenge.protectionSpace.serverTrust;
    trust->setAnchorCertificates({anchor});
    trust->setAnchorCertificatesOnly(false);
    if (trust->evaluate() == SecTrustResult::unspecified) {
      completion(AuthChallengeDisposition::useCredential, URLCredential{trust});
    } else {
      completion(AuthChallengeDisposition::performDefaultHandling, std::nullopt);
    }
  }

  SecCertificate anchor;
  std::atomic<int> challenges = 0;
  URLProtectionSpace lastSpace;
};

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
  server.enqueue(Answer(200).body("secret"));
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
  server.handleAll([](const ReceivedRequest&) { return Answer(200).body("x"); });
  trustAuthority();

  for (int i = 0; i < 3; ++i) EXPECT_EQ(load(server).body(), "x");

  EXPECT_EQ(server.connectionCount(), 1);
  EXPECT_EQ(delegate->challenges, 1);
}

TEST_F(ServerTrustTest, asksAgainForANewConnection) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  server.handleAll([](const ReceivedRequest&) { return Answer(200).body("x").closeConnection(); });
  trustAuthority();

  for (int i = 0; i < 3; ++i) EXPECT_EQ(load(server).body(), "x");

  EXPECT_EQ(delegate->challenges, 3);
}

TEST_F(ServerTrustTest, sendsABodyAfterTheDecision) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  server.enqueue(Answer(200));
  trustAuthority();
  const std::string body = corvane::testing::generatedBytes(4 << 20);
  URLRequest upload(URL(server.url("/", "localhost")));
  upload.httpMethod = "POST";
  upload.httpBody = Data(body);

  EXPECT_EQ(Load(session, upload).resume().wait().status(), 200);

  EXPECT_EQ(server.takeRequest().body, body);
}

TEST_F(ServerTrustTest, worksWithBothVersionsOfTLS) {
  for (const auto version : {corvane::testing::TlsVersion::v1_2, corvane::testing::TlsVersion::v1_3}) {
    TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})).versions(version, version));
    server.enqueue(Answer(200).body("x"));
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
  addressed.enqueue(Answer(200).body("x"));
  trustAuthority();

  EXPECT_EQ(load(named, "127.0.0.1").code(), URLErrorCode::serverCertificateUntrusted);
  EXPECT_EQ(load(addressed, "127.0.0.1").body(), "x");
}

TEST_F(ServerTrustTest, aMissingIntermediateIsNotTrusted) {
  const CertificateAuthority intermediate = authority.intermediate();
  const Certificate leaf = intermediate.issue({.dnsNames = {"localhost"}});
  TestServer complete{Tls(leaf)};
  TestServer incomplete{Tls(leaf.withoutIntermediates())};
  complete.enqueue(Answer(200).body("x"));
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
  server.enqueue(Answer(200).body("secret"));
  plain.enqueue(Answer(200).body("plain"));
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

TEST_F(ServerTrustTest, cancelWorksWhileTheDecisionIsPending) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  struct Silent : URLSessionDelegate {
    void didReceiveChallenge(const std::shared_ptr<URLSession>&, const URLAuthenticationChallenge&,
                             ChallengeCompletion later) override {
      asked.set_value(std::move(later));
    }
    std::promise<ChallengeCompletion> asked;
  };
  const auto silent = std::make_shared<Silent>();
  session = URLSession::make({}, silent, DispatchQueue("test.delegate"));
  Load waiting(session, URLRequest(URL(server.url("/", "localhost"))));
  waiting.resume();
  const auto completion = silent->asked.get_future().get();

  waiting.cancel();

  EXPECT_EQ(waiting.wait().code(), URLErrorCode::cancelled);
  completion(AuthChallengeDisposition::performDefaultHandling, std::nullopt);
  EXPECT_EQ(server.headCount(), 0);
}

TEST_F(ServerTrustTest, refusesAStreamThatEndsWithoutItsClosingAlert) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  trustAuthority();
  server.enqueue(Answer(200).body("until the end").untilClose().dropConnection(Moment::afterAnswer));

  const Loaded loaded = load(server);

  EXPECT_EQ(loaded.code(), URLErrorCode::networkConnectionLost) << loaded.message();
}

TEST_F(ServerTrustTest, acceptsAStreamThatEndsWithItsClosingAlert) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  trustAuthority();
  server.enqueue(Answer(200).body("until the end").untilClose());

  EXPECT_EQ(load(server).body(), "until the end");
}

TEST_F(ServerTrustTest, aRedirectNeverLeadsFromHTTPSToHTTP) {
  TestServer server(Tls(authority.issue({.dnsNames = {"localhost"}})));
  TestServer plain;
  trustAuthority();
  server.enqueue(Answer(302).header("Location", plain.url("/")));

  EXPECT_NE(load(server).code(), 0);
  EXPECT_EQ(plain.connectionCount(), 0);
}

TEST_F(ServerTrustTest, aPlainServerOnTheTLSPortIsAnError) {
  TestServer plain;
  const Loaded loaded = Load(session, URLRequest(URL("https://" + plain.authority() + "/"),
                                                 URLRequestCachePolicy::useProtocolCachePolicy, 5))
                            .resume()
                            .wait();
  EXPECT_NE(loaded.code(), 0);
  plain.takeFailures();
}

}  // namespace
}  // namespace platform
