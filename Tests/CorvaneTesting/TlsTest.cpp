#include "CorvaneTesting/Tls.hpp"

#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/ServerTest.hpp"
#include "TestSupport/TlsClient.hpp"

namespace corvane::testkit {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

/// A root, a server below it, and clients that trust the root.
class TlsTest : public ::testing::Test {
 protected:
  CertificateAuthority root;
};

TEST_F(TlsTest, servesOverTlsWithACertificateOfItsOwn) {
  TestServer server(Tls(root.issue(CertificateRequest::localhost())));
  server.enqueue(MockResponse().body("secret"));

  TlsClient client(server, {.trustedPem = root.certificate().pem(), .name = "localhost"});
  const std::string response = client.exchange(closingGet("/"));

  EXPECT_EQ(client.verifyError(), "");
  EXPECT_THAT(response, EndsWith("secret"));
  EXPECT_TRUE(client.sawGoodbye());
  const ReceivedRequest request = server.takeRequest();
  EXPECT_EQ(request.sni, "localhost");
  EXPECT_EQ(request.tlsVersion, "TLSv1.3");
  EXPECT_EQ(server.url("/x").substr(0, 8), "https://");
}

TEST_F(TlsTest, speaksOnlyTheVersionsItWasGiven) {
  TestServer server(Tls(root.issue(CertificateRequest::localhost())).versions(TlsVersion::v1_2, TlsVersion::v1_2));
  server.enqueue(MockResponse());

  TlsClient(server, {.trustedPem = root.certificate().pem()}).exchange(closingGet("/"));

  EXPECT_EQ(server.takeRequest().tlsVersion, "TLSv1.2");
}

TEST_F(TlsTest, leavesOutTheClosingAlertWhenAsked) {
  TestServer server(Tls(root.issue(CertificateRequest::localhost())).withoutGoodbye());
  server.enqueue(MockResponse().body("cut").untilClose());

  TlsClient client(server, {.trustedPem = root.certificate().pem()});
  const std::string response = client.exchange(get("/"));

  EXPECT_THAT(response, EndsWith("cut"));
  EXPECT_FALSE(client.sawGoodbye());
}

TEST_F(TlsTest, dropsWithoutTheClosingAlert) {
  TestServer server(Tls(root.issue(CertificateRequest::localhost())));
  server.enqueue(MockResponse().body("complete").dropConnection(Moment::afterResponse));

  TlsClient client(server, {.trustedPem = root.certificate().pem()});
  const std::string response = client.exchange(get("/"));

  EXPECT_THAT(response, EndsWith("complete"));
  EXPECT_FALSE(client.sawGoodbye());
}

TEST_F(TlsTest, recordsTheAlertOfAClientThatDoesNotTrustIt) {
  TestServer server(Tls(root.issue(CertificateRequest::localhost())));
  const CertificateAuthority other;

  TlsClient client(server, {.trustedPem = other.certificate().pem(), .name = "localhost"});

  ASSERT_TRUE(server.waitUntil([&] { return !server.connections().front().alerts.empty(); }));
  EXPECT_NE(client.verifyError(), "");
  EXPECT_THAT(server.connections().front().alerts, ElementsAre("unknown CA"));
  EXPECT_TRUE(server.waitUntilAllClosed());
  EXPECT_EQ(server.connections().front().sni, "localhost");
}

TEST_F(TlsTest, dropsBeforeOrAfterTheHandshake) {
  TestServer server(Tls(root.issue(CertificateRequest::localhost())));
  server.enqueue(MockResponse().dropConnection(Moment::onAccept));
  server.enqueue(MockResponse().dropConnection(Moment::afterHandshake));

  TlsClient before(server, {.trustedPem = root.certificate().pem()});
  TlsClient after(server, {.trustedPem = root.certificate().pem()});

  EXPECT_FALSE(before.isConnected());
  EXPECT_TRUE(after.isConnected());
  EXPECT_EQ(after.receiveAll(), "");
  EXPECT_FALSE(after.sawGoodbye());
}

TEST_F(TlsTest, sendsOnAndClosesIdleConnections) {
  TestServer server(Tls(root.issue(CertificateRequest::localhost())));
  server.enqueue(MockResponse().contentLength(0));
  TlsClient client(server, {.trustedPem = root.certificate().pem()});
  client.send(get("/"));
  client.receiveUntil("\r\n\r\n");

  const int sent = server.sendOnIdleConnections("unasked");
  const int closed = server.closeIdleConnections();

  EXPECT_EQ(sent, 1);
  EXPECT_EQ(closed, 1);
  EXPECT_EQ(client.receiveAll(), "unasked");
  EXPECT_TRUE(client.sawGoodbye());
}

TEST_F(TlsTest, carriesLargeBodies) {
  constexpr std::size_t size = 5'000'000;
  TestServer server(Tls(root.issue(CertificateRequest::localhost())));
  server.enqueue(MockResponse().generatedBody(size));

  TlsClient client(server, {.trustedPem = root.certificate().pem()});
  const std::string response = client.exchange(closingGet("/"));

  EXPECT_TRUE(response.ends_with(generatedBytes(size)));
}

struct MatrixRow {
  const char* title;
  Certificate certificate;
  const char* name;
  const char* error;
};

TEST_F(TlsTest, certificatesFailOrPassAsTheyWereMade) {
  const CertificateAuthority intermediate = root.intermediate();
  const auto below = [](const CertificateAuthority& issuer, std::vector<std::string> names, Validity validity = {}) {
    CertificateRequest request;
    request.dnsNames = std::move(names);
    request.validity = validity;
    return issuer.issue(request);
  };
  CertificateRequest forAddress;
  forAddress.ipAddresses = {"127.0.0.1"};
  CertificateRequest forClients;
  forClients.dnsNames = {"a.test"};
  forClients.extendedKeyUsage = "clientAuth";
  CertificateRequest named;
  named.dnsNames = {"a.test"};
  const Certificate nested = below(intermediate.intermediate("Second"), {"a.test"});
  const MatrixRow rows[] = {
      {"valid", below(root, {"a.test"}), "a.test", ""},
      {"wrong host", below(root, {"b.test"}), "a.test", "hostname mismatch"},
      {"wildcard", below(root, {"*.a.test"}), "x.a.test", ""},
      {"wildcard too deep", below(root, {"*.a.test"}), "y.x.a.test", "hostname mismatch"},
      {"wildcard too high", below(root, {"*.a.test"}), "a.test", "hostname mismatch"},
      {"expired", below(root, {"a.test"}, Validity::expired()), "a.test", "certificate has expired"},
      {"not yet valid", below(root, {"a.test"}, Validity::notYet()), "a.test", "certificate is not yet valid"},
      {"address", root.issue(forAddress), "127.0.0.1", ""},
      {"other address", root.issue(forAddress), "127.0.0.2", "IP address mismatch"},
      {"self-signed", CertificateAuthority::selfSigned(named), "a.test", "self-signed certificate"},
      {"unknown root", below(CertificateAuthority("Other"), {"a.test"}), "a.test",
       "unable to get local issuer certificate"},
      {"root of the same name", below(CertificateAuthority(), {"a.test"}), "a.test",
       "unable to get local issuer certificate"},
      {"intermediate", below(intermediate, {"a.test"}), "a.test", ""},
      {"two intermediates", nested, "a.test", ""},
      {"missing intermediate", nested.withoutIntermediates(), "a.test", "unable to get local issuer certificate"},
      {"path too long", below(root.intermediate("Short", {}, 0).intermediate("Second"), {"a.test"}), "a.test",
       "path length constraint exceeded"},
      {"wrong purpose", root.issue(forClients), "a.test", "unsuitable certificate purpose"},
  };

  for (const MatrixRow& row : rows) {
    TestServer server{Tls(row.certificate)};
    TlsClient client(server, {.trustedPem = root.certificate().pem(), .name = row.name});
    EXPECT_EQ(client.verifyError(), row.error) << row.title;
  }
}

TEST_F(TlsTest, refusesACertificateThatIsNone) {
  const Certificate good = root.issue(CertificateRequest::localhost());
  const Certificate other = root.issue(CertificateRequest::localhost());

  EXPECT_THROW(TestServer(Tls("nonsense", good.keyPem())), std::invalid_argument);
  EXPECT_THROW(TestServer(Tls(good.chainPem(), "nonsense")), std::invalid_argument);
  EXPECT_THROW(TestServer(Tls(good.chainPem(), other.keyPem())), std::invalid_argument);
}

}  // namespace
}  // namespace corvane::testkit
