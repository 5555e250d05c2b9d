#include <Corvane/Corvane.hpp>
#include <CorvaneTesting/CorvaneTesting.hpp>
#include <cstdio>

using namespace corvane::testkit;

// Sends a request to a server of its own, over TLS, and tells in one line what arrived on both sides.
int main() {
  const CertificateAuthority authority;
  const TrustedAuthority trusted(authority);
  TestServer server(Tls(authority.issue(CertificateRequest::localhost())));
  server.enqueue(MockResponse(200).gzipBody("hello"));

  const auto response = corvane::DataGetRequest(server.url("/greeting", "localhost")).send().result();

  if (const auto* error = response.error()) {
    std::printf("error: %s\n", error->message().c_str());
    return 1;
  }
  const ReceivedRequest request = server.takeRequest();
  std::printf("%s %s arrived for %s, and %s came back\n", request.method.c_str(), request.target.c_str(),
              request.sni.c_str(), response.value()->body.text().c_str());
}
