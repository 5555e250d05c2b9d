#include "Platform/Security/SecCertificate.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>

#include <limits>

#include "Platform/Security/Internal/CertificateHandle.hpp"

namespace platform {
namespace {

std::string commonName(const X509_NAME* name) {
  const int index = X509_NAME_get_index_by_NID(name, NID_commonName, -1);
  if (index < 0) return {};
  unsigned char* utf8 = nullptr;
  const int length = ASN1_STRING_to_UTF8(&utf8, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
  if (length < 0) return {};
  std::string text(reinterpret_cast<const char*>(utf8), static_cast<std::size_t>(length));
  OPENSSL_free(utf8);
  return text;
}

std::string wholeName(const X509_NAME* name) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), &BIO_free);
  if (!out || X509_NAME_print_ex(out.get(), name, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB) < 0) return {};
  char* text = nullptr;
  const long length = BIO_get_mem_data(out.get(), &text);
  return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

std::string summary(const X509_NAME* name) {
  const detail::OpenSSLErrorScope errors;
  std::string text = commonName(name);
  return text.empty() ? wholeName(name) : text;
}

}  // namespace

std::optional<SecCertificate> SecCertificate::createWithData(const Data& der) {
  if (der.isEmpty() || der.count() > std::numeric_limits<int>::max()) return std::nullopt;
  const detail::OpenSSLErrorScope errors;
  const auto* cursor = reinterpret_cast<const unsigned char*>(der.bytes());
  const auto* const end = cursor + der.count();
  X509* certificate = d2i_X509(nullptr, &cursor, static_cast<long>(der.count()));
  if (!certificate) return std::nullopt;
  auto handle = std::make_shared<const detail::CertificateHandle>(certificate);
  if (cursor != end) return std::nullopt;
  return SecCertificate(std::move(handle));
}

Data SecCertificate::data() const {
  const detail::OpenSSLErrorScope errors;
  unsigned char* der = nullptr;
  const int length = i2d_X509(handle_->x509, &der);
  if (length < 0) return {};
  Data data(der, static_cast<std::size_t>(length));
  OPENSSL_free(der);
  return data;
}

std::string SecCertificate::subjectSummary() const { return summary(X509_get_subject_name(handle_->x509)); }

std::string SecCertificate::issuerSummary() const { return summary(X509_get_issuer_name(handle_->x509)); }

bool operator==(const SecCertificate& left, const SecCertificate& right) {
  return left.handle_ == right.handle_ ||
         (left.handle_ && right.handle_ && X509_cmp(left.handle_->x509, right.handle_->x509) == 0);
}

}  // namespace platform
