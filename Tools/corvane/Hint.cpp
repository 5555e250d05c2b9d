#include "Hint.hpp"

#include <algorithm>

#include "ToolOptions.hpp"

using namespace corvane;
namespace URLErrorCode = platform::URLErrorCode;

namespace {

std::string hintForStatus(int status, const ToolOptions& options) {
  switch (status) {
    case 401:
      return "credentials go into a header field: --header 'Authorization: ...'";
    case 502:
    case 503:
    case 504:
      if (options.retry || options.hasSeveralResponses()) return "";
      return "--retry interval=1,limit=3,transient tries again";
    default:
      return "";
  }
}

std::string hintForTransport(std::int64_t code, const ToolOptions& options) {
  const bool isSecure =
      std::any_of(options.urls.begin(), options.urls.end(), [](const URL& url) { return url.scheme() == "https"; });
  switch (code) {
    case URLErrorCode::cannotFindHost:
    case URLErrorCode::dnsLookupFailed:
      return "is the name of the host written as it should be?";
    case URLErrorCode::cannotConnectToHost:
      return "does the server run, and is the port the right one?";
    case URLErrorCode::notConnectedToInternet:
      return options.waitsForConnectivity ? "" : "--wait-for-connectivity waits until there is a network";
    case URLErrorCode::timedOut:
      return "--timeout SECONDS lets it take longer";
    case URLErrorCode::serverCertificateHasUnknownRoot:
    case URLErrorCode::serverCertificateUntrusted:
      return "--trust FILE trusts a certificate of your own, in DER";
    case URLErrorCode::secureConnectionFailed:
      return isSecure ? "does the port speak TLS? If not, the URL begins with http://" : "";
    case URLErrorCode::dataLengthExceedsMaximum:
      return "--download saves a body of any size";
    default:
      return "";
  }
}

}  // namespace

std::string hintFor(const Error& error, const ToolOptions& options) {
  if (const auto* response = error.as<HTTPResponseError>()) {
    return response->status() ? hintForStatus(response->status()->rawValue(), options) : "";
  }
  const bool isTransport = error.is<CFNetworkErrors>() || error.domain() == platform::NSURLErrorDomain;
  return isTransport ? hintForTransport(error.code(), options) : "";
}
