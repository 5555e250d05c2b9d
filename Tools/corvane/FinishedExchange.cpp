#include "FinishedExchange.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

using namespace corvane;
namespace URLErrorCode = platform::URLErrorCode;

namespace {

std::string sentenceOfStatus(int code, const HTTPStatus& status) {
  std::string text = "the server responded with status " + std::to_string(code);
  if (const auto phrase = status.reasonPhrase(); !phrase.empty()) text.append(" ").append(phrase);
  return text;
}

/// What stands before what the library says about a failure with the code; empty where that is a whole sentence. Absent
/// for the codes that only the platform's sentence tells of.
std::optional<std::string_view> beginningFor(std::int64_t code) {
  switch (code) {
    case URLErrorCode::timedOut:
      return "timed out: ";
    case URLErrorCode::notConnectedToInternet:
      return "there is no network: ";
    case URLErrorCode::cannotParseResponse:
      return "the response is not valid HTTP: ";
    case URLErrorCode::cannotDecodeContentData:
    case URLErrorCode::cannotDecodeRawData:
      return "the body cannot be decoded: ";
    case URLErrorCode::httpTooManyRedirects:
      return "too many redirects: ";
    case URLErrorCode::serverCertificateHasBadDate:
    case URLErrorCode::serverCertificateUntrusted:
    case URLErrorCode::serverCertificateHasUnknownRoot:
    case URLErrorCode::serverCertificateNotYetValid:
      return "the server is not trusted: ";
    case URLErrorCode::cannotFindHost:
    case URLErrorCode::dnsLookupFailed:
    case URLErrorCode::cannotConnectToHost:
    case URLErrorCode::networkConnectionLost:
    case URLErrorCode::secureConnectionFailed:
    case URLErrorCode::clientCertificateRequired:
    case URLErrorCode::clientCertificateRejected:
    case URLErrorCode::unsupportedURL:
    case URLErrorCode::redirectToNonExistentLocation:
    case URLErrorCode::dataLengthExceedsMaximum:
    case URLErrorCode::requestBodyStreamExhausted:
    case URLErrorCode::cannotCreateFile:
    case URLErrorCode::cannotWriteToFile:
    case URLErrorCode::socksUnsupportedServerVersion:
    case URLErrorCode::socks5BadState:
    case URLErrorCode::socks5BadResponseAddress:
    case URLErrorCode::socks5BadCredentials:
    case URLErrorCode::socks5UnsupportedNegotiationMethod:
    case URLErrorCode::socks5NoAcceptableMethod:
    case URLErrorCode::httpProxyConnectionFailure:
    case URLErrorCode::httpBadProxyCredentials:
    case URLErrorCode::httpsProxyConnectionFailure:
    case URLErrorCode::httpsProxyUnexpectedResponse:
      return "";
    default:
      return std::nullopt;
  }
}

/// The message without the name of its domain, which begins it.
std::string sentenceOfPlatform(const Error& error) {
  constexpr std::string_view end = " error: ";
  const std::string text = error.message();
  const std::size_t place = text.find(end);
  return place == std::string::npos ? text : text.substr(place + end.size());
}

/// As the end of a longer sentence.
std::string inTheMiddle(std::string sentence) {
  if (sentence.starts_with("The ")) sentence[0] = 't';
  if (sentence.ends_with('.')) sentence.pop_back();
  return sentence;
}

std::string sentenceOfTransport(const Error& error) {
  const auto userInfo = error.userInfo();
  const auto* const found = userInfo.find(platform::URLErrorKey::transportMessage);
  if (!found) return sentenceOfPlatform(error);
  const std::string detail = inTheMiddle(found->description());
  if (const auto beginning = beginningFor(error.code())) return std::string(*beginning) + detail;
  return inTheMiddle(sentenceOfPlatform(error)) + ": " + detail;
}

}  // namespace

std::string sentence(const Error& error, const ResponseRecord& response) {
  const auto* judged = error.as<HTTPResponseError>();
  const auto code = response.statusCode();
  if (judged && judged->which() == HTTPResponseError::Case::unacceptableStatus && code) {
    return sentenceOfStatus(*code, response.status);
  }
  if (judged && judged->which() == HTTPResponseError::Case::taskCancelled) return "the request was cancelled";
  return HTTPRedaction::secrets().redactedText(error.is<CFNetworkErrors>() ? sentenceOfTransport(error)
                                                                           : error.message());
}
