#include "Platform/Security/Internal/HostMatching.hpp"

#include <arpa/inet.h>
#include <openssl/x509v3.h>

#include <array>

#include "Platform/Security/Internal/CertificateHandle.hpp"
#include "Platform/Security/Internal/OpenSSLUse.hpp"

namespace platform::detail {
namespace {

struct AddressBytes {
  std::array<unsigned char, 16> bytes{};
  std::size_t count = 0;
};

AddressBytes addressFrom(const std::string& host) {
  AddressBytes address;
  // A zone ("fe80::1%eth0", RFC 6874) says how to get there, not who is there.
  const std::string withoutZone = host.substr(0, host.find('%'));
  if (inet_pton(AF_INET, withoutZone.c_str(), address.bytes.data()) == 1) {
    address.count = 4;
  } else if (inet_pton(AF_INET6, withoutZone.c_str(), address.bytes.data()) == 1) {
    address.count = 16;
  }
  return address;
}

bool matchesName(std::string name, X509* certificate) {
  // The root's dot of an absolute name is not part of what certificates hold.
  if (!name.empty() && name.back() == '.') name.pop_back();
  // OpenSSL takes a leading dot for "any name below", and an embedded NUL for the end.
  if (name.empty() || name.front() == '.' || name.find('\0') != std::string::npos) return false;
  unsigned int flags = X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS;
  if (X509_get_ext_by_NID(certificate, NID_subject_alt_name, -1) >= 0) flags |= X509_CHECK_FLAG_NEVER_CHECK_SUBJECT;
  return X509_check_host(certificate, name.data(), name.size(), flags, nullptr) == 1;
}

}  // namespace

bool certificateIsFor(const std::string& host, X509* certificate) {
  const AddressBytes address = addressFrom(host);
  if (address.count == 0) return matchesName(host, certificate);
  return X509_check_ip(certificate, address.bytes.data(), address.count, 0) == 1;
}

bool certificateIsFor(const std::string& host, const SecCertificate& certificate) {
  const OpenSSLUse use;
  return use && certificateIsFor(host, certificate.handle()->x509);
}

}  // namespace platform::detail
