#include "Platform/Networking/Streams/TLSFailures.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <string>

namespace platform::networking {

namespace {

FailureCause causeOfAlert(int description, bool isHandshake, bool wasAskedForCertificate) {
  if (description == TLS13_AD_CERTIFICATE_REQUIRED) return FailureCause::clientCertificateRequired;
  if (wasAskedForCertificate) {
    switch (description) {
      // Before TLS 1.3 there was no alert of its own for a certificate that is missing.
      case SSL3_AD_NO_CERTIFICATE:
      case SSL_AD_HANDSHAKE_FAILURE:
      case SSL_AD_BAD_CERTIFICATE:
        return FailureCause::clientCertificateRequired;
      case SSL_AD_UNSUPPORTED_CERTIFICATE:
      case SSL_AD_CERTIFICATE_REVOKED:
      case SSL_AD_CERTIFICATE_EXPIRED:
      case SSL_AD_CERTIFICATE_UNKNOWN:
      case SSL_AD_UNKNOWN_CA:
      case SSL_AD_ACCESS_DENIED:
        return FailureCause::clientCertificateRejected;
      default:
        break;
    }
  }
  return isHandshake ? FailureCause::secureConnectionFailed : FailureCause::connectionLost;
}

}  // namespace

Failure failureOfAlert(int description, bool isHandshake, bool wasAskedForCertificate) {
  std::string message =
      isHandshake ? "the server refused the TLS handshake: " : "the server ended the TLS connection: ";
  message += SSL_alert_desc_string_long(description);
  return {causeOfAlert(description, isHandshake, wasAskedForCertificate), std::move(message), 0};
}

Failure failureOfLibrary(bool isHandshake) {
  const char* reason = ERR_reason_error_string(ERR_peek_last_error());
  std::string message = isHandshake ? "the TLS handshake failed: " : "the TLS connection failed: ";
  message += reason ? reason : "no reason is known";
  return {isHandshake ? FailureCause::secureConnectionFailed : FailureCause::connectionLost, std::move(message), 0};
}

}  // namespace platform::networking
