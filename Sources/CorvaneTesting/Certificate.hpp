#pragma once

#include <string>
#include <utility>

namespace corvane::testkit {

/// A certificate with its private key and the intermediates that lead to its root. A value.
class Certificate {
 public:
  /// A certificate from its parts, in PEM and DER; the intermediates may be empty.
  Certificate(std::string pem, std::string der, std::string keyPem, std::string intermediatesPem)
      : pem_(std::move(pem)),
        der_(std::move(der)),
        keyPem_(std::move(keyPem)),
        intermediatesPem_(std::move(intermediatesPem)) {}

  /// The certificate alone, as PEM.
  const std::string& pem() const { return pem_; }
  /// The certificate alone, as DER: the format that `Corvane::addTrustedCertificate` reads.
  const std::string& der() const { return der_; }
  /// The private key, as PEM.
  const std::string& keyPem() const { return keyPem_; }
  /// The certificate and the intermediates, without the root, as a server sends them.
  std::string chainPem() const { return pem_ + intermediatesPem_; }
  /// The certificate without its intermediates, as a misconfigured server sends it.
  Certificate withoutIntermediates() const { return Certificate(pem_, der_, keyPem_, ""); }

 private:
  std::string pem_;
  std::string der_;
  std::string keyPem_;
  std::string intermediatesPem_;
};

}  // namespace corvane::testkit
