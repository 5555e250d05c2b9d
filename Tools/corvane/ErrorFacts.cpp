#include "ErrorFacts.hpp"

#include <Corvane/ContentEncoding/GZipError.hpp>
#include <Platform/Foundation/TypeName.hpp>
#include <exception>
#include <string_view>
#include <typeinfo>
#include <utility>

using namespace corvane;

namespace {

const char* nameOf(HTTPRequestError::Case which) {
  switch (which) {
    case HTTPRequestError::Case::malformedURL:
      return "malformedURL";
  }
  return nullptr;
}

const char* nameOf(HTTPResponseError::Case which) {
  switch (which) {
    case HTTPResponseError::Case::unacceptableStatus:
      return "unacceptableStatus";
    case HTTPResponseError::Case::malformedData:
      return "malformedData";
    case HTTPResponseError::Case::jsonDecoding:
      return "jsonDecoding";
    case HTTPResponseError::Case::taskCancelled:
      return "taskCancelled";
    case HTTPResponseError::Case::noContent:
      return "noContent";
  }
  return nullptr;
}

const char* nameOf(GZipError::Case which) {
  switch (which) {
    case GZipError::Case::stream:
      return "stream";
    case GZipError::Case::data:
      return "data";
    case GZipError::Case::memory:
      return "memory";
    case GZipError::Case::buffer:
      return "buffer";
    case GZipError::Case::version:
      return "version";
    case GZipError::Case::unknown:
      return "unknown";
  }
  return nullptr;
}

#define NAMED(code) {platform::URLErrorCode::code, #code}
constexpr std::pair<std::int64_t, const char*> loadingCases[] = {
    NAMED(cannotMoveFile),
    NAMED(cannotWriteToFile),
    NAMED(cannotCloseFile),
    NAMED(cannotOpenFile),
    NAMED(cannotCreateFile),
    NAMED(cannotLoadFromNetwork),
    NAMED(clientCertificateRequired),
    NAMED(clientCertificateRejected),
    NAMED(serverCertificateNotYetValid),
    NAMED(serverCertificateHasUnknownRoot),
    NAMED(serverCertificateUntrusted),
    NAMED(serverCertificateHasBadDate),
    NAMED(secureConnectionFailed),
    NAMED(dataLengthExceedsMaximum),
    NAMED(noPermissionsToReadFile),
    NAMED(fileIsDirectory),
    NAMED(fileDoesNotExist),
    NAMED(appTransportSecurityRequiresSecureConnection),
    NAMED(requestBodyStreamExhausted),
    NAMED(cannotParseResponse),
    NAMED(cannotDecodeRawData),
    NAMED(cannotDecodeContentData),
    NAMED(zeroByteResource),
    NAMED(userCancelledAuthentication),
    NAMED(badServerResponse),
    NAMED(redirectToNonExistentLocation),
    NAMED(notConnectedToInternet),
    NAMED(resourceUnavailable),
    NAMED(httpTooManyRedirects),
    NAMED(dnsLookupFailed),
    NAMED(networkConnectionLost),
    NAMED(cannotConnectToHost),
    NAMED(cannotFindHost),
    NAMED(unsupportedURL),
    NAMED(timedOut),
    NAMED(badURL),
    NAMED(cancelled),
    NAMED(unknown),
    NAMED(socksUnsupportedServerVersion),
    NAMED(socks5BadState),
    NAMED(socks5BadResponseAddress),
    NAMED(socks5BadCredentials),
    NAMED(socks5UnsupportedNegotiationMethod),
    NAMED(socks5NoAcceptableMethod),
    NAMED(httpProxyConnectionFailure),
    NAMED(httpBadProxyCredentials),
    NAMED(httpsProxyConnectionFailure),
    NAMED(httpsProxyUnexpectedResponse),
};
#undef NAMED

const char* nameOfLoadingCase(std::int64_t code) {
  for (const auto& [knownCode, name] : loadingCases)
    if (knownCode == code) return name;
  return nullptr;
}

const char* nameOfCase(const Error& error) {
  if (const auto* request = error.as<HTTPRequestError>()) return nameOf(request->which());
  if (const auto* response = error.as<HTTPResponseError>()) return nameOf(response->which());
  if (const auto* gzip = error.as<GZipError>()) return nameOf(gzip->which());
  if (error.is<CFNetworkErrors>() || error.domain() == platform::NSURLErrorDomain)
    return nameOfLoadingCase(error.code());
  return nullptr;
}

std::string typeOf(const Error& error) {
  const auto* held = error.as<std::exception>();
  const std::string name = held ? platform::typeName(typeid(*held)) : "Error";
  const std::size_t colons = name.rfind("::");
  return colons == std::string::npos ? name : name.substr(colons + 2);
}

}  // namespace

ErrorFacts ErrorFacts::of(const Error& error) {
  const char* name = nameOfCase(error);
  const auto userInfo = error.userInfo();
  const auto* const detail = userInfo.find(platform::URLErrorKey::transportMessage);
  return {.domain = error.domain(),
          .code = error.code(),
          .type = typeOf(error),
          .caseName = name ? std::optional<std::string>(name) : std::nullopt,
          .message = error.message(),
          .detail = detail ? std::optional(detail->description()) : std::nullopt};
}
