#pragma once

#include <string>
#include <vector>

namespace corvane::testkit {

/// The server's record of a connection.
struct ConnectionRecord {
  /// Counted from 1, in the order of acceptance.
  int number = 0;
  /// False once either side closed it.
  bool isOpen = true;
  /// The number of complete requests on this connection.
  int requestCount = 0;

  /// The server name that the client asked for; empty without TLS or without that extension.
  std::string sni;
  /// "TLSv1.2", "TLSv1.3"; empty until a handshake is done.
  std::string tlsVersion;
  /// Whether the TLS handshake resumed an earlier session.
  bool resumedSession = false;
  /// The server's reason why the handshake failed; empty if it did not.
  std::string handshakeError;
  /// The TLS alerts that the client sent, by name: "unknown CA", "certificate expired", "close notify" …
  std::vector<std::string> alerts;
};

}  // namespace corvane::testkit
