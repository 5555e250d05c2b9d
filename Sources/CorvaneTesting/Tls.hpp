#pragma once

#include <optional>
#include <string>
#include <utility>

#include "CorvaneTesting/Certificate.hpp"
#include "CorvaneTesting/Latch.hpp"

namespace corvane::testing {

/// The versions of TLS that a server may speak.
enum class TlsVersion { v1_2, v1_3 };

/// How a server speaks TLS.
struct Tls {
  /// PEM: the leaf first, then what the server sends along of its issuers.
  std::string certificateChain;
  /// PEM.
  std::string key;
  /// The oldest version that is spoken.
  TlsVersion oldest = TlsVersion::v1_2;
  /// The newest version that is spoken.
  TlsVersion newest = TlsVersion::v1_3;
  /// Whether connections that are closed in good order send the closing alert.
  bool saysGoodbye = true;
  /// Whether clients get sessions that they may resume.
  bool offersSessions = true;
  /// Resets connections that are still in their handshake once it is open.
  std::optional<Latch> handshakeReset;

  Tls(std::string certificateChainPem, std::string keyPem)
      : certificateChain(std::move(certificateChainPem)), key(std::move(keyPem)) {}
  /// The certificate, the intermediates that issued it, and its key.
  Tls(const Certificate& certificate) : Tls(certificate.chainPem(), certificate.keyPem()) {}

  /// Speaks these versions only, and those between them.
  Tls& versions(TlsVersion from, TlsVersion to) {
    oldest = from;
    newest = to;
    return *this;
  }
  /// Resets handshakes under way once the latch is open; see `handshakeReset`.
  Tls& resetHandshakesWhenOpen(Latch latch) {
    handshakeReset = std::move(latch);
    return *this;
  }
  /// Gives clients no sessions, so that each connection is a new one to them.
  Tls& withoutSessions() {
    offersSessions = false;
    return *this;
  }
  /// Leaves out the closing alert, so that a body without a length counts as cut off.
  Tls& withoutGoodbye() {
    saysGoodbye = false;
    return *this;
  }
};

}  // namespace corvane::testing
