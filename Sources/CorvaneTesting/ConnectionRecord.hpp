#pragma once

#include <string>
#include <vector>

namespace corvane::testing {

/// What the server knows of one connection that a client made.
struct ConnectionRecord {
  /// Counted from 1, in the order of acceptance.
  int number = 0;
  /// False once either side closed it.
  bool isOpen = true;
  /// How many complete requests came on it.
  int requestCount = 0;

  /// The server name that the client asked for; empty without TLS or without that extension.
  std::string sni;
  /// "TLSv1.2", "TLSv1.3"; empty until a handshake is done.
  std::string tlsVersion;
  /// Whether the TLS handshake took up a session from before.
  bool resumedSession = false;
  /// Why the handshake failed, as the server saw it; empty when it did not.
  std::string handshakeError;
  /// The TLS alerts that the client sent, by name: "unknown CA", "certificate expired", "close notify" …
  std::vector<std::string> alerts;
};

}  // namespace corvane::testing
