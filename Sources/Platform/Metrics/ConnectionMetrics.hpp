#pragma once

#include <string>

#include "Platform/Metrics/NetworkAddress.hpp"

namespace platform {

/// What is known of a connection. All transactions on a connection share one of these.
struct ConnectionMetrics {
  /// The protocol by its name of RFC 7301: "http/1.1" or "h2". Empty if the connection could not be made.
  std::string protocol;
  /// The client's end.
  NetworkAddress localAddress;
  /// The other end: the server's or, of a connection through a proxy, the proxy's.
  NetworkAddress remoteAddress;
  /// "TLSv1.3" or "TLSv1.2"; empty for a connection without TLS, or whose handshake failed.
  std::string tlsVersion;
  /// OpenSSL's name of the cipher, for example "TLS_AES_256_GCM_SHA384"; empty as `tlsVersion` is.
  std::string tlsCipher;
  /// Whether the handshake resumed a TLS session (RFC 8446, 2.2).
  bool isTLSResumed = false;

  friend bool operator==(const ConnectionMetrics&, const ConnectionMetrics&) = default;
};

}  // namespace platform
