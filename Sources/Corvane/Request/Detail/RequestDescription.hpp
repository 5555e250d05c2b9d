#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Corvane/Request/HTTPHeaders.hpp"
#include "Corvane/Request/HTTPMediaType.hpp"
#include "Corvane/Request/HTTPMethod.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace corvane::detail {

/// Where a request goes, as its type describes it.
struct CORVANE_API URLDescription {
  platform::URL baseURL;
  std::string path;
  HTTPQueryItems queryItems;
  /// The URL that a type supplies itself, in place of the composed one.
  std::optional<platform::URL> ownURL;
  /// Whether `queryItems` replace the query of `ownURL`; otherwise that URL is used as it is.
  bool ownURLTakesQueryItems = false;

  ~URLDescription();
};

/// What a request type says about itself, read once, in this order: where there is no URL, nothing else is asked for.
/// From here on no template is needed.
struct CORVANE_API RequestDescription {
  platform::URL url;
  platform::URLRequestCachePolicy cachePolicy;
  double timeoutInterval;
  std::optional<std::int64_t> maximumBodyBytes;
  HTTPMediaType acceptType;
  HTTPHeaders sharedHeaders;
  HTTPHeaders headers;
  HTTPMethod method;

  ~RequestDescription();
};

/// What a body adds to a request.
struct BodyDescription {
  HTTPMediaType contentType;
  /// Absent for a body that is sent from its file, or made while it is sent.
  std::optional<platform::Data> bytes;
  /// The name of the coding that `bytes` are in; absent when they are as the body gave them.
  std::optional<std::string> contentEncoding;
  /// The body that is made while it is sent, encoded; else null.
  std::shared_ptr<platform::URLBodyStream> stream = nullptr;
};

/// The URL "/", made once. It stands for "no base" and is refused as a target.
CORVANE_API const platform::URL& defaultBaseURL();
/// A request for the default base URL, made once; cache policy and time-out have their defaults from it.
CORVANE_API const platform::URLRequest& defaultURLRequest();

/// Base URL, path and query items put together; absent when they make no URL.
CORVANE_API std::optional<platform::URL> composedURL(const URLDescription& target);
/// What a request reports as its URL: its own, else the composed one, else the default base URL.
CORVANE_API platform::URL reportedURL(const URLDescription& target);
/// The URL to be sent to. Throws `HTTPRequestError::malformedURL` with `urlString` when there is none.
CORVANE_API platform::URL createURL(const URLDescription& target);
/// The same for debug output, which is about requests that were sent: traps when there is none.
CORVANE_API platform::URL urlForDebugOutput(const URLDescription& target);
/// The text that error messages show: base URL, path and query items run together in a form of its own. The
/// items a=1, b=2, c=3 read ",,a=1b=2c=3". It is not the URL that is sent.
CORVANE_API std::string urlString(const URLDescription& target);

/// The same fields, every value as the text that is sent.
CORVANE_API HTTPHeaders asText(const HTTPHeaders& headers);
/// Every value as the text that is sent.
CORVANE_API platform::HTTPHeaderFields textHeaders(const HTTPHeaders& headers);
/// The defaults, then the shared headers, then the request's own; later ones replace earlier ones.
CORVANE_API platform::HTTPHeaderFields composedHeaders(const RequestDescription& description);
CORVANE_API platform::URLRequest composedRequest(const RequestDescription& description);
/// Sets body, "Content-Type" and, where there is a coding, "Content-Encoding".
CORVANE_API void addBody(platform::URLRequest& request, BodyDescription body);

}  // namespace corvane::detail
