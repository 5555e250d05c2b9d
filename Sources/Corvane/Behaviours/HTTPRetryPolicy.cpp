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
                                    URLErrorCode::notConnectedToInternet};

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

double wait(const HTTPRetryPolicy& policy, double named, const std::optional<HTTPHeaderFields>& headers) {
  double seconds = named;
  if (policy.jitter > 0) seconds *= 1 - std::min(policy.jitter, 1.0) * random();
  if (policy.honorsRetryAfter) seconds = std::max(seconds, retryAfter(headers).value_or(seconds));
  if (policy.longestWait) seconds = std::min(seconds, policy.longestWait->count());
  return seconds;
}

}  // namespace detail

}  // namespace corvane
