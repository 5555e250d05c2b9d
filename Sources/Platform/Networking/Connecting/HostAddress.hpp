#pragma once

#include <sys/socket.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace platform::networking {

/// An IPv4 or IPv6 address of a host, without a port.
class HostAddress {
 public:
  /// Of numbers alone, so that nothing has to be looked up: an IPv4 address in each of the spellings of `inet_aton`, or
  /// an IPv6 address without brackets, with its zone if it has one (RFC 4007, 11). Absent for a name.
  static std::optional<HostAddress> fromText(const std::string& text);
  /// The same, but an IPv4 address is four decimal numbers without zeros before them (inet_pton(3)). For what is
  /// configured: by `inet_aton`, "10" is 0.0.0.10 and "010.0.0.1" is 8.0.0.1, and nobody who writes them means that.
  static std::optional<HostAddress> fromStrictText(const std::string& text);
  /// Absent when it is of another family.
  static std::optional<HostAddress> fromSystem(const sockaddr* address);
  static HostAddress loopback4();
  static HostAddress loopback6();

  bool isIPv6() const { return isIPv6_; }
  /// A loopback address or the unspecified one, also when an IPv4 address is written as one of IPv6.
  bool isThisMachine() const;
  /// AF_INET or AF_INET6.
  int family() const { return isIPv6_ ? AF_INET6 : AF_INET; }
  /// As they are on the network: 4 or 16.
  std::span<const std::byte> bytes() const { return std::span(bytes_).first(isIPv6_ ? 16 : 4); }
  /// The IPv4 address that an IPv6 address stands for (RFC 4291, 2.5.5.2); the same otherwise.
  HostAddress unmapped() const;
  /// Fills in what `connect` wants, and returns how much of it counts.
  socklen_t fill(sockaddr_storage& out, std::uint16_t port) const;

  friend bool operator==(const HostAddress&, const HostAddress&) = default;

 private:
  HostAddress() = default;

  bool isIPv6_ = false;
  /// The first four with IPv4.
  std::array<std::byte, 16> bytes_{};
  /// The interface of a link-local address; 0 otherwise.
  std::uint32_t scope_ = 0;
};

/// The addresses of a host, in the order in which the system prefers them (RFC 6724). Never empty, never changed.
using HostAddresses = std::shared_ptr<const std::vector<HostAddress>>;

/// In the order in which they are to be tried: the families take turns, the preferred one first (RFC 8305, 4). At most
/// `limit` of them.
std::vector<HostAddress> interleaved(const std::vector<HostAddress>& addresses, std::size_t limit);

}  // namespace platform::networking
