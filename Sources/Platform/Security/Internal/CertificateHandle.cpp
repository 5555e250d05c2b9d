#include "Platform/Security/Internal/CertificateHandle.hpp"

#include <openssl/err.h>

namespace platform::detail {

std::vector<SecCertificate> certificatesFromChain(const STACK_OF(X509) * chain) {
  std::vector<SecCertificate> certificates;
  const int count = chain ? sk_X509_num(chain) : 0;
  certificates.reserve(static_cast<std::size_t>(count));
  for (int index = 0; index < count; ++index) {
    X509* certificate = sk_X509_value(chain, index);
    X509_up_ref(certificate);
    certificates.emplace_back(std::make_shared<const CertificateHandle>(certificate));
  }
  return certificates;
}

OpenSSLErrorScope::OpenSSLErrorScope() noexcept { ERR_set_mark(); }

OpenSSLErrorScope::~OpenSSLErrorScope() { ERR_pop_to_mark(); }

}  // namespace platform::detail
