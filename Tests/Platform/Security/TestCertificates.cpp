#include "TestCertificates.hpp"

#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace tests {
namespace {

void require(bool done, const char* what) {
  if (!done) throw std::runtime_error(std::string("OpenSSL refuses the test certificate: ") + what);
}

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
  if (value.empty()) return;
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
  require(extension && X509_add_ext(certificate, extension, -1), value.c_str());
  X509_EXTENSION_free(extension);
}

}  // namespace

platform::Data Identity::der() const {
  unsigned char* bytes = nullptr;
  const int length = i2d_X509(certificate.get(), &bytes);
  require(length > 0, "DER");
  platform::Data data(bytes, static_cast<std::size_t>(length));
  OPENSSL_free(bytes);
  return data;
}

std::string Identity::pem() const {
  const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), &BIO_free);
  require(PEM_write_bio_X509(out.get(), certificate.get()), "PEM");
  char* text = nullptr;
  const long length = BIO_get_mem_data(out.get(), &text);
  return {text, static_cast<std::size_t>(length)};
}

platform::SecCertificate Identity::trustCertificate() const {
  auto made = platform::SecCertificate::createWithData(der());
  require(made.has_value(), "SecCertificate");
  return *made;
}

Identity makeCertificate(const CertificatePlan& plan, const Identity* issuer) {
  Identity made;
  made.key.reset(EVP_EC_gen("P-256"), EVP_PKEY_free);
  made.certificate.reset(X509_new(), X509_free);
  X509* certificate = made.certificate.get();
  X509* signer = issuer ? issuer->certificate.get() : certificate;
  X509_set_version(certificate, X509_VERSION_3);
  std::uint32_t serial = 0;
  require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1, "serial");
  ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial);
  X509_gmtime_adj(X509_getm_notBefore(certificate), plan.validFrom);
  X509_gmtime_adj(X509_getm_notAfter(certificate), plan.validUntil);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(plan.commonName.c_str()), -1, -1, 0);
  X509_set_issuer_name(certificate, X509_get_subject_name(signer));
  X509_set_pubkey(certificate, made.key.get());
  addExtension(certificate, signer, NID_basic_constraints, plan.isAuthority ? "critical,CA:TRUE" : "CA:FALSE");
  addExtension(certificate, signer, NID_subject_key_identifier, "hash");
  addExtension(certificate, signer, NID_authority_key_identifier, issuer ? "keyid" : "");
  addExtension(certificate, signer, NID_subject_alt_name, plan.alternativeNames);
  addExtension(certificate, signer, NID_ext_key_usage, plan.extendedKeyUsage);
  require(X509_sign(certificate, (issuer ? issuer->key : made.key).get(), EVP_sha256()) > 0, "signature");
  return made;
}

}  // namespace tests
