#include "Platform/Loading/Internal/TransportErrors.hpp"

#include <netdb.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "Platform/Loading/Internal/NetworkMonitor.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace platform::detail {

namespace {

/// The code where nothing else is known than what libcurl said.
std::int32_t plainCode(CURLcode code) {
  switch (code) {
    case CURLE_URL_MALFORMAT:
      return URLErrorCode::badURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return URLErrorCode::cannotFindHost;
    case CURLE_COULDNT_CONNECT:
    case CURLE_INTERFACE_FAILED:
    case CURLE_NO_CONNECTION_AVAILABLE:
    case CURLE_QUIC_CONNECT_ERROR:
    case CURLE_PROXY:
      return URLErrorCode::cannotConnectToHost;
    case CURLE_OPERATION_TIMEDOUT:
      return URLErrorCode::timedOut;
    case CURLE_UNSUPPORTED_PROTOCOL:  // the scheme was checked before: an answer in another protocol, such as HTTP/0.9
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_HTTP2:
    case CURLE_HTTP3:
      return URLErrorCode::cannotParseResponse;
    case CURLE_HTTP_RETURNED_ERROR:
    case CURLE_RANGE_ERROR:
      return URLErrorCode::badServerResponse;
    case CURLE_BAD_CONTENT_ENCODING:
      return URLErrorCode::cannotDecodeContentData;
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_HTTP2_STREAM:
      return URLErrorCode::networkConnectionLost;
    case CURLE_READ_ERROR:
    case CURLE_SEND_FAIL_REWIND:
      return URLErrorCode::requestBodyStreamExhausted;
    case CURLE_FILESIZE_EXCEEDED:
      return URLErrorCode::dataLengthExceedsMaximum;
    case CURLE_TOO_MANY_REDIRECTS:
      return URLErrorCode::httpTooManyRedirects;
    case CURLE_ABORTED_BY_CALLBACK:
      return URLErrorCode::cancelled;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_CIPHER:
    case CURLE_USE_SSL_FAILED:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CRL_BADFILE:
      return URLErrorCode::secureConnectionFailed;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return URLErrorCode::serverCertificateUntrusted;
    case CURLE_SSL_CERTPROBLEM:
      return URLErrorCode::clientCertificateRejected;
    case CURLE_SSL_CLIENTCERT:
      return URLErrorCode::clientCertificateRequired;
    default:
      return URLErrorCode::unknown;
  }
}

bool isResolution(CURLcode code) { return code == CURLE_COULDNT_RESOLVE_HOST || code == CURLE_COULDNT_RESOLVE_PROXY; }

bool isWithoutNetwork(int systemError) { return systemError == ENETUNREACH || systemError == ENETDOWN; }

bool isLostConnection(CURLcode code) {
  return code == CURLE_SEND_ERROR || code == CURLE_RECV_ERROR || code == CURLE_GOT_NOTHING;
}

Dictionary facts(const URL& url, bool requestWasSent) {
  return {{URLErrorKey::failingURL, url.absoluteString()}, {URLErrorKey::requestWasSent, requestWasSent}};
}

std::string secondsText(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", seconds);
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

std::int32_t urlErrorCode(const TransportFailure& failure) {
  if (failure.trustProblem) return urlErrorCode(*failure.trustProblem);
  if (failure.isSecuring && isLostConnection(failure.code)) return URLErrorCode::secureConnectionFailed;
  if (failure.isOffline && (isResolution(failure.code) || failure.code == CURLE_COULDNT_CONNECT)) {
    return URLErrorCode::notConnectedToInternet;
  }
  if (isResolution(failure.code) && failure.systemError == EAI_AGAIN) return URLErrorCode::dnsLookupFailed;
  if (failure.code == CURLE_COULDNT_CONNECT) {
    if (!failure.isLocal && isWithoutNetwork(failure.systemError)) return URLErrorCode::notConnectedToInternet;
    if (failure.systemError == ETIMEDOUT) return URLErrorCode::timedOut;
  }
  return plainCode(failure.code);
}

bool isOffline(const TransportFailure& failure) {
  if (failure.isLocal || failure.requestWasSent) return false;
  const bool reachedNobody = failure.code == CURLE_COULDNT_CONNECT && failure.systemError != ECONNREFUSED;
  return (reachedNobody || isResolution(failure.code)) && !machineHasNetwork();
}

Error transportError(const TransportFailure& failure, const URL& url) {
  const std::string text = failure.text.empty() ? curl_easy_strerror(failure.code) : failure.text;
  Dictionary userInfo = facts(url, failure.requestWasSent);
  userInfo.set(URLErrorKey::transportCode, static_cast<std::int64_t>(failure.code));
  userInfo.set(URLErrorKey::transportMessage, text);
  std::string message = text;
  if (failure.systemError > 0) {
    message.append(" (").append(std::generic_category().message(failure.systemError)).append(")");
  }
  return NSError(kCFErrorDomainCFNetwork, urlErrorCode(failure), std::move(message), std::move(userInfo));
}

Error transportError(std::int32_t code, std::string message, const URL& url, bool requestWasSent) {
  Dictionary userInfo = facts(url, requestWasSent);
  userInfo.set(URLErrorKey::transportMessage, message);
  return NSError(kCFErrorDomainCFNetwork, code, std::move(message), std::move(userInfo));
}

Error timeoutError(const URLRequest& request, bool requestWasSent) {
  return transportError(URLErrorCode::timedOut,
                        "nothing moved for " + secondsText(request.timeoutInterval) + " seconds", request.url,
                        requestWasSent);
}

bool isConnectivityFailure(const TransportFailure& failure) {
  if (isResolution(failure.code)) return failure.isOffline || failure.systemError == EAI_AGAIN;
  if (failure.code != CURLE_COULDNT_CONNECT) return false;
  // EADDRNOTAVAIL: no address of our own in the host's family.
  return failure.isOffline || isWithoutNetwork(failure.systemError) || failure.systemError == EHOSTUNREACH ||
         failure.systemError == EADDRNOTAVAIL;
}

}  // namespace platform::detail
