#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

#include "Platform/Security/SecCertificate.hpp"

namespace tests {

constexpr long daySeconds = 24 * 60 * 60;

/// A certificate and its P-256 key.
struct Identity {
  std::shared_ptr<X509> certificate;
  std::shared_ptr<EVP_PKEY> key;

  platform::Data der() const;
  std::string pem() const;
  platform::SecCertificate trustCertificate() const;
};

struct CertificatePlan {
  std::string commonName;
  /// As in a configuration file of OpenSSL, e.g. "DNS:example.test,IP:127.0.0.1"; none when empty.
  std::string alternativeNames;
  bool isAuthority = false;
  /// Seconds from now.
  long validFrom = -daySeconds;
  long validUntil = 30 * daySeconds;
  std::string extendedKeyUsage;
};

/// Signed by `issuer`, or by its own key when null. Throws std::runtime_error when OpenSSL refuses the plan.
Identity makeCertificate(const CertificatePlan& plan, const Identity* issuer = nullptr);

}  // namespace tests
