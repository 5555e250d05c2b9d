#pragma once

#include <string>

#include "CorvaneTesting/CertificateAuthority.hpp"

namespace corvane::testkit {

/// Makes requests trust the certificates of an authority while it exists. It adds an entry to
/// `Corvane::trustedCertificates`, of which the last one counts; its destructor removes only this entry.
///
/// ```
/// const CertificateAuthority authority;
/// const TrustedAuthority trusted(authority);
/// TestServer server(Tls(authority.issue(CertificateRequest::localhost())));
/// ```
///
/// Connections that are open at its destruction can still be used for requests, until `Corvane::resetSessions`.
class TrustedAuthority {
 public:
  /// Writes the root to a file in the temporary directory. Throws the file manager's errors.
  explicit TrustedAuthority(const CertificateAuthority& authority);
  ~TrustedAuthority();
  TrustedAuthority(const TrustedAuthority&) = delete;
  TrustedAuthority& operator=(const TrustedAuthority&) = delete;

 private:
  std::string folder_;
};

}  // namespace corvane::testkit
