#pragma once

#include <string>

#include "CorvaneTesting/CertificateAuthority.hpp"

namespace corvane::testing {

/// Has requests trust the certificates of an authority while it lives. It takes part in the list of
/// `Corvane::trustedCertificates`, of which the last entry counts; afterwards the others are left.
///
/// ```
/// const CertificateAuthority authority;
/// const TrustedAuthority trusted(authority);
/// TestServer server(Tls(authority.issue(CertificateRequest::localhost())));
/// ```
///
/// Connections that are open at its end can still be used for requests, until `Corvane::resetSessions`.
class TrustedAuthority {
 public:
  /// Keeps the root in a file in the temporary directory; throws the file manager's errors when it cannot.
  explicit TrustedAuthority(const CertificateAuthority& authority);
  ~TrustedAuthority();
  TrustedAuthority(const TrustedAuthority&) = delete;
  TrustedAuthority& operator=(const TrustedAuthority&) = delete;

 private:
  std::string folder_;
};

}  // namespace corvane::testing
