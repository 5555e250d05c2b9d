#pragma once

#include <cstdint>

namespace platform {

/// Domains and codes of the errors that loading reports. The codes are the platform's.
inline constexpr const char* kCFErrorDomainCFNetwork = "kCFErrorDomainCFNetwork";
inline constexpr const char* NSURLErrorDomain = "NSURLErrorDomain";
/// The domain of failures of the system itself; the code is an error number, such as EMFILE.
inline constexpr const char* NSPOSIXErrorDomain = "NSPOSIXErrorDomain";

namespace URLErrorCode {
/// The codes of loading; Docs/ErrorMapping.md says when each is reported. `zeroByteResource`, `badServerResponse` and
/// `appTransportSecurityRequiresSecureConnection` are the platform's and are never reported here.
inline constexpr std::int32_t cannotMoveFile = -3005;
inline constexpr std::int32_t cannotWriteToFile = -3003;
inline constexpr std::int32_t cannotCloseFile = -3002;
inline constexpr std::int32_t cannotOpenFile = -3001;
inline constexpr std::int32_t cannotCreateFile = -3000;
inline constexpr std::int32_t cannotLoadFromNetwork = -2000;
inline constexpr std::int32_t clientCertificateRequired = -1206;
inline constexpr std::int32_t clientCertificateRejected = -1205;
inline constexpr std::int32_t serverCertificateNotYetValid = -1204;
inline constexpr std::int32_t serverCertificateHasUnknownRoot = -1203;
inline constexpr std::int32_t serverCertificateUntrusted = -1202;
inline constexpr std::int32_t serverCertificateHasBadDate = -1201;
inline constexpr std::int32_t secureConnectionFailed = -1200;
inline constexpr std::int32_t dataLengthExceedsMaximum = -1103;
inline constexpr std::int32_t noPermissionsToReadFile = -1102;
inline constexpr std::int32_t fileIsDirectory = -1101;
inline constexpr std::int32_t fileDoesNotExist = -1100;
inline constexpr std::int32_t appTransportSecurityRequiresSecureConnection = -1022;
inline constexpr std::int32_t requestBodyStreamExhausted = -1021;
inline constexpr std::int32_t cannotParseResponse = -1017;
inline constexpr std::int32_t cannotDecodeRawData = -1016;      ///< unknown content coding
inline constexpr std::int32_t cannotDecodeContentData = -1015;  ///< known coding, damaged content
inline constexpr std::int32_t zeroByteResource = -1014;
inline constexpr std::int32_t userCancelledAuthentication = -1012;
inline constexpr std::int32_t badServerResponse = -1011;
inline constexpr std::int32_t redirectToNonExistentLocation = -1010;
inline constexpr std::int32_t notConnectedToInternet = -1009;
inline constexpr std::int32_t resourceUnavailable = -1008;
inline constexpr std::int32_t httpTooManyRedirects = -1007;
inline constexpr std::int32_t dnsLookupFailed = -1006;
inline constexpr std::int32_t networkConnectionLost = -1005;
inline constexpr std::int32_t cannotConnectToHost = -1004;
inline constexpr std::int32_t cannotFindHost = -1003;
inline constexpr std::int32_t unsupportedURL = -1002;
inline constexpr std::int32_t timedOut = -1001;
inline constexpr std::int32_t badURL = -1000;
inline constexpr std::int32_t cancelled = -999;
inline constexpr std::int32_t unknown = -998;

/// Of proxies.
inline constexpr std::int32_t socksUnsupportedServerVersion = 101;
inline constexpr std::int32_t socks5BadState = 120;  ///< it refuses, or breaks the protocol
inline constexpr std::int32_t socks5BadResponseAddress = 121;
inline constexpr std::int32_t socks5BadCredentials = 122;
inline constexpr std::int32_t socks5UnsupportedNegotiationMethod = 123;
inline constexpr std::int32_t socks5NoAcceptableMethod = 124;
inline constexpr std::int32_t httpProxyConnectionFailure = 306;
inline constexpr std::int32_t httpBadProxyCredentials = 307;
inline constexpr std::int32_t httpsProxyConnectionFailure = 310;
inline constexpr std::int32_t httpsProxyUnexpectedResponse = 311;
}  // namespace URLErrorCode

/// Keys of the user information of loading errors.
namespace URLErrorKey {
/// The URL that failed, after redirects.
inline constexpr const char* failingURL = "NSErrorFailingURLStringKey";
/// The system's number for the failure (`errno`, or a code of `getaddrinfo`; 0 without one), if the network reported
/// it, and a sentence that describes the failure.
inline constexpr const char* transportCode = "CorvaneTransportCode";
inline constexpr const char* transportMessage = "CorvaneTransportMessage";
/// Whether the request was sent, so that the server may have acted on it.
inline constexpr const char* requestWasSent = "CorvaneRequestWasSent";
/// True for a task that never started because its session had been closed; absent otherwise.
inline constexpr const char* sessionWasClosed = "CorvaneSessionWasClosed";
}  // namespace URLErrorKey

}  // namespace platform
