#include <Corvane/Corvane.hpp>
#include <CorvaneTesting/CertificateAuthority.hpp>
#include <CorvaneTesting/ConnectionRecord.hpp>
#include <CorvaneTesting/Ports.hpp>
#include <CorvaneTesting/TestServer.hpp>
#include <CorvaneTesting/TrustedAuthority.hpp>
#include <cstdio>

using namespace corvane;
using namespace corvane::testkit;

void overTLS() {
  const CertificateAuthority authority;
  const TrustedAuthority trusted(authority);  // by the whole process, as long as it lives
  const Certificate certificate = authority.issue(CertificateRequest::localhost());

  TestServer server(ServerOptions{.tls = Tls(certificate).versions(TlsVersion::v1_3, TlsVersion::v1_3)});
  server.enqueue(MockResponse().text("Hello"));
  std::printf("%s\n", DataGetRequest(server.url("/", "localhost")).send().get().body.text().c_str());
  for (const ConnectionRecord& each : server.connections()) std::printf("%s\n", each.tlsVersion.c_str());
}

void brokenOff() {
  TestServer server;
  server.enqueue(MockResponse().chunked({Chunk("Hel"), Chunk("lo")}));
  server.enqueue(MockResponse().text("Hello").end(Ending::reset, Moment::insideBody, 2));
  std::printf("%s\n", DataGetRequest(server.url()).send().get().body.text().c_str());
  std::printf("%s\n", DataGetRequest(server.url()).send().result().error()->message().c_str());
}

void unreachable() {
  const SilentPort port;  // takes no connection
  struct Impatient : DataGetRequestable<Impatient> {
    URL url;
    double timeoutInterval = 0.05;
    HTTPHeaders sharedHeaders() const { return {}; }
    explicit Impatient(URL where) : url(std::move(where)) {}
  };
  const auto result = Impatient(URL(port.url())).send().result();
  std::printf("%lld\n", static_cast<long long>(result.error()->code()));
}

int main() {
  overTLS();
  brokenOff();
  unreachable();
}
