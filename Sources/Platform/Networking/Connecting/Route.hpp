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

/// The way to an origin. Everything that must be equal for two requests to share a connection is in here; proxies and
/// fixed addresses will be, too.
struct Route {
  Origin origin;

  friend bool operator==(const Route&, const Route&) = default;
};

}  // namespace platform::networking
