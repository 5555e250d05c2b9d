#pragma once

#include <openssl/x509.h>

#include <string>

#include "Platform/Security/SecCertificate.hpp"

namespace platform::detail {

/// Whether `certificate` is for `host`, a DNS name or an IP address (RFC 6125): an address matches an
/// address entry only, a wildcard stands for exactly one whole label, and the subject's common name counts
/// only where there is no subject alternative name at all.
bool certificateIsFor(const std::string& host, X509* certificate);
bool certificateIsFor(const std::string& host, const SecCertificate& certificate);

}  // namespace platform::detail
