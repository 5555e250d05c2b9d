#pragma once

#include <openssl/x509.h>

#include <vector>

#include "Platform/Security/SecCertificate.hpp"

namespace platform::detail {

/// Owns one reference to an OpenSSL certificate, which is never changed.
struct CertificateHandle {
  /// Takes over the caller's reference.
  explicit CertificateHandle(X509* certificate) noexcept : x509(certificate) {}
  ~CertificateHandle() { X509_free(x509); }
  CertificateHandle(const CertificateHandle&) = delete;
  CertificateHandle& operator=(const CertificateHandle&) = delete;

  X509* const x509;
};

/// Shares the certificates of `chain`, in its order; nothing is decoded again. Null gives an empty list.
std::vector<SecCertificate> certificatesFromChain(const STACK_OF(X509) * chain);

/// Leaves OpenSSL's error queue of this thread as it was: others on the thread read it after their own calls.
class OpenSSLErrorScope {
 public:
  OpenSSLErrorScope() noexcept;
  ~OpenSSLErrorScope();
  OpenSSLErrorScope(const OpenSSLErrorScope&) = delete;
  OpenSSLErrorScope& operator=(const OpenSSLErrorScope&) = delete;
};

}  // namespace platform::detail
