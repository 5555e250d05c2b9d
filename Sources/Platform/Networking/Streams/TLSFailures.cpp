#include "Platform/Networking/Streams/TLSFailures.hpp"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/sslerr.h>

#include <string>
#include <utility>

namespace platform::networking {

namespace {

FailureCause causeOfAlert(int description, bool isHandshake, ClientCertificate certificate) {
  if (description == TLS13_AD_CERTIFICATE_REQUIRED) return FailureCause::clientCertificateRequired;
  if (certificate != ClientCertificate::notAskedFor) {
    switch (description) {
      // Before TLS 1.3 there was no alert of its own for a certificate that is missing.
      case SSL3_AD_NO_CERTIFICATE:
      case SSL_AD_HANDSHAKE_FAILURE:
      case SSL_AD_BAD_CERTIFICATE:
        return certificate == ClientCertificate::missing ? FailureCause::clientCertificateRequired
                                                         : FailureCause::clientCertificateRejected;
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

Failure failureOfAlert(int description, bool isHandshake, ClientCertificate certificate) {
  const FailureCause cause = causeOfAlert(description, isHandshake, certificate);
  if (cause == FailureCause::clientCertificateRequired) {
    return {cause, "the server asks for a client certificate, and none is set", 0};
  }
  std::string message =
      isHandshake ? "the server refused the TLS handshake: " : "the server ended the TLS connection: ";
  if (cause == FailureCause::clientCertificateRejected) message = "the server refuses the client certificate: ";
  message += SSL_alert_desc_string_long(description);
  return {cause, std::move(message) + " (alert " + std::to_string(description) + ")", 0};
}

Failure failureOfLibrary(bool isHandshake) {
  const unsigned long error = ERR_peek_last_error();
  const char* reason = ERR_reason_error_string(error);
  std::string message = isHandshake ? "the TLS handshake failed: " : "the TLS connection failed: ";
  // What does not begin as TLS does is read as a version of it.
  const bool isOther = ERR_GET_LIB(error) == ERR_LIB_SSL && ERR_GET_REASON(error) == SSL_R_WRONG_VERSION_NUMBER;
  if (isHandshake && isOther) message += "the server does not speak TLS on this port: ";
  message += reason ? reason : "no reason is known";
  return {isHandshake ? FailureCause::secureConnectionFailed : FailureCause::connectionLost, std::move(message), 0};
}

}  // namespace platform::networking
