#include "CorvaneTesting/CertificateAuthority.hpp"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <ctime>
#include <stdexcept>
#include <utility>

namespace corvane::testkit {

namespace {

using X509Pointer = std::shared_ptr<X509>;
using Key = std::shared_ptr<EVP_PKEY>;

[[noreturn]] void fail(const std::string& what) {
  const char* reason = ERR_reason_error_string(ERR_get_error());
  throw std::runtime_error("cannot " + what + (reason ? std::string(": ") + reason : ""));
}

void check(bool succeeded, const std::string& what) {
  if (!succeeded) fail(what);
}

Key makeKey() {
  Key key(EVP_EC_gen("P-256"), EVP_PKEY_free);
  check(key != nullptr, "make a key");
  return key;
}

/// The text that a PEM writer leaves in memory.
template <class Write>
std::string written(Write write) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> sink(BIO_new(BIO_s_mem()), BIO_free);
  check(sink && write(sink.get()) == 1, "write a certificate or key");
  char* bytes = nullptr;
  const long size = BIO_get_mem_data(sink.get(), &bytes);
  return std::string(bytes, static_cast<std::size_t>(size));
}

std::string pemOf(const Key& key) {
  return written(
      [&](BIO* sink) { return PEM_write_bio_PrivateKey(sink, key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
}

std::string pemOf(const X509Pointer& certificate) {
  return written([&](BIO* sink) { return PEM_write_bio_X509(sink, certificate.get()); });
}

std::string derOf(const X509Pointer& certificate) {
  return written([&](BIO* sink) { return i2d_X509_bio(sink, certificate.get()); });
}

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()), X509_EXTENSION_free);
  check(extension && X509_add_ext(certificate, extension.get(), -1) == 1,
        std::string("add the extension ") + OBJ_nid2sn(kind) + " = " + value);
}

void setName(X509* certificate, const std::string& commonName) {
  X509_NAME* name = X509_get_subject_name(certificate);
  check(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(commonName.data()),
                                   static_cast<int>(commonName.size()), -1, 0) == 1,
        "name a certificate");
}

void setSerialNumber(X509* certificate) {
  unsigned char bytes[16];
  check(RAND_bytes(bytes, sizeof bytes) == 1, "make a serial number");
  // Positive and of full length (RFC 5280 section 4.1.2.2).
  bytes[0] = static_cast<unsigned char>((bytes[0] & 0x3F) | 0x40);
  const std::unique_ptr<BIGNUM, decltype(&BN_free)> number(BN_bin2bn(bytes, sizeof bytes, nullptr), BN_free);
  check(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)), "set a serial number");
}

void setValidity(X509* certificate, const Validity& validity) {
  const std::time_t now = std::time(nullptr);
  check(ASN1_TIME_set(X509_getm_notBefore(certificate), now + static_cast<std::time_t>(validity.from.count())) &&
            ASN1_TIME_set(X509_getm_notAfter(certificate), now + static_cast<std::time_t>(validity.until.count())),
        "set a certificate's validity");
}

std::string alternativeNames(const CertificateRequest& request) {
  std::string names;
  const auto append = [&](const char* kind, const std::string& name) {
    names += (names.empty() ? "" : ",") + std::string(kind) + ":" + name;
  };
  for (const std::string& name : request.dnsNames) append("DNS", name);
  for (const std::string& address : request.ipAddresses) append("IP", address);
  return names;
}

X509Pointer unsignedCertificate(const std::string& commonName, const Validity& validity, const Key& key) {
  X509Pointer certificate(X509_new(), X509_free);
  check(certificate && X509_set_version(certificate.get(), X509_VERSION_3) == 1, "make a certificate");
  setSerialNumber(certificate.get());
  setName(certificate.get(), commonName);
  setValidity(certificate.get(), validity);
  check(X509_set_pubkey(certificate.get(), key.get()) == 1, "set a certificate's key");
  return certificate;
}

