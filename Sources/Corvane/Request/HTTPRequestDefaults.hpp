#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Corvane/Request/Detail/RequestDescription.hpp"
#include "Corvane/Request/HTTPHeaders.hpp"
#include "Corvane/Request/HTTPMediaType.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"

namespace corvane {

/// The defaults of a request that depend on nothing else in it; a base of `HTTPRequestable`, whose table lists every
/// requirement.
class HTTPRequestDefaults {
 public:
  /// Whether `send` does anything. If false, nothing is sent and no completion is called. Default: true.
  bool shouldSend() const { return true; }
  /// The cache policy. Default: `useProtocolCachePolicy`.
  platform::URLRequestCachePolicy cachePolicy() const { return detail::defaultURLRequest().cachePolicy; }
  /// Seconds, or a `std::chrono` duration, without progress after which the request fails with -1001. Default: 60.
  double timeoutInterval() const { return detail::defaultURLRequest().timeoutInterval; }
  /// The maximum length of the response's body in bytes, decoded from its content codings; a longer body fails with
  /// -1103. Default: absent, which means 1 GiB in memory and no limit for a download.
  std::optional<std::int64_t> maximumBodyBytes() const { return std::nullopt; }
  /// Whether the request waits while there is no network, instead of failing. Default: false.
  bool shouldWaitForConnectivity() const { return false; }
  /// Header fields of this request; they take precedence over `sharedHeaders`. Default: none.
  HTTPHeaders headers() const { return {}; }
  /// The address of the service. Default: "/", to which no request can be sent.
  platform::URL baseURL() const { return detail::defaultBaseURL(); }
  /// Appended to the path of `baseURL`, with one slash between them. Default: empty.
  std::string path() const { return {}; }
  /// The query. It replaces the query of `baseURL` unless it is empty. Default: empty.
  HTTPQueryItems queryItems() const { return {}; }
  /// The "Accept" header field. Default: any type.
  HTTPMediaType acceptType() const { return HTTPMediaType::any; }
  /// Requests with the same identifier and the same `shouldWaitForConnectivity` share connections and cookies. Default:
  /// absent.
  std::optional<std::string> sessionConfigurationIdentifier() const { return std::nullopt; }
};

}  // namespace corvane
