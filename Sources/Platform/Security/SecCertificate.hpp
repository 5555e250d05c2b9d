#pragma once

#include <memory>
#include <optional>
#include <string>

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
  Data data() const;
  /// The subject's common name, else its whole name in RFC 2253 form.
  std::string subjectSummary() const;
  std::string issuerSummary() const;
  friend CORVANE_API bool operator==(const SecCertificate& left, const SecCertificate& right);

  explicit SecCertificate(std::shared_ptr<const detail::CertificateHandle> handle) : handle_(std::move(handle)) {}
  const std::shared_ptr<const detail::CertificateHandle>& handle() const { return handle_; }

 private:
  std::shared_ptr<const detail::CertificateHandle> handle_;
};

}  // namespace platform
