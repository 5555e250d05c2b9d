#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Error.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane {

/// Waits that grow by a factor.
///
///     const HTTPBackOff backOff{.firstWait = 0.5, .factor = 3};
///     backOff.wait(1);  // 0.5 seconds after the first failure
///     backOff.wait(2);  // 1.5 after the second one
struct CORVANE_API HTTPBackOff {
  /// The wait after the first attempt. Default: 1 s.
  platform::Seconds firstWait = 1;
  /// By how much each wait is longer than the one before. Default: 2.
  double factor = 2;

  /// The wait when so many attempts have failed before the last one: `firstWait` x `factor` to that power; 0 if
  /// `firstWait` is 0. At most infinite. Traps when it is negative or not a number.
  platform::Seconds wait(std::int64_t failures) const;
};

/// Changes the rule of `HTTPRetryAttempting`. A default-constructed policy changes nothing: every failure is retried,
/// after exactly the wait of the rule.
///
///     static HTTPRetryPolicy retryPolicy() {
///       return {.failures = HTTPRetryPolicy::Failures::transient, .jitter = 0.5, .longestWait = 30};
///     }
///     static constexpr HTTPRetryPolicy retryPolicy = HTTPRetryPolicy::exponential();
struct HTTPRetryPolicy {
  /// Which failures are tried again.
  enum class Failures {
    /// Every failure, even a 404.
    all,
    /// Failures that the next attempt may not have: `isTransient`.
    transient
  };

  /// Default: all.
  Failures failures = Failures::all;
  /// With `transient`: also retries methods that are not safe (RFC 9110, 9.2.1: all but GET, HEAD, OPTIONS and TRACE).
  /// A server may have processed such a request although its response was lost. Default: false.
  bool retriesUnsafeMethods = false;
  /// The random part of a wait, from 0 to 1: with 0.5, a wait of 4 s takes from 2 to 4 s; with 1, any time up to 4 s.
  /// So clients that failed together do not retry together. Default: 0.
  double jitter = 0;
  /// The maximum wait, also for a Retry-After. A longer one is cut before a part of it is left to chance. Default:
  /// absent, no limit.
  std::optional<platform::Seconds> longestWait = {};
  /// Waits at least until the response's Retry-After (RFC 9110, 10.2.3), which is in seconds or a date. A date is
  /// compared with the response's "Date", or with the system's clock if the response has none. Default: false.
  bool honorsRetryAfter = false;
  /// If true, `cancel()` ends the whole send at once, even during a wait. The result is then a `totalFailure` whose
  /// last response is a `taskCancelled`, unless the attempt under way succeeded first. The request must be an
  /// `HTTPRequestCancelable`. If false, the default, `cancel()` ends only the attempt under way, which counts as a
  /// failure like any other.
  bool isCancelable = false;
  /// The waits, in place of those that `retryInterval` and `retryDelta` of the type name. Default: absent.
  std::optional<HTTPBackOff> backOff = {};

  /// A policy for services under load: transient failures only, waits of up to 1 s, 2 s, 4 s and so on, of which all is
  /// left to chance (a jitter of 1), never above `longestWait`, and as long as a Retry-After asks within that. A type
  /// with this policy needs no `retryInterval`; how often it is sent again is its `retryLimit`, as ever. The members
  /// may be changed afterwards.
  static constexpr HTTPRetryPolicy exponential(platform::Seconds firstWait = 1, platform::Seconds longestWait = 60,
                                               double factor = 2);
};

constexpr HTTPRetryPolicy HTTPRetryPolicy::exponential(platform::Seconds firstWait, platform::Seconds longestWait,
                                                       double factor) {
  return {.failures = Failures::transient,
          .jitter = 1,
          .longestWait = longestWait,
          .honorsRetryAfter = true,
          .backOff = HTTPBackOff{.firstWait = firstWait, .factor = factor}};
}

/// Whether the next attempt may not have this failure: a host name that was not found, a connection that was refused,
/// lost or timed out, or no network (`CFNetworkErrors`); a proxy that could not be reached, dropped the connection, or
/// refused a tunnel with one of the statuses that follow; or a response with 408, 429, 502, 503 or 504. The response
/// may be null.
CORVANE_API bool isTransient(const platform::Error& error, const platform::URLResponse* response);

/// The same for a response; false for a success.
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
/// The seconds to wait, in place of those that the request or the back-off names. `chance` is a random number from 0 up
/// to, but not including, 1.
CORVANE_API double wait(const HTTPRetryPolicy& policy, double named,
                        const std::optional<platform::HTTPHeaderFields>& headers, double chance);
/// The same with a random number of its own.
CORVANE_API double wait(const HTTPRetryPolicy& policy, double named,
                        const std::optional<platform::HTTPHeaderFields>& headers);

}  // namespace detail

}  // namespace corvane
