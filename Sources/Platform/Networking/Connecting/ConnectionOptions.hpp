#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/Connecting/Proxy.hpp"
#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {

/// How the connections of a pool are made and kept.
struct ConnectionOptions {
  enum class Protocols : std::uint8_t { automatic, onlyHTTP1, onlyHTTP2 };

  Protocols protocols = Protocols::automatic;
  /// AF_INET, AF_INET6, or AF_UNSPEC for both.
  int family = AF_UNSPEC;
  /// Addresses in place of a look-up, by the host as it is in an `Origin`.
  std::vector<std::pair<std::string, HostAddresses>> hostAddresses;
  std::optional<HostAddress> localAddress;
  /// Empty: any.
  std::string interfaceName;
  /// Empty: TCP.
  std::string unixSocketPath;
  /// Default: none.
  Proxy proxy;
  /// How many connections there are at a time to all hosts together, idle ones included; 0: no limit.
  std::size_t maximumConnections = 0;
  /// How many requests to a host go out each second, evenly spaced; 0: no limit.
  double requestsPerSecond = 0;
  /// How many bytes all connections together move each second, in both directions; 0: no limit.
  double bytesPerSecond = 0;
  /// How long a connection is kept idle.
  Duration idleLifetime = std::chrono::seconds(90);

  /// The way of a request to that origin.
  Route routeTo(const Origin& origin) const { return proxy.routeTo(origin, protocols != Protocols::onlyHTTP2); }
};

}  // namespace platform::networking
