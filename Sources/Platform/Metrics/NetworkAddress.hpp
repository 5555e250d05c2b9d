#pragma once

#include <cstdint>
#include <string>

#include "Platform/Export.hpp"

namespace platform {

/// One end of a connection, in numbers.
///
///     NetworkAddress{.host = "2001:db8::7", .port = 443}.text();  // "[2001:db8::7]:443"
struct CORVANE_API NetworkAddress {
  /// An IPv4 or IPv6 address, without brackets; or the path of a Unix socket. Empty when it is not known, and at the
  /// client's end of a Unix socket, which has no path.
  std::string host;
  /// 0 for a Unix socket.
  std::uint16_t port = 0;

  /// "127.0.0.1:8080", "[::1]:8080", the path of a Unix socket, or nothing.
  std::string text() const;

  friend bool operator==(const NetworkAddress&, const NetworkAddress&) = default;
};

}  // namespace platform
