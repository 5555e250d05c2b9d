#pragma once

#include <openssl/x509.h>

#include <functional>
#include <string>

#include "CorvaneTesting/Certificate.hpp"
#include "Platform/Security/SecCertificate.hpp"

namespace corvane::testkit {

/// As the platform holds it. Throws std::runtime_error when the platform refuses it.
platform::SecCertificate trustCertificate(const Certificate& certificate);

/// The DER of `certificate` after `change`, signed with the key in `signerKeyPem`: for certificates that no
/// authority would issue.
platform::Data resigned(const Certificate& certificate, const std::string& signerKeyPem,
                        const std::function<void(X509*)>& change);

}  // namespace corvane::testkit
