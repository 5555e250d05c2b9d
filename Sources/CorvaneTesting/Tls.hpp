#pragma once

#include <optional>
#include <string>
#include <utility>

#include "CorvaneTesting/Certificate.hpp"
#include "CorvaneTesting/Latch.hpp"

namespace corvane::testkit {

/// The versions of TLS that a server can use.
enum class TlsVersion { v1_2, v1_3 };

/// The TLS configuration of a server.
struct Tls {
  /// PEM: the leaf first, then the issuers' certificates that the server sends.
  std::string certificateChain;
  /// The private key, as PEM.
  std::string key;
  /// The oldest version that the server accepts.
  TlsVersion oldest = TlsVersion::v1_2;
  /// The newest version that the server accepts.
  TlsVersion newest = TlsVersion::v1_3;
  /// Whether the server sends the closing alert when it closes a connection properly.
  bool saysGoodbye = true;
  /// Whether clients get sessions that they can resume.
  bool offersSessions = true;
  /// PEM: the certificates whose clients are let in; clients must show one. Empty: no client is asked for one.
  std::string clientAuthorities = {};
  /// When this latch opens, connections that are still in their handshake are reset.
  std::optional<Latch> handshakeReset;

  Tls(std::string certificateChainPem, std::string keyPem)
      : certificateChain(std::move(certificateChainPem)), key(std::move(keyPem)) {}
  /// The certificate, the intermediates that issued it, and its key.
  Tls(const Certificate& certificate) : Tls(certificate.chainPem(), certificate.keyPem()) {}

  /// Accepts only the versions from `from` to `to`.
  Tls& versions(TlsVersion from, TlsVersion to) {
    oldest = from;
    newest = to;
    return *this;
  }
  /// Lets in only clients with a certificate that this authority issued.
  Tls& demandClientCertificate(const Certificate& authority) {
    clientAuthorities = authority.pem();
    return *this;
  }
  /// Resets handshakes under way when the latch opens; see `handshakeReset`.
  Tls& resetHandshakesWhenOpen(Latch latch) {
    handshakeReset = std::move(latch);
    return *this;
  }
  /// Gives clients no sessions, so that each connection makes a full handshake.
  Tls& withoutSessions() {
    offersSessions = false;
    return *this;
  }
  /// Omits the closing alert, so that a body without a length counts as truncated.
  Tls& withoutGoodbye() {
    saysGoodbye = false;
    return *this;
  }
};

}  // namespace corvane::testkit