void setIssuer(const X509Pointer& certificate, const X509Pointer& issuer) {
  check(X509_set_issuer_name(certificate.get(), X509_get_subject_name(issuer.get())) == 1, "name an issuer");
  addExtension(certificate.get(), issuer.get(), NID_subject_key_identifier, "hash");
  addExtension(certificate.get(), issuer.get(), NID_authority_key_identifier, "keyid:always");
}

void sign(const X509Pointer& certificate, const Key& key) {
  check(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0, "sign a certificate");
}

/// An issuer that is absent stands for the certificate itself.
X509Pointer authorityCertificate(const std::string& name, const Validity& validity, std::optional<int> pathLength,
                                 const Key& key, const X509Pointer& issuer, const Key& issuerKey) {
  X509Pointer certificate = unsignedCertificate(name, validity, key);
  setIssuer(certificate, issuer ? issuer : certificate);
  addExtension(certificate.get(), nullptr, NID_basic_constraints,
               "critical,CA:TRUE" + (pathLength ? ",pathlen:" + std::to_string(*pathLength) : ""));
  addExtension(certificate.get(), nullptr, NID_key_usage, "critical,keyCertSign,cRLSign");
  sign(certificate, issuerKey);
  return certificate;
}

X509Pointer leafCertificate(const CertificateRequest& request, const Key& key, const X509Pointer& issuer,
                            const Key& issuerKey) {
  X509Pointer certificate = unsignedCertificate(request.commonName, request.validity, key);
  setIssuer(certificate, issuer ? issuer : certificate);
  addExtension(certificate.get(), nullptr, NID_basic_constraints, "critical,CA:FALSE");
  const std::string names = alternativeNames(request);
  if (!names.empty()) addExtension(certificate.get(), nullptr, NID_subject_alt_name, names);
  if (!request.keyUsage.empty())
    addExtension(certificate.get(), nullptr, NID_key_usage, "critical," + request.keyUsage);
  if (!request.extendedKeyUsage.empty()) {
    addExtension(certificate.get(), nullptr, NID_ext_key_usage, request.extendedKeyUsage);
  }
  sign(certificate, issuerKey);
  return certificate;
}

}  // namespace

CertificateRequest CertificateRequest::localhost() {
  CertificateRequest request;
  request.commonName = "localhost";
  request.dnsNames = {"localhost"};
  request.ipAddresses = {"127.0.0.1", "::1"};
  return request;
}

struct CertificateAuthority::State {
  Key key;
  X509Pointer handle;
  Certificate certificate;
  /// What a certificate that this authority issues brings along.
  std::string chainForIssuedPem;
};

CertificateAuthority::CertificateAuthority(std::string name, Validity validity) {
  const Key key = makeKey();
  const X509Pointer handle = authorityCertificate(name, validity, std::nullopt, key, nullptr, key);
  Certificate certificate(pemOf(handle), derOf(handle), pemOf(key), "");
  state_ = std::make_shared<const State>(State{key, handle, std::move(certificate), ""});
}

CertificateAuthority CertificateAuthority::intermediate(std::string name, Validity validity,
                                                        std::optional<int> pathLength) const {
  const Key key = makeKey();
  const X509Pointer handle = authorityCertificate(name, validity, pathLength, key, state_->handle, state_->key);
  Certificate certificate(pemOf(handle), derOf(handle), pemOf(key), state_->chainForIssuedPem);
  const std::string chain = certificate.chainPem();
  return CertificateAuthority(std::make_shared<const State>(State{key, handle, std::move(certificate), chain}));
}

Certificate CertificateAuthority::issue(const CertificateRequest& request) const {
  const Key key = makeKey();
  const X509Pointer handle = leafCertificate(request, key, state_->handle, state_->key);
  return Certificate(pemOf(handle), derOf(handle), pemOf(key), state_->chainForIssuedPem);
}

const Certificate& CertificateAuthority::certificate() const { return state_->certificate; }

Certificate CertificateAuthority::selfSigned(const CertificateRequest& request) {
  const Key key = makeKey();
  const X509Pointer handle = leafCertificate(request, key, nullptr, key);
  return Certificate(pemOf(handle), derOf(handle), pemOf(key), "");
}

}  // namespace corvane::testkit
