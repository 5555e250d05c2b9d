#include "Platform/Security/SecCertificate.hpp"

#include "Platform/Security/Internal/CertificateHandle.hpp"

namespace platform {

std::optional<SecCertificate> SecCertificate::createWithData(const Data& der) {
  auto handle = detail::CertificateHandle::fromDER(der.span());
  if (!handle) return std::nullopt;
  return SecCertificate(std::move(handle));
}

std::vector<SecCertificate> SecCertificate::listFromPEM(const Data& pem) { return detail::certificatesFromPEM(pem); }

std::string SecCertificate::publicKeyPin() const { return detail::publicKeyPin(handle_->x509); }

Data SecCertificate::data() const { return handle_->der(); }

std::string SecCertificate::subjectSummary() const { return detail::nameSummary(X509_get_subject_name(handle_->x509)); }

std::string SecCertificate::issuerSummary() const { return detail::nameSummary(X509_get_issuer_name(handle_->x509)); }

bool operator==(const SecCertificate& left, const SecCertificate& right) {
  return left.handle_ == right.handle_ ||
         (left.handle_ && right.handle_ && X509_cmp(left.handle_->x509, right.handle_->x509) == 0);
}

}  // namespace platform
