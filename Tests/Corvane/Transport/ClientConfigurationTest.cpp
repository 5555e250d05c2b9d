#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/TestServer.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "TestSupport/TemporaryDirectory.hpp"

namespace corvane {
namespace {

using platform::HTTPVersions;
using platform::IPVersions;
using platform::SecCertificate;
using platform::SecIdentity;
using platform::TLSVersion;
using testing::HasSubstr;
using testkit::CertificateAuthority;
using testkit::CertificateRequest;
using testkit::MockResponse;
using testkit::TestServer;
using testkit::Tls;

/// Is for one service.
struct ServiceGet : DataGetRequestable<ServiceGet> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "service";
  HTTPHeaders sharedHeaders() const { return {}; }
};

class ClientConfigurationTest : public ::testing::Test {
 protected:
  ~ClientConfigurationTest() override {
    HTTPClientConfiguration::removeAll();
    Corvane::removeTrustedCertificates();
    Corvane::resetSessions();
  }

  static std::string get(const std::string& url) { return ServiceGet{.url = url}.send().get().body.text(); }
  static Error failureOf(const std::string& url) {
    const auto result = ServiceGet{.url = url}.send().result();
    EXPECT_TRUE(result.error());
    return result.error() ? *result.error() : Error("none", 0, "");
  }
  /// What the loading layer says.
  static std::string reasonOf(const Error& error) {
    const auto* const network = error.as<CFNetworkErrors>();
    return network && network->underlyingError() ? network->underlyingError()->message() : "";
  }
  void use() { HTTPClientConfiguration::set("service", configuration_); }
  std::vector<SecCertificate> rootOnly() const { return SecCertificate::listFromPEM(Data(root_.certificate().pem())); }
  Tls tls() const { return Tls(root_.issue(CertificateRequest::localhost())); }
  static SecIdentity identityOf(const CertificateAuthority& authority) {
    CertificateRequest request;
    request.extendedKeyUsage = "clientAuth";
    const auto client = authority.issue(request);
    return SecIdentity::fromPEM(Data(client.chainPem()), Data(client.keyPem()));
  }

