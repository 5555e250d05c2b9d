#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

namespace detail {
struct CertificateHandle;
}

/// An X.509 certificate (RFC 5280). Immutable, cheap to copy, safe on any thread.
class CORVANE_API SecCertificate {
 public:
  /// From DER bytes. Absent unless they are exactly one certificate; PEM text is not accepted.
  static std::optional<SecCertificate> createWithData(const Data& der);
  /// The certificates in a PEM text (RFC 7468), in its order; whatever else is in it is left out. Throws an `Error`
  /// ("NSOSStatusErrorDomain", -26275) for a certificate that cannot be read. Empty when there is none.
  static std::vector<SecCertificate> listFromPEM(const Data& pem);
  /// The certificate as DER.
  Data data() const;
  /// The subject's common name, or else its whole name in the form of RFC 2253. UTF-8.
  std::string subjectSummary() const;
  /// The same for the issuer.
  std::string issuerSummary() const;
  /// The pin of its public key: the SHA-256 of the key with its algorithm, in base64 (RFC 7469, 2.4).
  std::string publicKeyPin() const;
  /// Equal bytes.
  friend CORVANE_API bool operator==(const SecCertificate& left, const SecCertificate& right);

  /// For the platform's own use.
  explicit SecCertificate(std::shared_ptr<const detail::CertificateHandle> handle) : handle_(std::move(handle)) {}
  /// Null only in a moved-from value.
  const std::shared_ptr<const detail::CertificateHandle>& handle() const { return handle_; }

 private:
  std::shared_ptr<const detail::CertificateHandle> handle_;
};

}  // namespace platform
