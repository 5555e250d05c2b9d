#include "Platform/Security/Internal/SHA256Hasher.hpp"

#include <openssl/evp.h>

#include <new>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"

namespace platform::detail {

namespace {

EVP_MD_CTX* contextOf(void* context) { return static_cast<EVP_MD_CTX*>(context); }

void require(bool holds) {
  if (!holds) throw Error("SHA256Digest", 0, "no digest can be made: OpenSSL is not usable, as when the process exits");
}

}  // namespace

SHA256Hasher::SHA256Hasher() {
  OpenSSLUse::prepare();
  const OpenSSLUse use;
  require(static_cast<bool>(use));
  context_.reset(EVP_MD_CTX_new());
  if (!context_) throw std::bad_alloc();
  require(EVP_DigestInit_ex(contextOf(context_.get()), EVP_sha256(), nullptr) == 1);
}

void SHA256Hasher::add(std::span<const std::byte> bytes) {
  const OpenSSLUse use;
  require(use && EVP_DigestUpdate(contextOf(context_.get()), bytes.data(), bytes.size()) == 1);
}

SHA256Digest SHA256Hasher::finish() {
  const OpenSSLUse use;
  std::array<std::byte, SHA256Digest::byteCount> bytes;
  require(use &&
          EVP_DigestFinal_ex(contextOf(context_.get()), reinterpret_cast<unsigned char*>(bytes.data()), nullptr) == 1);
  return SHA256Digest(bytes);
}

void SHA256Hasher::Free::operator()(void* context) const noexcept {
  if (const OpenSSLUse use; use) {
    EVP_MD_CTX_free(contextOf(context));
  } else {
    OpenSSLUse::abandon(context);
  }
}

}  // namespace platform::detail
