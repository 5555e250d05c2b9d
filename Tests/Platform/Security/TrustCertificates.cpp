#include "TrustCertificates.hpp"

#include <openssl/pem.h>

#include <memory>
#include <stdexcept>

namespace corvane::testkit {
namespace {

std::unique_ptr<BIO, decltype(&BIO_free)> reading(const std::string& bytes) {
  return {BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())), BIO_free};
}

}  // namespace

platform::SecCertificate trustCertificate(const Certificate& certificate) {
  auto made = platform::SecCertificate::createWithData(certificate.der());
  if (!made) throw std::runtime_error("The platform refuses the certificate");
  return *made;
}

platform::Data resigned(const Certificate& certificate, const std::string& signerKeyPem,
                        const std::function<void(X509*)>& change) {
  const std::unique_ptr<X509, decltype(&X509_free)> changed(d2i_X509_bio(reading(certificate.der()).get(), nullptr),
                                                            X509_free);
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
      PEM_read_bio_PrivateKey(reading(signerKeyPem).get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
  if (!changed || !key) throw std::runtime_error("OpenSSL cannot read the certificate or the key");
  change(changed.get());
  unsigned char* bytes = nullptr;
  if (X509_sign(changed.get(), key.get(), EVP_sha256()) <= 0) throw std::runtime_error("OpenSSL cannot sign");
  const int length = i2d_X509(changed.get(), &bytes);
  if (length < 0) throw std::runtime_error("OpenSSL cannot write the certificate");
  platform::Data der(bytes, static_cast<std::size_t>(length));
  OPENSSL_free(bytes);
  return der;
}

}  // namespace corvane::testkit
