#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"
#include "Platform/Loading/URLRequest.hpp"
#include "Platform/Loading/URLResponse.hpp"

namespace platform {
struct TaskMetrics;
}

namespace corvane {

namespace detail {
class InterceptedBody;
struct InterceptedParts;
}  // namespace detail

/// What came of a request that an interceptor sent on, or what the interceptor responds with itself. A value; copies
/// share the body.
///
/// The body of a download and of a stream is not in memory: it goes with this value. It is discarded with the last
/// copy, and at the latest when the request ends with another response.
class CORVANE_API HTTPInterceptedResponse {
 public:
  /// A response without the network: what the request gets in place of that of a server. `url` is the URL that the
  /// response seems to come from; `body` becomes the body of any kind of request, also of a download or a stream.
  HTTPInterceptedResponse(platform::URL url, int statusCode, platform::HTTPHeaderFields headerFields = {},
                          platform::Data body = {});
  /// A failed exchange.
  explicit HTTPInterceptedResponse(platform::Error failure);

  /// The status code; 0 without a response over HTTP.
  int statusCode() const;
  /// The value of a header field; see `HTTPHeaderFields::value`. Absent without a response over HTTP.
  std::optional<std::string> value(std::string_view headerField) const;
  /// The response over HTTP; null without one. Valid as long as `response` is unchanged.
  const platform::HTTPURLResponse* httpResponse() const;
  /// Where the response came from, after redirects; absent without a response.
  std::optional<platform::URL> url() const;

  /// The head; null where none arrived.
  std::shared_ptr<const platform::URLResponse> response;
  /// The body, decoded from its content codings. Absent for a download and a stream; set there, it replaces their body.
  std::optional<platform::Data> data;
  /// Why there is no complete response: an error of the network, with domains and codes as in `URLErrorCodes.hpp`. The
  /// request fails with it, as it would without interceptors. A status such as 404 is no error here.
  std::optional<platform::Error> error;
  /// How long the exchange took, and what it consisted of; null without one, and for a stream until it ends.
  std::shared_ptr<const platform::TaskMetrics> metrics;

 private:
  friend struct detail::InterceptedParts;

  HTTPInterceptedResponse() = default;

  std::shared_ptr<detail::InterceptedBody> body_;
  std::shared_ptr<const platform::URLRequest> sent_;
};

}  // namespace corvane
