#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CorvaneTesting/Certificate.hpp"

namespace corvane::testing {

/// When a certificate is valid, counted from the moment it is made.
struct Validity {
  /// Negative: so long ago. Default: an hour ago.
  std::chrono::seconds from = -std::chrono::hours(1);
  /// Negative: it is over. Default: in a day.
  std::chrono::seconds until = std::chrono::hours(24);

  /// Two days ago until an hour ago.
  static Validity expired() { return {-std::chrono::hours(48), -std::chrono::hours(1)}; }
  /// From tomorrow until the day after.
  static Validity notYet() { return {std::chrono::hours(24), std::chrono::hours(48)}; }
};

/// What an issuer is asked to certify.
struct CertificateRequest {
  /// The subject's name; what counts for servers are the alternative names below.
  std::string commonName = "Corvane Test";
  /// Subject alternative names; a wildcard is written as it stands in a certificate: "*.example.test".
  std::vector<std::string> dnsNames = {};
  /// Subject alternative names of that kind, numeric: "127.0.0.1", "::1".
  std::vector<std::string> ipAddresses = {};
  /// Default: from an hour ago until tomorrow.
  Validity validity = {};
  /// In OpenSSL's spelling: "digitalSignature", "keyEncipherment,digitalSignature" … Left out when empty.
  std::string keyUsage = "digitalSignature";
  /// In OpenSSL's spelling: "serverAuth", "clientAuth" … Left out when empty.
  std::string extendedKeyUsage = "serverAuth";

  /// For servers on the loopback interface: localhost, 127.0.0.1 and ::1.
  static CertificateRequest localhost();
};

/// Issues certificates for tests: a root that signs itself, or an intermediate below another authority. All keys
/// are EC P-256, which take well under a millisecond to make. Copies are the same authority.
///
/// ```
/// CertificateAuthority root;
/// TestServer server(Tls(root.issue(CertificateRequest::localhost())));
/// ... trust root.certificate().der() ...
/// ```
class CertificateAuthority {
 public:
  /// A root that signs itself.
  explicit CertificateAuthority(std::string name = "Corvane Test Root", Validity validity = {});

  /// An authority that this one certifies. A path length of 0 forbids further authorities below it.
  CertificateAuthority intermediate(std::string name = "Corvane Test Intermediate", Validity validity = {},
                                    std::optional<int> pathLength = std::nullopt) const;
  /// A certificate for an end entity, with what leads from it to the root.
  Certificate issue(const CertificateRequest& request) const;
  /// The authority's own certificate.
  const Certificate& certificate() const;

  /// A certificate for an end entity that vouches for itself.
  static Certificate selfSigned(const CertificateRequest& request);

 private:
  struct State;

  explicit CertificateAuthority(std::shared_ptr<const State> state) : state_(std::move(state)) {}

  std::shared_ptr<const State> state_;
};

}  // namespace corvane::testing
