#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Platform/Loading/ProxyConfiguration.hpp"

namespace platform {

/// The versions of HTTP that a session speaks.
enum class HTTPVersions : std::uint8_t {
  /// Over TLS what the server prefers (RFC 7301), in the clear HTTP/1.1.
  automatic,
  /// HTTP/1.1 alone.
  http1Only,
  /// HTTP/2 alone, in the clear with prior knowledge (RFC 9113, 3.3). A server that does not speak it is an error.
  http2Only
};

/// The versions of IP that a session connects by.
enum class IPVersions : std::uint8_t { any, ipv4Only, ipv6Only };

/// Fixed addresses of a host, in place of a look-up.
struct HostAddressMapping {
  /// A host name, in any case.
  std::string host;
  /// IPv4 or IPv6 addresses, without brackets; the numbers of an IPv4 address are decimal, without zeros before them.
  /// At least one.
  std::vector<std::string> addresses;
};

/// How a session connects. A default-constructed value is what sessions do without it.
struct CORVANE_API ConnectionConfiguration {
  /// Default: automatic.
  HTTPVersions httpVersions = HTTPVersions::automatic;
  /// A host without an address of that version is not found. Default: any.
  IPVersions ipVersions = IPVersions::any;
  /// Hosts with fixed addresses. The URL, the Host field and the name in certificates stay as they are. Default: none.
  std::vector<HostAddressMapping> hostAddresses;
  /// The address of this machine that connections come from; only hosts with addresses of its version can be reached.
  /// Empty, the default: the system's choice.
  std::string localAddress;
  /// The network interface, such as "eth0", that connections go through (SO_BINDTODEVICE, socket(7)). Empty, the
  /// default: the system's choice.
  std::string interfaceName;
  /// The path of a Unix socket (unix(7)) that every connection goes to, whatever host the URL names. No name is looked
  /// up. Empty, the default: TCP.
  std::string unixSocketPath;
  /// A proxy that connections go through. Fixed addresses are for its own name and for hosts that are reached without
  /// it, as the proxy looks up the others. Not together with a Unix socket. Default: none.
  ProxyConfiguration proxy;
  /// The maximum number of connections at a time to all hosts together, at least 1: those that are being made and idle
  /// ones count. When it is reached, an idle connection is closed for a host that needs one; otherwise requests wait,
  /// those to one host in order, and hosts with fewer connections come first. `timeoutInterval` and `connectTimeout` do
  /// not count meanwhile, as while a request waits because of the limit for its host; the deadline of a call does. With
  /// fewer connections than busy hosts each request may need a new one. One that is being made counts as one, also
  /// while it tries two addresses at once (RFC 8305). Absent, the default: no limit.
  std::optional<int> maximumConnections;
  /// The maximum number of requests to one host (scheme, host and port) each second: positive, also less than 1, as 0.5
  /// for one in two seconds. They are spaced evenly, in the order in which they were made; redirects and repetitions
  /// count. Those that had to wait for connections, 8 at most, may then follow one another at once. `timeoutInterval`
  /// does not count while a request waits for its turn; the deadline of a call does. Requests in the clear through an
  /// HTTP proxy are all to one host, the proxy. Absent, the default: no limit.
  std::optional<double> maximumRequestsPerSecondPerHost;
  /// The maximum number of bytes per second that all connections together send and receive, both directions added:
  /// positive. Requests and responses count with their heads and HTTP/2 frames, what TLS and the making of connections
  /// add does not; a tenth of a second's bytes may move at once. Connections take turns, and a server is slowed down by
  /// not being read. `timeoutInterval` does not count while a connection waits for its turn; the deadline of a call
  /// does. Absent, the default: no limit.
  std::optional<std::int64_t> maximumBytesPerSecond;
  /// How long a connection that nobody uses is kept. Zero: it is closed at once. Default: 90 seconds.
  Seconds idleLifetime = 90;

  /// Empty when sessions can use it, otherwise a sentence that names the fault: a host or an address that is none, a
  /// path that is too long for a Unix socket, a proxy that cannot be used (`ProxyConfiguration::problem`), an idle time
  /// that is negative or not a number, a limit that is not positive.
  std::string problem() const;
};

}  // namespace platform
