#include "Platform/Loading/Internal/TransportErrors.hpp"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "Platform/Loading/Internal/NetworkMonitor.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Networking/Connecting/LocalHost.hpp"

namespace platform::detail {

using networking::FailureCause;
using networking::Hop;

namespace {

/// The code where nothing else is known than the cause.
std::int32_t plainCode(FailureCause cause) {
  switch (cause) {
    case FailureCause::invalidRequest:
      return URLErrorCode::badURL;
    case FailureCause::nameNotFound:
      return URLErrorCode::cannotFindHost;
    case FailureCause::nameLookupFailed:
      return URLErrorCode::dnsLookupFailed;
    case FailureCause::cannotConnect:
    case FailureCause::outOfDescriptors:
      return URLErrorCode::cannotConnectToHost;
    case FailureCause::secureConnectionFailed:
      return URLErrorCode::secureConnectionFailed;
    case FailureCause::serverNotTrusted:
      return URLErrorCode::serverCertificateUntrusted;
    case FailureCause::clientCertificateRequired:
      return URLErrorCode::clientCertificateRequired;
    case FailureCause::clientCertificateRejected:
      return URLErrorCode::clientCertificateRejected;
    case FailureCause::connectionLost:
    case FailureCause::streamReset:
    case FailureCause::notProcessed:
      return URLErrorCode::networkConnectionLost;
    case FailureCause::malformedResponse:
      return URLErrorCode::cannotParseResponse;
    case FailureCause::requestBody:
      return URLErrorCode::requestBodyStreamExhausted;
    case FailureCause::tunnelRefused:
      return URLErrorCode::httpsProxyUnexpectedResponse;
    case FailureCause::tunnelUnavailable:
    case FailureCause::tunnelLost:
      return URLErrorCode::httpsProxyConnectionFailure;
    case FailureCause::proxyCredentialsRefused:
      return URLErrorCode::httpBadProxyCredentials;
    case FailureCause::socksVersion:
      return URLErrorCode::socksUnsupportedServerVersion;
    case FailureCause::socksFailed:
      return URLErrorCode::socks5BadState;
    case FailureCause::socksAddress:
      return URLErrorCode::socks5BadResponseAddress;
    case FailureCause::socksCredentialsRefused:
      return URLErrorCode::socks5BadCredentials;
    case FailureCause::socksMethodUnknown:
      return URLErrorCode::socks5UnsupportedNegotiationMethod;
    case FailureCause::socksMethod:
      return URLErrorCode::socks5NoAcceptableMethod;
    case FailureCause::outOfMemory:  // is an error without a code of ours
      break;
  }
  return URLErrorCode::unknown;
}

bool isResolution(FailureCause cause) {
  return cause == FailureCause::nameNotFound || cause == FailureCause::nameLookupFailed;
}

/// Of an HTTP proxy that could not be reached.
std::optional<std::int32_t> codeOfProxy(const networking::Failure& failure) {
  if (!isResolution(failure.cause) && failure.cause != FailureCause::cannotConnect) return std::nullopt;
  if (failure.hop == Hop::forwardingProxy) return URLErrorCode::httpProxyConnectionFailure;
  if (failure.hop == Hop::tunnellingProxy) return URLErrorCode::httpsProxyConnectionFailure;
  return std::nullopt;
}

bool isWithoutNetwork(int systemError) { return systemError == ENETUNREACH || systemError == ENETDOWN; }

Dictionary facts(const URL& url, bool requestWasSent) {
  return {{URLErrorKey::failingURL, url.absoluteString()}, {URLErrorKey::requestWasSent, requestWasSent}};
}

std::string secondsText(double seconds) {
  char text[48];
  std::snprintf(text, sizeof text, seconds == 1 ? "%g second" : "%g seconds", seconds);
  return text;
}

}  // namespace

std::int32_t urlErrorCode(SecTrustProblem problem) {
  switch (problem) {
    case SecTrustProblem::expired:
      return URLErrorCode::serverCertificateHasBadDate;
    case SecTrustProblem::notYetValid:
      return URLErrorCode::serverCertificateNotYetValid;
    case SecTrustProblem::unknownRoot:
      return URLErrorCode::serverCertificateHasUnknownRoot;
    case SecTrustProblem::none:
    case SecTrustProblem::hostMismatch:
    case SecTrustProblem::other:
      break;
  }
  return URLErrorCode::serverCertificateUntrusted;
}

TransportFailure TransportFailure::of(networking::Failure reason, const std::string& host, bool requestWasSent) {
  TransportFailure failure{
      .reason = std::move(reason), .requestWasSent = requestWasSent, .isLocal = networking::isThisMachine(host)};
  failure.isOffline = detail::isOffline(failure);
  return failure;
}

std::int32_t urlErrorCode(const TransportFailure& failure) {
  const FailureCause cause = failure.reason.cause;
  if (failure.isOffline && (isResolution(cause) || cause == FailureCause::cannotConnect)) {
    return URLErrorCode::notConnectedToInternet;
  }
  if (const auto code = codeOfProxy(failure.reason)) return *code;
  if (cause == FailureCause::cannotConnect) {
    if (!failure.isLocal && isWithoutNetwork(failure.reason.systemError)) return URLErrorCode::notConnectedToInternet;
    if (failure.reason.systemError == ETIMEDOUT) return URLErrorCode::timedOut;
  }
  return plainCode(cause);
}

bool isOffline(const TransportFailure& failure) {
  if (failure.isLocal || failure.requestWasSent) return false;
  const bool reachedNobody =
      failure.reason.cause == FailureCause::cannotConnect && failure.reason.systemError != ECONNREFUSED;
  return (reachedNobody || isResolution(failure.reason.cause)) && !machineHasNetwork();
}

Error transportError(const TransportFailure& failure, const URL& url) {
  Dictionary userInfo = facts(url, failure.requestWasSent);
  userInfo.set(URLErrorKey::transportCode, static_cast<std::int64_t>(failure.reason.systemError));
  userInfo.set(URLErrorKey::transportMessage, failure.reason.message);
  return NSError(kCFErrorDomainCFNetwork, urlErrorCode(failure), failure.reason.message, std::move(userInfo));
}

Error transportError(std::int32_t code, std::string message, const URL& url, bool requestWasSent) {
  Dictionary userInfo = facts(url, requestWasSent);
  userInfo.set(URLErrorKey::transportMessage, message);
  return NSError(kCFErrorDomainCFNetwork, code, std::move(message), std::move(userInfo));
}

Error notStoredError(const URL& url) {
  return transportError(URLErrorCode::cannotLoadFromNetwork,
                        "the request may not be sent, and the cache has no response for it", url, false);
}

Error resourceError(int systemError, const URL& url) {
  std::string message = "no socket can be opened for a connection: " + std::generic_category().message(systemError);
  if (systemError == EMFILE) message += " (raise the limit of open files: ulimit -n)";
  Dictionary userInfo = facts(url, false);
  userInfo.set(URLErrorKey::transportMessage, message);
  return NSError(NSPOSIXErrorDomain, systemError, std::move(message), std::move(userInfo));
}

Error timeoutError(const URLRequest& request, bool requestWasSent) {
  const char* const phase = requestWasSent ? "" : ", before the request was sent";
  return transportError(URLErrorCode::timedOut,
                        "nothing was sent or received for " + secondsText(request.timeoutInterval) + phase, request.url,
                        requestWasSent);
}

Error connectTimeoutError(const URLRequest& request, bool requestWasSent) {
  return transportError(URLErrorCode::timedOut, "there was no connection within " + secondsText(request.connectTimeout),
                        request.url, requestWasSent);
}

bool isConnectivityFailure(const TransportFailure& failure) {
  const FailureCause cause = failure.reason.cause;
  const int systemError = failure.reason.systemError;
  if (isResolution(cause)) return failure.isOffline || cause == FailureCause::nameLookupFailed;
  if (cause != FailureCause::cannotConnect) return false;
  // EADDRNOTAVAIL: no address of our own in the host's family.
  return failure.isOffline || isWithoutNetwork(systemError) || systemError == EHOSTUNREACH ||
         systemError == EADDRNOTAVAIL;
}

}  // namespace platform::detail
