#pragma once

#include <openssl/evp.h>

#include <memory>
#include <string>
#include <vector>

#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Security/SecCertificate.hpp"

namespace platform::detail {

/// Owns a private key that belongs to the first of its certificates.
struct IdentityHandle {
  struct FreeKey {
    void operator()(EVP_PKEY* key) const;
  };
  using Key = std::unique_ptr<EVP_PKEY, FreeKey>;
  using PassPhrase = UniqueFunction<std::string()>;

  // As those of `SecIdentity`.
  static std::shared_ptr<const IdentityHandle> fromPEM(const Data& certificates, const Data& key,
                                                       PassPhrase& passPhrase);
  static std::shared_ptr<const IdentityHandle> fromDER(const Data& certificate, const Data& key,
                                                       PassPhrase& passPhrase);
  static std::shared_ptr<const IdentityHandle> fromPKCS12(const Data& bytes, PassPhrase& passPhrase);

  std::vector<SecCertificate> certificates;
  Key key;
};

}  // namespace platform::detail
