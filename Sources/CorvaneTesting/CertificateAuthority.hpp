#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CorvaneTesting/Certificate.hpp"

namespace corvane::testkit {

/// The validity of a certificate, relative to the time of its creation.
struct Validity {
  /// The begin. Negative: in the past. Default: an hour ago.
  std::chrono::seconds from = -std::chrono::hours(1);
  /// The end. Negative: in the past, so that the certificate has expired. Default: in a day.
  std::chrono::seconds until = std::chrono::hours(24);

  /// From two days ago until an hour ago.
  static Validity expired() { return {-std::chrono::hours(48), -std::chrono::hours(1)}; }
  /// From tomorrow until the day after.
  static Validity notYet() { return {std::chrono::hours(24), std::chrono::hours(48)}; }
};

/// The contents of a certificate to be issued.
struct CertificateRequest {
  /// The subject's name. Clients compare only the alternative names below with the host.
  std::string commonName = "Corvane Test";
  /// Subject alternative names for DNS names. A wildcard is written as in a certificate: "*.example.test".
  std::vector<std::string> dnsNames = {};
  /// Subject alternative names for IP addresses, in numeric form: "127.0.0.1", "::1".
  std::vector<std::string> ipAddresses = {};
  /// Default: from an hour ago until a day from now.
  Validity validity = {};
  /// In OpenSSL's spelling: "digitalSignature", "keyEncipherment,digitalSignature" … Left out when empty.
  std::string keyUsage = "digitalSignature";
  /// In OpenSSL's spelling: "serverAuth", "clientAuth" … Left out when empty.
  std::string extendedKeyUsage = "serverAuth";

  /// For servers on the loopback interface: localhost, 127.0.0.1 and ::1.
  static CertificateRequest localhost();
};

/// Issues certificates for tests: a self-signed root, or an intermediate below another authority. All keys are EC
/// P-256, which take well under a millisecond to generate. Copies are the same authority.
///
/// ```
/// CertificateAuthority root;
/// TestServer server(Tls(root.issue(CertificateRequest::localhost())));
/// ... trust root.certificate().der() ...
/// ```
class CertificateAuthority {
 public:
  /// A self-signed root.
  explicit CertificateAuthority(std::string name = "Corvane Test Root", Validity validity = {});

  /// An intermediate authority, certified by this one. A path length of 0 forbids further authorities below it.
  CertificateAuthority intermediate(std::string name = "Corvane Test Intermediate", Validity validity = {},
                                    std::optional<int> pathLength = std::nullopt) const;
  /// A certificate for an end entity, with the intermediates that lead to the root.
  Certificate issue(const CertificateRequest& request) const;
  /// The authority's own certificate.
  const Certificate& certificate() const;

  /// A self-signed certificate for an end entity.
  static Certificate selfSigned(const CertificateRequest& request);

 private:
  struct State;

  explicit CertificateAuthority(std::shared_ptr<const State> state) : state_(std::move(state)) {}

  std::shared_ptr<const State> state_;
};

}  // namespace corvane::testkit
