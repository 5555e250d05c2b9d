#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Vantorel/ErrorLoggable.hpp"
#include "Velisand/AppError.hpp"

namespace corvane {

/// A failure of the network, of TLS or of a file, by the platform's error code, with a human-readable message.
///
/// The user information has the details from the loading layer: the failing URL, the system's error number, a sentence
/// that describes the failure, and whether the request was sent (see `platform::URLErrorKey`).
class CORVANE_API CFNetworkErrors final : public velisand::AppError<CFNetworkErrors>, public vantorel::ErrorLoggable {
 public:
  /// An error with any code, and with the user information of the underlying error, if there is one.
  explicit CFNetworkErrors(std::int32_t rawValue, std::optional<platform::Error> underlyingError = std::nullopt);

  /// Errors with the codes of `platform::URLErrorCode`, which describes when each is reported.
  static CFNetworkErrors cannotWriteToFile() { return code(platform::URLErrorCode::cannotWriteToFile); }
  static CFNetworkErrors cannotCloseFile() { return code(platform::URLErrorCode::cannotCloseFile); }
  static CFNetworkErrors cannotCreateFile() { return code(platform::URLErrorCode::cannotCreateFile); }
  static CFNetworkErrors cannotLoadFromNetwork() { return code(platform::URLErrorCode::cannotLoadFromNetwork); }
  static CFNetworkErrors clientCertificateRequired() { return code(platform::URLErrorCode::clientCertificateRequired); }
  static CFNetworkErrors clientCertificateRejected() { return code(platform::URLErrorCode::clientCertificateRejected); }
  static CFNetworkErrors serverCertificateNotYetValid() {
    return code(platform::URLErrorCode::serverCertificateNotYetValid);
  }
  static CFNetworkErrors serverCertificateHasUnknownRoot() {
    return code(platform::URLErrorCode::serverCertificateHasUnknownRoot);
  }
  static CFNetworkErrors serverCertificateUntrusted() {
    return code(platform::URLErrorCode::serverCertificateUntrusted);
  }
  static CFNetworkErrors serverCertificateHasBadDate() {
    return code(platform::URLErrorCode::serverCertificateHasBadDate);
  }
  static CFNetworkErrors secureConnectionFailed() { return code(platform::URLErrorCode::secureConnectionFailed); }
  static CFNetworkErrors dataLengthExceedsMaximum() { return code(platform::URLErrorCode::dataLengthExceedsMaximum); }
  static CFNetworkErrors noPermissionsToReadFile() { return code(platform::URLErrorCode::noPermissionsToReadFile); }
  static CFNetworkErrors fileIsDirectory() { return code(platform::URLErrorCode::fileIsDirectory); }
  static CFNetworkErrors fileDoesNotExist() { return code(platform::URLErrorCode::fileDoesNotExist); }
  static CFNetworkErrors appTransportSecurityRequiresSecureConnection() {
    return code(platform::URLErrorCode::appTransportSecurityRequiresSecureConnection);
  }
  static CFNetworkErrors requestBodyStreamExhausted() {
    return code(platform::URLErrorCode::requestBodyStreamExhausted);
  }
  static CFNetworkErrors cannotParseResponse() { return code(platform::URLErrorCode::cannotParseResponse); }
  static CFNetworkErrors cannotDecodeRawData() { return code(platform::URLErrorCode::cannotDecodeRawData); }
  static CFNetworkErrors cannotDecodeContentData() { return code(platform::URLErrorCode::cannotDecodeContentData); }
  static CFNetworkErrors zeroByteResource() { return code(platform::URLErrorCode::zeroByteResource); }
  static CFNetworkErrors userCancelledAuthentication() {
    return code(platform::URLErrorCode::userCancelledAuthentication);
  }
  static CFNetworkErrors badServerResponse() { return code(platform::URLErrorCode::badServerResponse); }
  static CFNetworkErrors redirectToNonExistentLocation() {
    return code(platform::URLErrorCode::redirectToNonExistentLocation);
  }
  static CFNetworkErrors notConnectedToInternet() { return code(platform::URLErrorCode::notConnectedToInternet); }
  static CFNetworkErrors resourceUnavailable() { return code(platform::URLErrorCode::resourceUnavailable); }
  static CFNetworkErrors httpTooManyRedirects() { return code(platform::URLErrorCode::httpTooManyRedirects); }
  static CFNetworkErrors dnsLookupFailed() { return code(platform::URLErrorCode::dnsLookupFailed); }
  static CFNetworkErrors networkConnectionLost() { return code(platform::URLErrorCode::networkConnectionLost); }
  static CFNetworkErrors cannotConnectToHost() { return code(platform::URLErrorCode::cannotConnectToHost); }
  static CFNetworkErrors cannotFindHost() { return code(platform::URLErrorCode::cannotFindHost); }
  static CFNetworkErrors unsupportedURL() { return code(platform::URLErrorCode::unsupportedURL); }
  static CFNetworkErrors timedOut() { return code(platform::URLErrorCode::timedOut); }
  static CFNetworkErrors badURL() { return code(platform::URLErrorCode::badURL); }
  static CFNetworkErrors cancelled() { return code(platform::URLErrorCode::cancelled); }
  static CFNetworkErrors unknown() { return code(platform::URLErrorCode::unknown); }
  static CFNetworkErrors socksUnsupportedServerVersion() {
    return code(platform::URLErrorCode::socksUnsupportedServerVersion);
  }
  static CFNetworkErrors socks5BadState() { return code(platform::URLErrorCode::socks5BadState); }
  static CFNetworkErrors socks5BadResponseAddress() { return code(platform::URLErrorCode::socks5BadResponseAddress); }
  static CFNetworkErrors socks5BadCredentials() { return code(platform::URLErrorCode::socks5BadCredentials); }
  static CFNetworkErrors socks5UnsupportedNegotiationMethod() {
    return code(platform::URLErrorCode::socks5UnsupportedNegotiationMethod);
  }
  static CFNetworkErrors socks5NoAcceptableMethod() { return code(platform::URLErrorCode::socks5NoAcceptableMethod); }
  static CFNetworkErrors httpProxyConnectionFailure() {
    return code(platform::URLErrorCode::httpProxyConnectionFailure);
  }
  static CFNetworkErrors httpBadProxyCredentials() { return code(platform::URLErrorCode::httpBadProxyCredentials); }
  static CFNetworkErrors httpsProxyConnectionFailure() {
    return code(platform::URLErrorCode::httpsProxyConnectionFailure);
  }
  static CFNetworkErrors httpsProxyUnexpectedResponse() {
    return code(platform::URLErrorCode::httpsProxyUnexpectedResponse);
  }

  /// The platform's code; see `platform::URLErrorCode`.
  std::int32_t rawValue() const { return rawValue_; }
  /// The error of the loading layer that this error was made from; absent if the application constructed it.
  const std::optional<platform::Error>& underlyingError() const { return underlyingError_; }

  /// From the table of 84 messages; "CFNet unknown error: " and the code for any other.
  std::string message() const override;
  /// "CFNetwork.CFNetworkErrors".
  std::string errorDomain() const override;
  /// The raw value.
  std::int64_t errorCode() const override;
  /// This error's message, and the underlying error's other entries.
  platform::Dictionary errorUserInfo() const override;

  /// Equal codes, whatever the underlying errors.
  friend bool operator==(const CFNetworkErrors& left, const CFNetworkErrors& right) {
    return left.rawValue_ == right.rawValue_;
  }

 private:
  static CFNetworkErrors code(std::int32_t rawValue) { return CFNetworkErrors(rawValue); }

  std::int32_t rawValue_;
  std::optional<platform::Error> underlyingError_;
};

}  // namespace corvane