  const CertificateAuthority root_;
  HTTPClientConfiguration configuration_;
};

class SecureClientConfigurationTest : public ClientConfigurationTest {
 protected:
  SecureClientConfigurationTest() {
    configuration_.tls.anchors = rootOnly();
    use();
  }
};

TEST_F(SecureClientConfigurationTest, trustsAnAnchorFromMemory) {
  TestServer server(tls());
  server.enqueue(MockResponse(200).text("trusted"));

  EXPECT_EQ(get(server.url()), "trusted");
}

TEST_F(SecureClientConfigurationTest, isOfNoConcernToOtherRequests) {
  TestServer server(tls());

  const auto result = DataGetRequest(server.url()).send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(SecureClientConfigurationTest, mayTrustNothingElse) {
  testkit::TemporaryDirectory directory;
  const std::string path = directory.path().string() + "/root.der";
  platform::FileManager::write(Data(root_.certificate().der()), path);
  Corvane::addTrustedCertificate(URL::file(path));
  configuration_.tls.anchors =
      SecCertificate::listFromPEM(Data(CertificateAuthority("Another Root").certificate().pem()));
  configuration_.tls.trustsOnlyAnchors = true;
  use();
  TestServer server(tls());

  EXPECT_THAT(failureOf(server.url()).message(), HasSubstr("unknown root"));
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(SecureClientConfigurationTest, showsItsCertificateToAServerThatAsksForOne) {
  const CertificateAuthority clients("Clients");
  configuration_.tls.identity = identityOf(clients);
  use();
  TestServer server(tls().demandClientCertificate(clients.certificate()));
  server.enqueue(MockResponse(200).text("known"));

  EXPECT_EQ(get(server.url()), "known");
}

TEST_F(SecureClientConfigurationTest, saysSoWhereAServerWantsACertificate) {
  TestServer server(tls().demandClientCertificate(CertificateAuthority("Clients").certificate()));

  EXPECT_EQ(failureOf(server.url()).code(), platform::URLErrorCode::clientCertificateRequired);
  server.takeFailures();
}

TEST_F(SecureClientConfigurationTest, saysSoWhereAServerRefusesItsCertificate) {
  configuration_.tls.identity = identityOf(CertificateAuthority("Others"));
  use();
  TestServer server(tls().demandClientCertificate(CertificateAuthority("Clients").certificate()));

  EXPECT_EQ(failureOf(server.url()).code(), platform::URLErrorCode::clientCertificateRejected);
  server.takeFailures();
}

TEST_F(SecureClientConfigurationTest, refusesAnOlderVersionOfTLS) {
  configuration_.tls.minimumVersion = TLSVersion::v1_3;
  use();
  TestServer server(tls().versions(testkit::TlsVersion::v1_2, testkit::TlsVersion::v1_2));

  EXPECT_EQ(failureOf(server.url()).code(), platform::URLErrorCode::secureConnectionFailed);
  server.takeFailures();
}

TEST_F(SecureClientConfigurationTest, offersTheChosenCiphersAlone) {
  configuration_.tls.ciphers = "ECDHE-ECDSA-AES256-GCM-SHA384";
  configuration_.tls.cipherSuites = "TLS_AES_256_GCM_SHA384";
  use();
  TestServer server(tls());
  server.enqueue(MockResponse(200).text("agreed"));

  EXPECT_EQ(get(server.url()), "agreed");
}

TEST_F(SecureClientConfigurationTest, offersNoCipherWithoutCertificates) {
  configuration_.tls.ciphers = "aNULL:@SECLEVEL=0";

  EXPECT_THAT(configuration_.problem(), HasSubstr("names no cipher"));
}

constexpr const char* backupPin = "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=";

TEST_F(SecureClientConfigurationTest, acceptsAPinnedKeyAnywhereInTheVerifiedChain) {
  configuration_.tls.pins = {
      {.host = "LOCALHOST", .publicKeys = {configuration_.tls.anchors.front().publicKeyPin(), backupPin}}};
  use();
  TestServer server(tls());
  server.enqueue(MockResponse(200).text("pinned"));

  EXPECT_EQ(get(server.url("/", "localhost")), "pinned");
}

TEST_F(SecureClientConfigurationTest, refusesAServerWithoutAPinnedKeyBeforeAnythingIsSent) {
  configuration_.tls.pins = {{.host = "localhost", .publicKeys = {"B" + std::string(backupPin + 1), backupPin}}};
  configuration_.tls.pins.front().publicKeys.front()[42] = 'A';
  use();
  TestServer server(tls());

  const Error error = failureOf(server.url("/", "localhost"));

  EXPECT_EQ(error.code(), platform::URLErrorCode::serverCertificateUntrusted);
  EXPECT_THAT(reasonOf(error), HasSubstr("none of the public keys that are pinned"));
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(SecureClientConfigurationTest, pinsAnAddressHoweverItIsWritten) {
  configuration_.tls.pins = {{.host = "0:0:0:0:0:0:0:1", .publicKeys = {"B" + std::string(backupPin + 1), backupPin}}};
  use();
  TestServer server({.addresses = {"::1"}, .tls = tls()});

  EXPECT_EQ(failureOf(server.url()).code(), platform::URLErrorCode::serverCertificateUntrusted);
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(SecureClientConfigurationTest, pinsWhatCertificateFilesMakeTrusted) {
  testkit::TemporaryDirectory directory;
  const std::string path = directory.path().string() + "/root.der";
  platform::FileManager::write(Data(root_.certificate().der()), path);
  Corvane::addTrustedCertificate(URL::file(path));
  configuration_.tls.anchors.clear();
  configuration_.tls.pins = {{.host = "localhost", .publicKeys = {rootOnly().front().publicKeyPin(), backupPin}}};
  use();
  TestServer server(tls());
  server.enqueue(MockResponse(200).text("pinned"));

  EXPECT_EQ(get(server.url("/", "localhost")), "pinned");
}

TEST_F(SecureClientConfigurationTest, writesTheSecretsOfConnectionsWhereItIsToldTo) {
  testkit::TemporaryDirectory directory;
  const std::string path = directory.path().string() + "/keys";
  configuration_.tls.keyLogPath = path;
  use();
  TestServer server(tls());
  server.enqueue(MockResponse(200).text("logged"));
  get(server.url());

  EXPECT_THAT(platform::FileManager::contentsIfReadable(path).value().text(), HasSubstr("CLIENT_TRAFFIC_SECRET_0 "));
}

TEST_F(SecureClientConfigurationTest, failsWhereAServerDoesNotSpeakHTTP2AndNothingElseIsAllowed) {
  configuration_.connections.httpVersions = HTTPVersions::http2Only;
  use();
  TestServer server(tls());

  EXPECT_EQ(failureOf(server.url()).code(), platform::URLErrorCode::secureConnectionFailed);
  EXPECT_EQ(server.requestCount(), 0);
  server.takeFailures();
}

TEST_F(ClientConfigurationTest, connectsToAFixedAddressInPlaceOfALookUp) {
  configuration_.connections.hostAddresses = {{"API.example.test", {"127.0.0.1"}}};
  use();
  TestServer server;
  server.enqueue(MockResponse(200).text("mapped"));

  EXPECT_EQ(get("http://api.example.test:" + std::to_string(server.port()) + "/"), "mapped");
  EXPECT_EQ(server.takeRequest().header("Host"), "api.example.test:" + std::to_string(server.port()));
}

TEST_F(ClientConfigurationTest, findsNoHostWithoutAnAddressOfTheOnlyVersion) {
  configuration_.connections.ipVersions = IPVersions::ipv6Only;
  use();
  TestServer server;

  EXPECT_EQ(failureOf(server.url()).code(), platform::URLErrorCode::cannotFindHost);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(ClientConfigurationTest, connectsFromTheLocalAddress) {
  configuration_.connections.localAddress = "127.0.0.1";
  use();
  TestServer server;
  server.enqueue(MockResponse(200).text("bound"));

  EXPECT_EQ(get(server.url()), "bound");
}

TEST_F(ClientConfigurationTest, saysSoWhereTheLocalAddressIsOfAnotherMachine) {
  configuration_.connections.localAddress = "192.0.2.1";
  use();
  TestServer server;

  EXPECT_EQ(failureOf(server.url()).code(), platform::URLErrorCode::cannotConnectToHost);
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(ClientConfigurationTest, reachesAServerOnAUnixSocket) {
  testkit::TemporaryDirectory directory;
  const std::string path = directory.path().string() + "/socket";
  const platform::detail::FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.size(), sizeof address.sun_path);
  std::copy(path.begin(), path.end(), address.sun_path);
  ASSERT_EQ(::bind(listener.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(::listen(listener.number(), 1), 0);
  std::string received;
  std::thread server([&] {
    const platform::detail::FileDescriptor client(::accept4(listener.number(), nullptr, nullptr, SOCK_CLOEXEC));
    char piece[1000];
    while (!received.ends_with("\r\n\r\n")) {
      const ssize_t count = ::recv(client.number(), piece, sizeof piece, 0);
      if (count <= 0) return;
      received.append(piece, static_cast<std::size_t>(count));
    }
    const std::string response = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nConnection: close\r\n\r\nlocal";
    static_cast<void>(::send(client.number(), response.data(), response.size(), MSG_NOSIGNAL));
  });
  configuration_.connections.unixSocketPath = path;
  use();

  const auto result = ServiceGet{.url = "http://daemon/status"}.send().result();
  ::shutdown(listener.number(), SHUT_RDWR);
  server.join();

  ASSERT_FALSE(result.error()) << result.error()->message();
  EXPECT_THAT(received, HasSubstr("GET /status HTTP/1.1\r\nHost: daemon\r\n"));
}

TEST_F(ClientConfigurationTest, namesTheUnixSocketThatNobodyListensAt) {
  configuration_.connections.unixSocketPath = "/nowhere/socket";
  use();

  const Error error = failureOf("http://daemon/");

  EXPECT_EQ(error.code(), platform::URLErrorCode::cannotConnectToHost);
  EXPECT_THAT(reasonOf(error), HasSubstr("/nowhere/socket"));
}

TEST_F(ClientConfigurationTest, closesConnectionsThatNobodyUsesWhenItIsTold) {
  configuration_.connections.idleLifetime = 0;
  use();
  TestServer server;
  server.enqueue(MockResponse(200).text("once"));

  EXPECT_EQ(get(server.url()), "once");

  EXPECT_TRUE(server.waitUntilAllClosed());
}

TEST_F(ClientConfigurationTest, storesNoCookiesWhereTheyAreOff) {
  configuration_.storesCookies = false;
  use();
  TestServer server;
  server.enqueue(MockResponse(200).header("Set-Cookie", "a=1"));
  server.enqueue(MockResponse(200));

  get(server.url());
  get(server.url());

  server.takeRequest();
  EXPECT_FALSE(server.takeRequest().header("Cookie"));
}

TEST_F(ClientConfigurationTest, appliesToNewRequestsOnceItIsReplaced) {
  TestServer server;
  server.handleAll([](const auto&) { return MockResponse(200).text("12345"); });
  EXPECT_EQ(get(server.url()), "12345");

  configuration_.maximumBodyBytes = 4;
  use();
  EXPECT_EQ(failureOf(server.url()).code(), platform::URLErrorCode::dataLengthExceedsMaximum);

  HTTPClientConfiguration::remove("service");
  EXPECT_EQ(get(server.url()), "12345");
}

TEST_F(ClientConfigurationTest, isTheDefaultForRequestsWithoutOneOfTheirOwn) {
  TestServer server;
  server.handleAll([](const auto&) { return MockResponse(200).text("12345"); });
  configuration_.maximumBodyBytes = 4;
  HTTPClientConfiguration::setDefault(configuration_);
  HTTPClientConfiguration::set("service", {});

  EXPECT_EQ(get(server.url()), "12345");
  const auto result = DataGetRequest(server.url()).send().result();

  ASSERT_TRUE(result.error());
  EXPECT_EQ(HTTPClientConfiguration::current().maximumBodyBytes, 4);
  EXPECT_GT(HTTPClientConfiguration::current("service").maximumBodyBytes, 4);
}

struct Refused {
  std::string sentence;
  std::function<void(HTTPClientConfiguration&)> make;
};

class RefusedConfigurationTest : public ClientConfigurationTest, public ::testing::WithParamInterface<Refused> {};

TEST_P(RefusedConfigurationTest, isToldWhenItIsSet) {
  GetParam().make(configuration_);

  EXPECT_THAT(configuration_.problem(), HasSubstr(GetParam().sentence));
  try {
    use();
    FAIL() << "it was set";
  } catch (const Error& error) {
    EXPECT_EQ(error.domain(), "NSOSStatusErrorDomain");
    EXPECT_EQ(error.message(), configuration_.problem());
  }
}

INSTANTIATE_TEST_SUITE_P(
    ClientConfigurationTest, RefusedConfigurationTest,
    ::testing::Values(
        Refused{"names no cipher", [](auto& c) { c.tls.ciphers = "NONSENSE"; }},
        Refused{"no cipher suite", [](auto& c) { c.tls.cipherSuites = "NONSENSE"; }},
        Refused{"two different pins", [](auto& c) { c.tls.pins = {{.host = "h", .publicKeys = {backupPin}}}; }},
        Refused{"two different pins",
                [](auto& c) { c.tls.pins = {{.host = "h", .publicKeys = {backupPin, backupPin}}}; }},
        Refused{"not the base64", [](auto& c) { c.tls.pins = {{.host = "h", .publicKeys = {"AAAA", backupPin}}}; }},
        Refused{"not the name of a host", [](auto& c) { c.tls.pins = {{.host = "a/b", .publicKeys = {backupPin}}}; }},
        Refused{"without zeros before them",
                [](auto& c) { c.tls.pins = {{.host = "010.0.0.1.", .publicKeys = {backupPin}}}; }},
        Refused{"no host is called",
                [](auto& c) { c.tls.pins = {{.host = "*.example.com", .publicKeys = {backupPin}}}; }},
        Refused{"there is none", [](auto& c) { c.tls.trustsOnlyAnchors = true; }},
        Refused{"cannot be written", [](auto& c) { c.tls.keyLogPath = "/nowhere/keys"; }},
        Refused{"is not an IP address", [](auto& c) { c.connections.hostAddresses = {{"h", {"one"}}}; }},
        Refused{"without zeros before them",
                [](auto& c) { c.connections.hostAddresses = {{"h", {"127.0.0.1", "010.0.0.1"}}}; }},
        Refused{"without zeros before them", [](auto& c) { c.connections.localAddress = "127.1"; }},
        Refused{"no address", [](auto& c) { c.connections.hostAddresses = {{"h", {}}}; }},
        Refused{"local address", [](auto& c) { c.connections.localAddress = "here"; }},
        Refused{"too long", [](auto& c) { c.connections.unixSocketPath = std::string(200, 'p'); }},
        Refused{"negative", [](auto& c) { c.connections.idleLifetime = -1; }},
        Refused{"connections in all is not positive", [](auto& c) { c.connections.maximumConnections = 0; }},
        Refused{"connections in all is not positive", [](auto& c) { c.connections.maximumConnections = -1; }},
        Refused{"requests per second", [](auto& c) { c.connections.maximumRequestsPerSecondPerHost = 0; }},
        Refused{"requests per second", [](auto& c) { c.connections.maximumRequestsPerSecondPerHost = -0.5; }},
        Refused{"requests per second", [](auto& c) { c.connections.maximumRequestsPerSecondPerHost = std::nan(""); }},
        Refused{"bytes per second is not positive", [](auto& c) { c.connections.maximumBytesPerSecond = 0; }},
        Refused{"bytes per second is not positive", [](auto& c) { c.connections.maximumBytesPerSecond = -1; }},
        Refused{"negative", [](auto& c) { c.maximumBodyBytes = -1; }},
        Refused{"negative", [](auto& c) { c.maximumConnectionsPerHost = -1; }}));

}  // namespace
}  // namespace corvane
