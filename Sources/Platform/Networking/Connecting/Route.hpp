#pragma once

#include <cstdint>
#include <string>

namespace platform::networking {

/// Whom a request is for, as connections know it (RFC 9110, 4.3.1): hosts are compared as hosts. `host` is in lower
/// case, without brackets, a name or an address (an IPv6 zone stays in it); the port is always there.
struct Origin {
  bool isSecure = false;
  std::string host;
  std::uint16_t port = 0;

  friend bool operator==(const Origin&, const Origin&) = default;
};

/// Where a connection leads. Everything that must be equal for two requests to share a connection is in here, or common
/// to all connections of a pool, as its proxy is.
struct Route {
  enum class Way : std::uint8_t {
    direct,
    tunnelled,  ///< through the pool's proxy, which carries bytes to the origin
    forwarded   ///< `origin` is the proxy itself, which gets requests for any origin (RFC 9112, 3.2.2)
  };

  Origin origin;
  Way way = Way::direct;

  friend bool operator==(const Route&, const Route&) = default;
};

}  // namespace platform::networking
