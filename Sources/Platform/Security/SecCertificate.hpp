#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

namespace detail {
struct CertificateHandle;
}

/// An X.509 certificate (RFC 5280). Immutable, cheap to copy, safe on any thread.
class CORVANE_API SecCertificate {
 public:
  /// From DER bytes; absent when they are not exactly one certificate (PEM text is not accepted).
  static std::optional<SecCertificate> createWithData(const Data& der);
  /// The certificate as DER.
  Data data() const;
  /// The subject's common name, else its whole name in RFC 2253 form. UTF-8.
  std::string subjectSummary() const;
  /// The same of the issuer.
  std::string issuerSummary() const;
  /// Equal bytes.
  friend CORVANE_API bool operator==(const SecCertificate& left, const SecCertificate& right);

  /// For the rooms of the platform.
  explicit SecCertificate(std::shared_ptr<const detail::CertificateHandle> handle) : handle_(std::move(handle)) {}
  /// Null only in a value that was moved from.
  const std::shared_ptr<const detail::CertificateHandle>& handle() const { return handle_; }

 private:
  std::shared_ptr<const detail::CertificateHandle> handle_;
};

}  // namespace platform
