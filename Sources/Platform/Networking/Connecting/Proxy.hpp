#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/Connecting/Route.hpp"

namespace platform::networking {

class ProxyDigest;

/// All addresses that begin with the same bits (RFC 4632, RFC 4291, 2.3).
struct AddressNetwork {
  HostAddress address;
  unsigned prefixBits = 0;

  /// "10.0.0.0/8", "fd00::/8", or one address: four decimal numbers (RFC 4632, 3.1), or an IPv6 address without a zone.
  /// One of IPv6 that stands for IPv4 ("::ffff:10.0.0.0/104") is that of IPv4. Absent for anything else.
  static std::optional<AddressNetwork> fromText(std::string_view text);
  bool contains(const HostAddress& each) const;
};

/// The proxy of a pool, and the hosts that are reached without it.
struct Proxy {
  enum class Kind : std::uint8_t { none, http, socks5 };

  Kind kind = Kind::none;
  /// As in an `Origin`.
  std::string host;
  std::uint16_t port = 0;
  /// Of an HTTP proxy: the value of Proxy-Authorization, sent before it asks. Empty: none.
  std::string authorization;
  /// Of an HTTP proxy: what responds to its challenges, in place of `authorization`. Null: nothing.
  std::shared_ptr<ProxyDigest> digest;
  /// Of a SOCKS proxy; both empty: none.
  std::string user;
  std::string password;
  /// Domains whose hosts are reached directly, the domain's own name included: in lower case, without dots at either
  /// end.
  std::vector<std::string> directDomains;
  /// The same of hosts that are addresses.
  std::vector<AddressNetwork> directNetworks;
  /// The same of this machine (`isThisMachine`).
  bool exceptsThisMachine = true;

  /// Whether requests to the host of that name, as it is in an `Origin`, go through the proxy. Looks no name up.
  bool serves(const std::string& name) const;
  /// The way of a request to that origin. `canForward`: HTTP/1.1 may be spoken with the proxy itself.
  Route routeTo(const Origin& origin, bool canForward) const;
  /// For messages, without credentials: `the HTTP proxy "name", port 8080`.
  std::string description() const;
};

}  // namespace platform::networking
