// What requests to one service have in common: a client certificate, pinned keys, a fixed address.
//
//   example_ClientConfiguration https://localhost:8443/ authority.pem client.p12

#include <Corvane/Corvane.hpp>
#include <Platform/Foundation/FileManager.hpp>
#include <Platform/Loading/URLResponse.hpp>
#include <cstdio>
#include <cstdlib>

using namespace corvane;

/// Redirects of the shop stay where they are, but for those to its own pictures.
void configureShop() {
  HTTPClientConfiguration shop;
  shop.redirects.limit = 3;
  shop.redirects.decide = [](const platform::HTTPURLResponse& response,
                             platform::URLRequest proposed) -> std::optional<platform::URLRequest> {
    const bool isPicture = proposed.url.host() == "pictures.example.com";
    if (!isPicture && proposed.url.host() != response.url().host()) return std::nullopt;  // the response stands
    return proposed;
  };
  HTTPClientConfiguration::set("shop", shop);
}

/// A crawler that is a burden to nobody.
void configureCrawler() {
  HTTPClientConfiguration crawler;
  crawler.maximumConnectionsPerHost = 2;
  crawler.connections.maximumConnections = 20;
  crawler.connections.maximumRequestsPerSecondPerHost = 5;
  crawler.connections.maximumBytesPerSecond = 1'000'000;
  HTTPClientConfiguration::set("crawler", crawler);
}

struct GetBalance : DataGetRequestable<GetBalance> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = "payments";
  HTTPHeaders sharedHeaders() const { return {}; }
};

Data contents(const char* path) { return platform::FileManager::contents(path); }

std::string passPhrase() {
  const char* phrase = std::getenv("PASS_PHRASE");
  return phrase ? phrase : "";
}

void configure(const char* authority, const char* client) {
  HTTPClientConfiguration payments;
  payments.tls.minimumVersion = TLSVersion::v1_3;
  payments.tls.anchors = SecCertificate::listFromPEM(contents(authority));
  payments.tls.trustsOnlyAnchors = true;
  payments.tls.identity = SecIdentity::fromPKCS12(contents(client), passPhrase);
  payments.connections.idleLifetime = std::chrono::seconds(20);
  HTTPClientConfiguration::set("payments", payments);
}

int main(int argc, char** argv) try {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s URL AUTHORITY.pem CLIENT.p12\n", argv[0]);
    return 2;
  }
  configure(argv[2], argv[3]);
  configureShop();
  configureCrawler();
  std::printf("%s\n", GetBalance{.url = argv[1]}.send().get().body.text().c_str());
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
