#include <gmock/gmock.h>

#include "ConnectorTest.hpp"
#include "TestSupport/OpenDescriptors.hpp"

namespace platform::networking {
namespace {

using corvane::testkit::CertificateAuthority;
using corvane::testkit::CertificateRequest;
using corvane::testkit::MockResponse;
using corvane::testkit::runUntil;
using corvane::testkit::TestServer;
using corvane::testkit::Tls;
using corvane::testkit::TlsVersion;

constexpr std::string_view getRoot = "GET / HTTP/1.1\r\nHost: test\r\n\r\n";

/// Against a server that speaks TLS.
class SecureConnectorTest : public ConnectorTest {
 protected:
  Route secureRoute(const TestServer& server) const { return route("localhost", server.port(), true); }
  /// Connects, makes an exchange, which brings the sessions of TLS 1.3 along, and closes.
  void connectAndClose(TestServer& server) {
    server.enqueue(MockResponse(200).body("hello"));
    connect(secureRoute(server));
    ASSERT_TRUE(owner.open);
    exchange(*owner.open->stream, getRoot, "hello");
    owner.open->stream->shutDown();
    owner.open.reset();
  }

  const CertificateAuthority root;
  const Tls tls{root.issue(CertificateRequest::localhost())};
};

class SecureConnectorVersionTest : public SecureConnectorTest, public testing::WithParamInterface<TlsVersion> {
 protected:
  Tls version() const { return Tls(tls).versions(GetParam(), GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(SecureConnectorTest, SecureConnectorVersionTest,
                         testing::Values(TlsVersion::v1_2, TlsVersion::v1_3));

TEST_P(SecureConnectorVersionTest, asksForAVerdictAndConnects) {
  TestServer server(version());
  server.enqueue(MockResponse(200).body("hello"));

  connect(secureRoute(server));

  ASSERT_TRUE(owner.open);
  EXPECT_TRUE(owner.open->stream->isSecure());
  EXPECT_EQ(owner.query->host, "localhost");
  EXPECT_EQ(owner.query->port, server.port());
  ASSERT_FALSE(owner.query->chain.empty());
  EXPECT_GE(owner.open->times.secured, owner.open->times.connected);
  EXPECT_FALSE(owner.open->wasResumed);
  EXPECT_TRUE(exchange(*owner.open->stream, getRoot, "hello").ends_with("hello"));
}

TEST_P(SecureConnectorVersionTest, waitsForTheVerdict) {
  TestServer server(version());
  owner.verdict.reset();
  Connector late(loop, resolver, connectionOptions, context, secureRoute(server), owner);
  late.start();
  ASSERT_TRUE(runUntil(loop, [&] { return owner.query != nullptr; }));
  EXPECT_EQ(late.phase(), Connector::Phase::judging);
  EXPECT_EQ(server.connections().at(0).tlsVersion, "") << "The handshake went on.";

  late.applyVerdict(true);

  EXPECT_TRUE(runUntil(loop, [&] { return owner.isDone(); }));
  EXPECT_TRUE(owner.open);
  loop.iterate(Duration::zero());  // the last flight leaves by itself
  ASSERT_TRUE(server.waitUntil([&] { return !server.connections().at(0).tlsVersion.empty(); }));
  EXPECT_EQ(server.connections().at(0).sni, "localhost");
}

TEST_P(SecureConnectorVersionTest, failsWhenTheServerIsNotTrusted) {
  TestServer server(version());
  owner.verdict = false;

  Connector refusing(loop, resolver, connectionOptions, context, secureRoute(server), owner);
  refusing.start();

  ASSERT_TRUE(runUntil(loop, [&] { return owner.isDone(); }));
  ASSERT_TRUE(owner.failure);
  EXPECT_EQ(owner.failure->cause, FailureCause::serverNotTrusted);
  EXPECT_EQ(context->sessionCount(), 0U);
  ASSERT_TRUE(server.waitUntilAllClosed());
  EXPECT_THAT(server.connections().at(0).alerts, testing::Contains("bad certificate"));
  EXPECT_EQ(server.headCount(), 0);
}

TEST_P(SecureConnectorVersionTest, resumesASession) {
  TestServer server(version());
  connectAndClose(server);
  ASSERT_GE(context->sessionCount(), 1U);

  server.enqueue(MockResponse(200).body("again"));
  connect(secureRoute(server));

  ASSERT_TRUE(owner.open);
  EXPECT_TRUE(owner.open->wasResumed);
  EXPECT_EQ(owner.query, nullptr);
  EXPECT_TRUE(exchange(*owner.open->stream, getRoot, "again").ends_with("again"));
}

TEST_P(SecureConnectorVersionTest, resumesNoSessionOnceTheTrustChanged) {
  TestServer server(version());
  connectAndClose(server);

  context->forget();
  EXPECT_EQ(context->sessionCount(), 0U);
  connect(secureRoute(server));

  ASSERT_TRUE(owner.open);
  EXPECT_FALSE(owner.open->wasResumed);
  EXPECT_NE(owner.query, nullptr);
}

TEST_P(SecureConnectorVersionTest, keepsNoSessionOfAHandshakeThatBeganBeforeTheTrustChanged) {
  TestServer server(version());
  server.enqueue(MockResponse(200).body("hello"));
  owner.verdict.reset();
  Connector late(loop, resolver, connectionOptions, context, secureRoute(server), owner);
  late.start();
  ASSERT_TRUE(runUntil(loop, [&] { return owner.query != nullptr; }));

  context->forget();
  late.applyVerdict(true);

  ASSERT_TRUE(runUntil(loop, [&] { return owner.isDone(); }));
  ASSERT_TRUE(owner.open);
  exchange(*owner.open->stream, getRoot, "hello");
  EXPECT_EQ(context->sessionCount(), 0U);
  EXPECT_NE(owner.open->trustEpoch, context->trustEpoch());
}

TEST_P(SecureConnectorVersionTest, leavesNothingBehindWhenItIsDestroyedBeforeTheVerdict) {
  TestServer server(version());
  owner.verdict.reset();
  auto early = std::make_unique<Connector>(loop, resolver, connectionOptions, context, secureRoute(server), owner);
  early->start();
  ASSERT_TRUE(runUntil(loop, [&] { return owner.query != nullptr; }));

  early.reset();

  EXPECT_TRUE(corvane::testkit::descriptorsTo(server.port()).empty());
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_TRUE(corvane::testkit::staleWatches().empty());
  static_cast<void>(server.takeFailures());
}

/// Destroys the connector as soon as it is called.
class DestroyingOwner final : public ConnectorOwner {
 public:
  enum class When : std::uint8_t { progress, question, opened, failed };

  explicit DestroyingOwner(When when) : when_(when) {}
  void connectorProgressed(Connector&) override { destroyIf(When::progress); }
  void connectorAsksTrust(Connector& asking, std::shared_ptr<const TrustQuery>) override {
    // A quick server answers before there was any progress to tell of.
    if (when_ == When::question || when_ == When::progress) {
      connector.reset();
    } else {
      asking.applyVerdict(when_ == When::opened);
    }
  }
  void connectorOpened(Connector&, OpenStream) noexcept override { destroyIf(When::opened); }
  void connectorFailed(Connector&, Failure) noexcept override { destroyIf(When::failed); }

  std::unique_ptr<Connector> connector;

 private:
  void destroyIf(When when) {
    if (when == when_) connector.reset();
  }
  const When when_;
};

class DestroyedConnectorTest : public SecureConnectorTest, public testing::WithParamInterface<DestroyingOwner::When> {};
INSTANTIATE_TEST_SUITE_P(SecureConnectorTest, DestroyedConnectorTest,
                         testing::Values(DestroyingOwner::When::progress, DestroyingOwner::When::question,
                                         DestroyingOwner::When::opened, DestroyingOwner::When::failed));

TEST_P(DestroyedConnectorTest, leavesNothingBehind) {
  TestServer server(tls);
  DestroyingOwner destroyer(GetParam());
  destroyer.connector =
      std::make_unique<Connector>(loop, resolver, connectionOptions, context, secureRoute(server), destroyer);
  destroyer.connector->start();

  ASSERT_TRUE(runUntil(loop, [&] { return !destroyer.connector; }));

  EXPECT_TRUE(corvane::testkit::descriptorsTo(server.port()).empty());
  EXPECT_TRUE(server.waitUntilAllClosed());
  static_cast<void>(server.takeFailures());
}

TEST_F(SecureConnectorTest, resumesNoSessionOfAnotherHost) {
  TestServer server(tls);
  connectAndClose(server);

  connect(route("127.0.0.1", server.port(), true));

  ASSERT_TRUE(owner.open);
  EXPECT_FALSE(owner.open->wasResumed);
}

TEST_F(SecureConnectorTest, usesATicketOnce) {
  TestServer server(Tls(tls).versions(TlsVersion::v1_3, TlsVersion::v1_3));
  connectAndClose(server);
  const std::size_t kept = context->sessionCount();

  connect(secureRoute(server));

  ASSERT_TRUE(owner.open);
  EXPECT_TRUE(owner.open->wasResumed);
  EXPECT_EQ(context->sessionCount(), kept - 1);
}

TEST_F(SecureConnectorTest, sendsNoNameOfAnAddress) {
  TestServer server(tls);

  connect(route("127.0.0.1", server.port(), true));

  ASSERT_TRUE(owner.open);
  ASSERT_TRUE(server.waitUntil([&] { return !server.connections().at(0).tlsVersion.empty(); }));
  EXPECT_EQ(server.connections().at(0).sni, "");
}

TEST_F(SecureConnectorTest, failsWhenTheConnectionIsResetInTheHandshake) {
  const corvane::testkit::Latch latch;
  TestServer server(Tls(tls).resetHandshakesWhenOpen(latch));
  owner.verdict.reset();
  Connector late(loop, resolver, connectionOptions, context, secureRoute(server), owner);
  late.start();
  ASSERT_TRUE(runUntil(loop, [&] { return owner.query != nullptr; }));

  latch.open();
  ASSERT_TRUE(server.waitUntilAllClosed());
  late.applyVerdict(true);

  ASSERT_TRUE(runUntil(loop, [&] { return owner.isDone(); }));
  // The last flight goes out with the first bytes.
  ASSERT_TRUE(owner.open);
  const Bytes request = std::as_bytes(std::span("GET", 3));
  EXPECT_EQ(owner.open->stream->write({&request, 1}).status, IOStatus::failed);
  EXPECT_EQ(owner.open->stream->failure()->cause, FailureCause::secureConnectionFailed);
  static_cast<void>(server.takeFailures());
}

}  // namespace
}  // namespace platform::networking
