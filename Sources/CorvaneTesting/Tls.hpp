#pragma once

#include <optional>
#include <string>
#include <utility>

#include "CorvaneTesting/Certificate.hpp"
#include "CorvaneTesting/Gate.hpp"

namespace corvane::testing {

enum class TlsVersion { v1_2, v1_3 };

/// How a server speaks TLS.
struct Tls {
  /// PEM: the leaf first, then what the server sends along of its issuers.
  std::string certificateChain;
  /// PEM.
  std::string key;
  TlsVersion oldest = TlsVersion::v1_2;
  TlsVersion newest = TlsVersion::v1_3;
  /// Whether connections that are closed in good order send the closing alert.
  bool saysGoodbye = true;
  /// Resets connections that are still in their handshake once it is open.
  std::optional<Gate> handshakeReset;

  Tls(std::string certificateChainPem, std::string keyPem)
      : certificateChain(std::move(certificateChainPem)), key(std::move(keyPem)) {}
  /// The certificate, the intermediates that issued it, and its key.
  Tls(const Certificate& certificate) : Tls(certificate.chainPem(), certificate.keyPem()) {}

  Tls& versions(TlsVersion from, TlsVersion to) {
    oldest = from;
    newest = to;
    return *this;
  }
  Tls& resetHandshakesWhenOpen(Gate gate) {
    handshakeReset = std::move(gate);
    return *this;
  }
  Tls& withoutGoodbye() {
    saysGoodbye = false;
    return *this;
  }
};

}  // namespace corvane::testing
