#pragma once

#include <openssl/x509.h>

#include <span>
#include <string>
#include <vector>

#include "Platform/Security/SecCertificate.hpp"

namespace platform::detail {

/// Owns one reference to an OpenSSL certificate, which is never changed.
struct CertificateHandle {
  /// Takes over the caller's reference.
  explicit CertificateHandle(X509* certificate) noexcept;
  ~CertificateHandle();
  CertificateHandle(const CertificateHandle&) = delete;
  CertificateHandle& operator=(const CertificateHandle&) = delete;

  /// Takes over the caller's reference, also where it throws.
  static std::shared_ptr<const CertificateHandle> adopt(X509* certificate);
  /// Null when the bytes are not exactly one certificate.
  static std::shared_ptr<const CertificateHandle> fromDER(std::span<const std::byte> der);
  Data der() const;

  X509* const x509;
};

/// The common name, else the whole name in RFC 2253 form, as UTF-8.
std::string nameSummary(const X509_NAME* name);

/// Shares the certificates of `chain`, in its order; nothing is decoded again. Null gives an empty list.
std::vector<SecCertificate> certificatesFromChain(const STACK_OF(X509) * chain);

/// What `SecCertificate::listFromPEM` gives.
std::vector<SecCertificate> certificatesFromPEM(const Data& pem);

/// What `SecCertificate::publicKeyPin` gives.
std::string publicKeyPin(const X509* certificate);

/// Leaves OpenSSL's error queue of this thread as it was: others on the thread read it after their own calls.
class OpenSSLErrorScope {
 public:
  OpenSSLErrorScope() noexcept;
  ~OpenSSLErrorScope();
  OpenSSLErrorScope(const OpenSSLErrorScope&) = delete;
  OpenSSLErrorScope& operator=(const OpenSSLErrorScope&) = delete;
};

}  // namespace platform::detail
