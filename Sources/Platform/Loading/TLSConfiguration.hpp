#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Security/SecCertificate.hpp"
#include "Platform/Security/SecIdentity.hpp"

namespace platform {

/// A version of TLS.
enum class TLSVersion : std::uint8_t {
  v1_2,  ///< RFC 5246
  v1_3   ///< RFC 8446
};

/// The public keys that a host may have. Pins are in the form of RFC 7469: the SHA-256 of a certificate's public key in
/// base64, as `SecCertificate::publicKeyPin` gives it.
struct TLSPins {
  /// A host name, in any case, or an IP address; no wildcard.
  std::string host;
  /// Whether the pins are for the hosts below it, too. Default: false.
  bool includesSubdomains = false;
  /// At least two, since a host whose only pinned key is lost could not be reached any more: one is a backup, which no
  /// certificate has yet (RFC 7469, 4.3). A connection needs one of them in the verified chain.
  std::vector<std::string> publicKeys;
};

/// How a session's connections are secured. A default-constructed value is what sessions do without it.
struct CORVANE_API TLSConfiguration {
  /// Older versions are refused. Default: 1.2, the oldest that there is.
  TLSVersion minimumVersion = TLSVersion::v1_2;
  /// The ciphers of TLS 1.2 that are offered, as an OpenSSL list (ciphers(1)); names in it that OpenSSL does not know
  /// are left out. Ciphers without certificates or encryption are never offered. Empty, the default: OpenSSL's own.
  std::string ciphers;
  /// The cipher suites of TLS 1.3 that are offered, separated by colons. Empty, the default: OpenSSL's own.
  std::string cipherSuites;
  /// What is shown to every server that asks for a certificate, once it is trusted: also to one that a redirect leads
  /// to. For a single service, use it with an identifier of its own and `trustsOnlyAnchors`. Absent, the default:
  /// nothing.
  std::optional<SecIdentity> identity;
  /// Anchors in addition to the system's. Default: none.
  std::vector<SecCertificate> anchors;
  /// Whether only `anchors` count, without the system's. Default: false.
  bool trustsOnlyAnchors = false;
  /// Hosts that may have only these keys, beside everything else that is asked of a server. Where several are for a
  /// host, each must be met. Default: none.
  std::vector<TLSPins> pins;
  /// For debugging only: the secrets of every connection are appended to this file, so that whoever reads it can read
  /// what was sent (the format of SSLKEYLOGFILE, RFC 9850). Made for its owner alone where it does not exist. Empty,
  /// the default: nothing is written. The environment is never looked at.
  std::string keyLogPath;

  /// Empty when sessions can use it, otherwise a sentence that names the fault: a list without any cipher that OpenSSL
  /// knows, pins for what is no host, fewer than two different pins for a host, a pin that is not 32 bytes in base64, a
  /// key log that cannot be written, `trustsOnlyAnchors` without anchors.
  std::string problem() const;
};

}  // namespace platform
