#pragma once

#include <optional>
#include <string_view>

#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane {

/// How a retrying request departs from the plain rule, which is what a policy says that was made without anything:
/// every failure is retried, after exactly the wait that the request names.
///
///     static HTTPRetryPolicy retryPolicy() {
///       return {.failures = HTTPRetryPolicy::Failures::transient, .jitter = 0.5, .longestWait = 30};
///     }
struct HTTPRetryPolicy {
  /// Which failures are tried again.
  enum class Failures {
    /// Every one, also a 404.
    all,
    /// What may be otherwise the next time: `isTransient`.
    transient
  };

  /// Default: all.
  Failures failures = Failures::all;
  /// With `transient`: retries methods, too, that are not safe (RFC 9110, 9.2.1: all but GET, HEAD, OPTIONS and TRACE).
  /// A server may have acted on such a request although its response was lost.
  bool retriesUnsafeMethods = false;
  /// The part of a wait that is left to chance, from 0 to 1: with 0.5 a wait of 4 s takes from 2 to 4 s. So clients
  /// that failed together do not retry together.
  double jitter = 0;
  /// No wait is longer, whatever the server asks for; absent: no limit.
  std::optional<platform::Seconds> longestWait = {};
  /// Waits at least as long as the response's Retry-After says (RFC 9110, 10.2.3), in seconds or as a date. The date is
  /// compared with that of the response, or with the system's clock when the response has none.
  bool honorsRetryAfter = false;
  /// `cancel()` ends the whole, at once, during a wait, too. The result then is a `totalFailure` of which the last
  /// response is a `taskCancelled`; unless the attempt under way succeeded first. The request must be an
  /// `HTTPRequestCancelable`. Otherwise `cancel()` reaches the attempt under way, which then is a failure like others.
  bool isCancelable = false;
};

/// Whether a failure may be otherwise the next time: a name that was not found, a connection that was refused, lost or
/// timed out, or no network (`CFNetworkErrors`); or a response with 408, 429, 502, 503 or 504. The response may be
/// null.
CORVANE_API bool isTransient(const platform::Error& error, const platform::URLResponse* response);

/// The same of a response: false for a success.
template <HTTPResponsable Response>
bool isTransient(const Response& response) {
  auto&& result = detail::read(&Response::result, response);
  const auto* error = result.error();
  return error && isTransient(*error, detail::read(&Response::urlResponse, response).get());
}

namespace detail {

/// RFC 9110, 9.2.1.
CORVANE_API bool isSafeMethod(std::string_view method);
/// What a Retry-After asks for, in seconds, never negative; absent for none, and for one that is not well-formed.
CORVANE_API std::optional<double> retryAfter(const std::optional<platform::HTTPHeaderFields>& headers);
/// The seconds to wait, in place of those that the request names.
CORVANE_API double wait(const HTTPRetryPolicy& policy, double named,
                        const std::optional<platform::HTTPHeaderFields>& headers);

}  // namespace detail

}  // namespace corvane
