#include "Platform/Loading/Internal/NetworkOptions.hpp"

#include <cstddef>
#include <memory>
#include <utility>

#include "Platform/Loading/Internal/HostName.hpp"
#include "Platform/Loading/Internal/ProxyOptions.hpp"
#include "Platform/Security/SecIdentity.hpp"

namespace platform::detail {

using networking::ConnectionOptions;
using networking::HostAddress;

ConnectionOptions connectionOptions(const ConnectionConfiguration& configuration) {
  ConnectionOptions options;
  switch (configuration.httpVersions) {
    case HTTPVersions::automatic:
      break;
    case HTTPVersions::http1Only:
      options.protocols = ConnectionOptions::Protocols::onlyHTTP1;
      break;
    case HTTPVersions::http2Only:
      options.protocols = ConnectionOptions::Protocols::onlyHTTP2;
      break;
  }
  if (configuration.ipVersions != IPVersions::any)
    options.family = configuration.ipVersions == IPVersions::ipv4Only ? AF_INET : AF_INET6;
  for (const HostAddressMapping& mapping : configuration.hostAddresses) {
    auto addresses = std::make_shared<std::vector<HostAddress>>();
    for (const std::string& text : mapping.addresses) {
      if (const auto address = HostAddress::fromStrictText(text)) addresses->push_back(*address);
    }
    if (auto host = hostName(mapping.host); host && !addresses->empty())
      options.hostAddresses.emplace_back(std::move(*host), std::move(addresses));
  }
  if (!configuration.localAddress.empty())
    options.localAddress = HostAddress::fromStrictText(configuration.localAddress);
  options.interfaceName = configuration.interfaceName;
  options.unixSocketPath = configuration.unixSocketPath;
  options.proxy = proxyOf(configuration.proxy);
  options.maximumConnections = static_cast<std::size_t>(configuration.maximumConnections.value_or(0));
  options.requestsPerSecond = configuration.maximumRequestsPerSecondPerHost.value_or(0);
  options.bytesPerSecond = static_cast<double>(configuration.maximumBytesPerSecond.value_or(0));
  options.idleLifetime = networking::durationOfSeconds(configuration.idleLifetime.count());
  return options;
}

networking::TLSOptions tlsOptions(const TLSConfiguration& configuration, HTTPVersions versions) {
  return {.offersHTTP2 = versions != HTTPVersions::http1Only,
          .offersHTTP1 = versions != HTTPVersions::http2Only,
          .minimumVersion = configuration.minimumVersion == TLSVersion::v1_3 ? TLS1_3_VERSION : TLS1_2_VERSION,
          .ciphers = configuration.ciphers,
          .cipherSuites = configuration.cipherSuites,
          .identity = configuration.identity ? configuration.identity->handle() : nullptr,
          .keyLogPath = configuration.keyLogPath};
}

}  // namespace platform::detail
