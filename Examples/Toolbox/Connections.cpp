#include <Corvane/Corvane.hpp>
#include <Platform/Loading/RedirectConfiguration.hpp>
#include <chrono>
#include <cstdio>

using namespace corvane;
using namespace std::chrono_literals;

HTTPClientConfiguration forTheOffice() {
  ConnectionConfiguration connections;
  connections.httpVersions = HTTPVersions::http1Only;
  connections.ipVersions = IPVersions::ipv4Only;
  connections.hostAddresses = {HostAddressMapping{.host = "users.example.com", .addresses = {"127.0.0.1"}}};
  connections.proxy = ProxyConfiguration{.kind = ProxyKind::http, .host = "proxy.example.com", .port = 3128};
  connections.idleLifetime = 30s;

  TLSConfiguration tls;
  tls.minimumVersion = TLSVersion::v1_3;

  platform::RedirectConfiguration redirects;
  redirects.following = platform::RedirectFollowing::sameOrigin;
  redirects.limit = 5;
  return {.connections = connections, .tls = tls, .redirects = redirects};
}

HTTPClientConfiguration withOnePin() {
  const TLSPins pins{.host = "users.example.com", .publicKeys = {"r/mIkG3eEpVdm+u/ko/cwxzOMo1bk4TyHIlByibiA5E="}};
  return {.tls = {.pins = {pins}}};
}

int main() {
  const std::string problem = forTheOffice().problem();
  std::printf("%s\n", problem.empty() ? "fit" : problem.c_str());
  std::printf("%s\n", withOnePin().problem().c_str());
}
