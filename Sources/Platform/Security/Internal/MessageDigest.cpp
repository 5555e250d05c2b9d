#include "Platform/Security/Internal/MessageDigest.hpp"

#include <openssl/evp.h>

#include <array>
#include <new>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"

namespace platform::detail {

namespace {

EVP_MD_CTX* digestContext(void* context) { return static_cast<EVP_MD_CTX*>(context); }

const EVP_MD* typeOf(HashFunction function) {
  switch (function) {
    case HashFunction::md5:
      return EVP_md5();
    case HashFunction::sha256:
      return EVP_sha256();
    case HashFunction::sha512_256:
      break;
  }
  return EVP_sha512_256();
}

void requireDigest(bool holds) {
  if (!holds) throw Error("MessageDigest", 0, "no digest can be made: OpenSSL does not have it, or is not usable");
}

}  // namespace

MessageDigest::MessageDigest(HashFunction function) {
  OpenSSLUse::prepare();
  const OpenSSLUse use;
  requireDigest(static_cast<bool>(use));
  context_.reset(EVP_MD_CTX_new());
  if (!context_) throw std::bad_alloc();
  requireDigest(EVP_DigestInit_ex(digestContext(context_.get()), typeOf(function), nullptr) == 1);
}

void MessageDigest::add(std::span<const std::byte> bytes) {
  const OpenSSLUse use;
  requireDigest(use && EVP_DigestUpdate(digestContext(context_.get()), bytes.data(), bytes.size()) == 1);
}

std::string MessageDigest::hex() {
  const OpenSSLUse use;
  std::array<unsigned char, EVP_MAX_MD_SIZE> bytes;
  unsigned int count = 0;
  requireDigest(use && EVP_DigestFinal_ex(digestContext(context_.get()), bytes.data(), &count) == 1);
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  text.reserve(std::size_t{2} * count);
  for (unsigned int place = 0; place < count; ++place) {
    text += digits[bytes[place] >> 4];
    text += digits[bytes[place] & 15];
  }
  return text;
}

std::string MessageDigest::hexOf(HashFunction function, std::string_view text) {
  MessageDigest digest(function);
  digest.add(text);
  return digest.hex();
}

void MessageDigest::Free::operator()(void* context) const noexcept {
  if (const OpenSSLUse use; use) {
    EVP_MD_CTX_free(digestContext(context));
  } else {
    OpenSSLUse::abandon(context);
  }
}

}  // namespace platform::detail
