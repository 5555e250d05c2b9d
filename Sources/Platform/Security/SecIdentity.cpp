#include "Platform/Security/SecIdentity.hpp"

#include "Platform/Security/Internal/IdentityHandle.hpp"

namespace platform {

using detail::IdentityHandle;

SecIdentity SecIdentity::fromPEM(const Data& certificates, const Data& key, PassPhrase passPhrase) {
  return SecIdentity(IdentityHandle::fromPEM(certificates, key, passPhrase));
}

SecIdentity SecIdentity::fromDER(const Data& certificate, const Data& key, PassPhrase passPhrase) {
  return SecIdentity(IdentityHandle::fromDER(certificate, key, passPhrase));
}

SecIdentity SecIdentity::fromPKCS12(const Data& bytes, PassPhrase passPhrase) {
  return SecIdentity(IdentityHandle::fromPKCS12(bytes, passPhrase));
}

const std::vector<SecCertificate>& SecIdentity::certificates() const { return handle_->certificates; }

}  // namespace platform
