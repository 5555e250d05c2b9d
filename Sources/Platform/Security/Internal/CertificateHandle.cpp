#include "Platform/Security/Internal/CertificateHandle.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <limits>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/JSON/Internal/Base64.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform::detail {
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

}  // namespace

CertificateHandle::CertificateHandle(X509* certificate) noexcept : x509(certificate) { OpenSSLUse::prepare(); }

CertificateHandle::~CertificateHandle() {
  if (const OpenSSLUse use; use) {
    X509_free(x509);
  } else {
    OpenSSLUse::abandon(x509);
  }
}

std::shared_ptr<const CertificateHandle> CertificateHandle::adopt(X509* certificate) {
  std::unique_ptr<X509, decltype(&X509_free)> held(certificate, &X509_free);
  auto handle = std::make_shared<const CertificateHandle>(certificate);
  static_cast<void>(held.release());
  return handle;
}

std::shared_ptr<const CertificateHandle> CertificateHandle::fromDER(std::span<const std::byte> der) {
  if (der.size() > std::numeric_limits<int>::max()) return nullptr;
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  const auto* cursor = reinterpret_cast<const unsigned char*>(der.data());
  X509* certificate = d2i_X509(nullptr, &cursor, static_cast<long>(der.size()));
  if (!certificate) return nullptr;
  auto handle = adopt(certificate);
  const bool endsThere = reinterpret_cast<const std::byte*>(cursor) == der.data() + der.size();
  return endsThere ? handle : nullptr;
}

Data CertificateHandle::der() const {
  const OpenSSLErrorScope errors;
  unsigned char* bytes = nullptr;
  const int length = i2d_X509(x509, &bytes);
  if (length < 0) return {};
  Data data(bytes, static_cast<std::size_t>(length));
  OPENSSL_free(bytes);
  return data;
}

std::string nameSummary(const X509_NAME* name) {
  const OpenSSLErrorScope errors;
  std::string text = commonName(name);
  if (text.empty()) text = wholeName(name);
  return text;
}

std::vector<SecCertificate> certificatesFromPEM(const Data& pem) {
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  const auto refuse = [] {
    return Error("NSOSStatusErrorDomain", OSStatus::decode, "A certificate in the PEM text cannot be read.");
  };
  if (pem.count() > std::numeric_limits<int>::max()) throw refuse();
  const std::unique_ptr<BIO, decltype(&BIO_free)> in(BIO_new_mem_buf(pem.bytes(), static_cast<int>(pem.count())),
                                                     &BIO_free);
  if (!in) throw Error::outOfMemory();
  std::vector<SecCertificate> certificates;
  // Nobody is asked for the pass phrase of one that is encrypted.
  const auto refusePhrase = [](char*, int, int, void*) { return -1; };
  while (X509* certificate = PEM_read_bio_X509(in.get(), nullptr, refusePhrase, nullptr)) {
    certificates.emplace_back(CertificateHandle::adopt(certificate));
  }
  // The end of the text is told as the lack of a further beginning.
  const unsigned long reason = ERR_peek_last_error();
  if (ERR_GET_LIB(reason) != ERR_LIB_PEM || ERR_GET_REASON(reason) != PEM_R_NO_START_LINE) throw refuse();
  return certificates;
}

std::string publicKeyPin(const X509* certificate) {
  const OpenSSLErrorScope errors;
  unsigned char* key = nullptr;
  const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &key);
  if (length < 0) throw Error::outOfMemory();
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned count = 0;
  const int made = EVP_Digest(key, static_cast<std::size_t>(length), digest, &count, EVP_sha256(), nullptr);
  OPENSSL_free(key);
  if (made != 1) throw Error::outOfMemory();
  return toBase64(Data(digest, count));
}

std::vector<SecCertificate> certificatesFromChain(const STACK_OF(X509) * chain) {
  std::vector<SecCertificate> certificates;
  const int count = chain ? sk_X509_num(chain) : 0;
  certificates.reserve(static_cast<std::size_t>(count));
  for (int index = 0; index < count; ++index) {
    X509* certificate = sk_X509_value(chain, index);
    X509_up_ref(certificate);
    certificates.emplace_back(CertificateHandle::adopt(certificate));
  }
  return certificates;
}

OpenSSLErrorScope::OpenSSLErrorScope() noexcept { ERR_set_mark(); }

OpenSSLErrorScope::~OpenSSLErrorScope() { ERR_pop_to_mark(); }

}  // namespace platform::detail
