#include "Corvane/Behaviours/HTTPRetryPolicy.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <random>

#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Platform/Loading/HTTPDate.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"
#include "Platform/Trap.hpp"

namespace corvane {

using platform::HTTPHeaderFields;
namespace URLErrorCode = platform::URLErrorCode;

namespace {

constexpr std::array transientStatusCodes{408, 429, 502, 503, 504};

constexpr std::array transientCodes{URLErrorCode::timedOut,
                                    URLErrorCode::cannotFindHost,
                                    URLErrorCode::cannotConnectToHost,
                                    URLErrorCode::networkConnectionLost,
                                    URLErrorCode::dnsLookupFailed,
                                    URLErrorCode::notConnectedToInternet,
                                    URLErrorCode::httpProxyConnectionFailure,
                                    URLErrorCode::httpsProxyConnectionFailure};

/// What is short may be there again soon.
constexpr std::array transientSystemErrors{EMFILE, ENFILE, ENOBUFS, ENOMEM};

template <class Range, class Value>
bool contains(const Range& range, const Value& value) {
  return std::find(range.begin(), range.end(), value) != range.end();
}

bool isTransportError(const platform::Error& error) {
  return error.as<CFNetworkErrors>() || error.domain() == platform::kCFErrorDomainCFNetwork ||
         error.domain() == platform::NSURLErrorDomain;
}

double secondsSince1970() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::optional<double> delaySeconds(std::string_view text) {
  std::uint64_t seconds = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (end != text.data() + text.size() || text.empty()) return std::nullopt;
  if (problem == std::errc::result_out_of_range) return HUGE_VAL;
  return static_cast<double>(seconds);
}

std::optional<double> secondsUntil(std::string_view date, const std::optional<std::string>& dateOfResponse) {
  const auto then = platform::secondsSince1970(date);
  if (!then) return std::nullopt;
  const auto answered = dateOfResponse ? platform::secondsSince1970(*dateOfResponse) : std::nullopt;
  const double now = answered ? static_cast<double>(*answered) : secondsSince1970();
  return std::max(static_cast<double>(*then) - now, 0.0);
}

/// From 0 up to, but not including, 1.
double random() {
  thread_local std::minstd_rand generator(std::random_device{}());
  return std::uniform_real_distribution<double>(0, 1)(generator);
}

}  // namespace

bool isTransient(const platform::Error& error, const platform::URLResponse* response) {
  if (error.domain() == platform::NSPOSIXErrorDomain) return contains(transientSystemErrors, error.code());
  if (isTransportError(error)) return contains(transientCodes, error.code());
  const auto* httpResponse = dynamic_cast<const platform::HTTPURLResponse*>(response);
  return httpResponse && contains(transientStatusCodes, httpResponse->statusCode());
}

platform::Seconds HTTPBackOff::wait(std::int64_t failures) const {
  if (firstWait.count() == 0) return 0;  // 0 x infinity is not a number
  const double seconds = firstWait.count() * std::pow(factor, static_cast<double>(failures));
  if (!(seconds >= 0)) platform::trap("The wait of a back-off is negative or not a number");
  return seconds;
}

namespace detail {

bool isSafeMethod(std::string_view method) {
  return method == "GET" || method == "HEAD" || method == "OPTIONS" || method == "TRACE";
}

std::optional<double> retryAfter(const std::optional<HTTPHeaderFields>& headers) {
  if (!headers) return std::nullopt;
  const auto values = headers->values("Retry-After");
  if (values.empty()) return std::nullopt;
  if (const auto seconds = delaySeconds(values.front())) return seconds;
  return secondsUntil(values.front(), headers->value("Date"));
}

// Cut first: else all who have reached the longest wait would retry together.
double wait(const HTTPRetryPolicy& policy, double named, const std::optional<HTTPHeaderFields>& headers,
            double chance) {
  const double longest = policy.longestWait.value_or(platform::Seconds::unlimited()).count();
  double seconds = std::min(named, longest);
  if (policy.jitter > 0) seconds *= 1 - std::min(policy.jitter, 1.0) * chance;
  if (policy.honorsRetryAfter) seconds = std::max(seconds, retryAfter(headers).value_or(seconds));
  return std::min(seconds, longest);
}

double wait(const HTTPRetryPolicy& policy, double named, const std::optional<HTTPHeaderFields>& headers) {
  return wait(policy, named, headers, random());
}

}  // namespace detail

}  // namespace corvane
