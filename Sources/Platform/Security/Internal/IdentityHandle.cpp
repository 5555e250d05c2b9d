#include "Platform/Security/Internal/IdentityHandle.hpp"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/x509.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>
#include <optional>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"
#include "Platform/Security/SecTrust.hpp"

namespace platform::detail {

void IdentityHandle::FreeKey::operator()(EVP_PKEY* held) const {
  if (const OpenSSLUse use; use) {
    EVP_PKEY_free(held);
  } else {
    OpenSSLUse::abandon(held);
  }
}

namespace {

struct FreeRead {
  void operator()(BIO* bio) const { BIO_free(bio); }
  void operator()(PKCS12* file) const { PKCS12_free(file); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, X509_free); }
};
template <class T>
using Held = std::unique_ptr<T, FreeRead>;

Error refused(std::int32_t code, std::string message) { return {"NSOSStatusErrorDomain", code, std::move(message)}; }

Held<BIO> reader(const Data& bytes) {
  if (bytes.count() > std::numeric_limits<int>::max()) throw refused(OSStatus::decode, "The identity is too long.");
  Held<BIO> bio(BIO_new_mem_buf(bytes.bytes(), static_cast<int>(bytes.count())));
  if (!bio) throw Error::outOfMemory();
  return bio;
}

/// Asks for the pass phrase when it is needed, and keeps what was thrown meanwhile.
class PassPhraseSource {
 public:
  explicit PassPhraseSource(IdentityHandle::PassPhrase& ask) : ask_(ask) {}

  bool wasAsked() const { return wasAsked_; }
  void rethrow() const {
    if (thrown_) std::rethrow_exception(thrown_);
  }
  /// Absent where nobody can be asked. Asked once: OpenSSL tries a key in several forms.
  const std::optional<std::string>& get() {
    if (!std::exchange(wasAsked_, true) && ask_) phrase_ = ask_();
    return phrase_;
  }
  static int callback(char* out, int size, int, void* source) noexcept {
    auto& self = *static_cast<PassPhraseSource*>(source);
    try {
      const std::optional<std::string>& phrase = self.get();
      if (!phrase || phrase->size() > static_cast<std::size_t>(size)) return -1;
      std::memcpy(out, phrase->data(), phrase->size());
      return static_cast<int>(phrase->size());
    } catch (...) {
      self.thrown_ = std::current_exception();
      return -1;
    }
  }

 private:
  IdentityHandle::PassPhrase& ask_;
  bool wasAsked_ = false;
  std::optional<std::string> phrase_;
  std::exception_ptr thrown_;
};

Error keyProblem(const PassPhraseSource& phrases) {
  phrases.rethrow();
  if (phrases.wasAsked()) {
    return refused(OSStatus::authFailed,
                   "The private key is encrypted, and its pass phrase is wrong or was not given.");
  }
  return refused(OSStatus::decode, "There is no private key that can be read.");
}

std::shared_ptr<const IdentityHandle> identity(std::vector<SecCertificate> certificates, IdentityHandle::Key key) {
  if (certificates.empty()) throw refused(OSStatus::decode, "There is no certificate that can be read.");
  if (X509_check_private_key(certificates.front().handle()->x509, key.get()) != 1) {
    throw refused(OSStatus::decode, "The private key does not belong to the certificate \"" +
                                        certificates.front().subjectSummary() + "\", which is the first.");
  }
  auto handle = std::make_shared<IdentityHandle>();
  handle->certificates = std::move(certificates);
  handle->key = std::move(key);
  return handle;
}

}  // namespace

std::shared_ptr<const IdentityHandle> IdentityHandle::fromPEM(const Data& certificates, const Data& key,
                                                              PassPhrase& passPhrase) {
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  std::vector<SecCertificate> read = SecCertificate::listFromPEM(certificates);
  PassPhraseSource phrases(passPhrase);
  IdentityHandle::Key made(PEM_read_bio_PrivateKey(reader(key).get(), nullptr, &PassPhraseSource::callback, &phrases));
  if (!made) throw keyProblem(phrases);
  return identity(std::move(read), std::move(made));
}

std::shared_ptr<const IdentityHandle> IdentityHandle::fromDER(const Data& certificate, const Data& key,
                                                              PassPhrase& passPhrase) {
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  std::vector<SecCertificate> read;
  if (auto only = SecCertificate::createWithData(certificate)) read.push_back(std::move(*only));
  PassPhraseSource phrases(passPhrase);
  IdentityHandle::Key made(d2i_PrivateKey_bio(reader(key).get(), nullptr));
  if (!made) {
    made.reset(d2i_PKCS8PrivateKey_bio(reader(key).get(), nullptr, &PassPhraseSource::callback, &phrases));
  }
  if (!made) throw keyProblem(phrases);
  return identity(std::move(read), std::move(made));
}

std::shared_ptr<const IdentityHandle> IdentityHandle::fromPKCS12(const Data& bytes, PassPhrase& passPhrase) {
  OpenSSLUse::prepare();
  const OpenSSLErrorScope errors;
  const Held<PKCS12> file(d2i_PKCS12_bio(reader(bytes).get(), nullptr));
  if (!file) throw refused(OSStatus::decode, "The bytes are not a PKCS #12 file.");
  std::optional<std::string> phrase;
  // A file without a pass phrase may be made for none or for an empty one.
  // One without a digest of its own is tried with the pass phrase that there is.
  if (PKCS12_mac_present(file.get()) != 1) {
    if (passPhrase) phrase = passPhrase();
  } else if (PKCS12_verify_mac(file.get(), nullptr, 0) != 1 && PKCS12_verify_mac(file.get(), "", 0) != 1) {
    if (passPhrase) phrase = passPhrase();
    if (!phrase || PKCS12_verify_mac(file.get(), phrase->c_str(), static_cast<int>(phrase->size())) != 1) {
      throw refused(OSStatus::authFailed, "The pass phrase of the PKCS #12 file is wrong or was not given.");
    }
  }
  EVP_PKEY* key = nullptr;
  X509* own = nullptr;
  STACK_OF(X509)* others = nullptr;
  if (PKCS12_parse(file.get(), phrase ? phrase->c_str() : "", &key, &own, &others) != 1) {
    throw refused(OSStatus::decode, "The PKCS #12 file cannot be read.");
  }
  IdentityHandle::Key made(key);
  const Held<X509> first(own);
  const Held<STACK_OF(X509)> issuers(others);
  if (!made || !first) throw refused(OSStatus::decode, "The PKCS #12 file has no certificate with its private key.");
  X509_up_ref(first.get());
  std::vector<SecCertificate> certificates{SecCertificate(CertificateHandle::adopt(first.get()))};
  for (SecCertificate& issuer : certificatesFromChain(issuers.get())) certificates.push_back(std::move(issuer));
  return identity(std::move(certificates), std::move(made));
}

}  // namespace platform::detail
