#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/HTTPStatus.hpp"
#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/Detail/SpellingChecks.hpp"
#include "Corvane/Request/HTTPHeaders.hpp"
#include "Corvane/Request/HTTPMediaType.hpp"
#include "Corvane/Request/HTTPMethod.hpp"
#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Foundation/URL.hpp"
#include "Platform/Loading/URLRequest.hpp"

/// The compile-time checks of a request type. A requirement of the wrong type and a missing one are refused with a
/// sentence that says what to write.
namespace corvane::detail {

#define CORVANE_READS(Value, property) (requires { requires ReadsAs<decltype(&Self::property), Self, Value>; })
#define CORVANE_READS_BOOL(property) (requires { requires ReadsExactlyAs<decltype(&Self::property), Self, bool>; })

template <class Self>
inline constexpr bool statesItsTarget = CORVANE_READS(platform::URL, baseURL) && CORVANE_READS(std::string, path) &&
                                        CORVANE_READS(HTTPQueryItems, queryItems) && CORVANE_READS(platform::URL, url);

template <class Self>
constexpr bool checkTarget() {
  static_assert(
      CORVANE_READS(platform::URL, baseURL),
      "`baseURL` must convert to URL: write `URL baseURL() const`, or a stored or static member of a type that "
      "converts to URL");
  static_assert(
      CORVANE_READS(std::string, path),
      "`path` must convert to std::string: write `std::string path() const`, or a stored or static member of a "
      "type that converts to std::string");
  static_assert(
      CORVANE_READS(HTTPQueryItems, queryItems),
      "`queryItems` must convert to HTTPQueryItems: write `HTTPQueryItems queryItems() const`, or a stored or "
      "static member of that type");
  static_assert(
      CORVANE_READS(platform::URL, url),
      "`url` must convert to URL: write `URL url() const`, or a stored or static member of a type that converts "
      "to URL");
  return statesItsTarget<Self>;
}

template <class Self>
inline constexpr bool readsTimeout =
    CORVANE_READS(double, timeoutInterval) || CORVANE_READS(platform::Seconds, timeoutInterval);

template <class Self>
inline constexpr bool statesItsHead =
    CORVANE_READS(HTTPMethod, method) && CORVANE_READS(HTTPHeaders, sharedHeaders) &&
    CORVANE_READS(HTTPHeaders, headers) && CORVANE_READS(HTTPMediaType, acceptType) &&
    CORVANE_READS(platform::URLRequestCachePolicy, cachePolicy) && readsTimeout<Self> &&
    CORVANE_READS(std::optional<std::int64_t>, maximumBodyBytes);

template <class Self>
constexpr bool checkHead() {
  static_assert(
      requires { &Self::method; },
      "`method` is required: write `HTTPMethod method() const`, or derive from HTTPGetRequestable or one of its "
      "siblings");
  static_assert(
      !requires { &Self::method; } || CORVANE_READS(HTTPMethod, method),
      "`method` must be an HTTPMethod: write `HTTPMethod method() const`, or a stored or static member of that type");
  static_assert(
      requires { &Self::sharedHeaders; },
      "`sharedHeaders` is required: write `HTTPHeaders sharedHeaders() const`, or a stored or static member of "
      "that type; an empty one will do");
  static_assert(
      !requires { &Self::sharedHeaders; } || CORVANE_READS(HTTPHeaders, sharedHeaders),
      "`sharedHeaders` must convert to HTTPHeaders: write `HTTPHeaders sharedHeaders() const`, or a stored or "
      "static member of that type");
  static_assert(
      CORVANE_READS(HTTPHeaders, headers),
      "`headers` must convert to HTTPHeaders: write `HTTPHeaders headers() const`, or a stored or static member "
      "of that type");
  static_assert(
      CORVANE_READS(HTTPMediaType, acceptType),
      "`acceptType` must be an HTTPMediaType: write `HTTPMediaType acceptType() const`, or a stored or static "
      "member of that type");
  static_assert(
      CORVANE_READS(platform::URLRequestCachePolicy, cachePolicy),
      "`cachePolicy` must be a URLRequestCachePolicy: write `URLRequestCachePolicy cachePolicy() const`, or a "
      "stored or static member of that type");
  static_assert(
      readsTimeout<Self>,
      "`timeoutInterval` must be a number of seconds or a std::chrono duration: write `double timeoutInterval() "
      "const`, or a stored or static member of such a type");
  static_assert(
      CORVANE_READS(std::optional<std::int64_t>, maximumBodyBytes),
      "`maximumBodyBytes` must be a number of bytes: write `std::int64_t maximumBodyBytes() const`, or a stored or "
      "static member of such a type");
  return statesItsHead<Self>;
}

template <class Self>
inline constexpr bool statesHowItIsSent =
    CORVANE_READS_BOOL(shouldSend) && CORVANE_READS_BOOL(shouldWaitForConnectivity) &&
    CORVANE_READS(std::optional<std::string>, sessionConfigurationIdentifier) &&
    CORVANE_READS(std::string, curlCommand);

template <class Self>
constexpr bool checkSending() {
  static_assert(
      CORVANE_READS_BOOL(shouldSend),
      "`shouldSend` must be a bool: write `bool shouldSend() const`, or a stored or static member of that type");
  static_assert(
      CORVANE_READS_BOOL(shouldWaitForConnectivity),
      "`shouldWaitForConnectivity` must be a bool: write `bool shouldWaitForConnectivity() const`, or a stored or "
      "static member of that type");
  static_assert(CORVANE_READS(std::optional<std::string>, sessionConfigurationIdentifier),
                "`sessionConfigurationIdentifier` must convert to std::optional<std::string>: write `std::string "
                "sessionConfigurationIdentifier() const`, or a stored or static member of such a type");
  static_assert(CORVANE_READS(std::string, curlCommand),
                "`curlCommand` must convert to std::string: write `std::string curlCommand() const`");
  return statesHowItIsSent<Self>;
}

#undef CORVANE_READS
#undef CORVANE_READS_BOOL

template <class Self>
concept BuildsURLRequest = requires(const Self& self) {
  { self.urlRequest() } -> std::convertible_to<platform::URLRequest>;
};
template <class Self>
concept JudgesStatus = requires(const Self& self, HTTPStatus status) {
  { self.isAcceptable(status) } -> std::same_as<bool>;
};
template <class Self>
concept ValidatesItself = requires(const Self& self) { self.validate(); };
template <class Self>
concept ValidatesResponse =
    requires(const Self& self, const typename Self::Response& response) { self.validate(response); };
// A `validate` of the type's own hides the two defaults; what it leaves out keeps its default.
template <class Self>
concept DeclaresOneValidate = requires { &Self::validate; };
template <class Self>
concept ProcessesResponse =
    requires(const Self& self, const typename Self::Response& response) { self.process(response); };

template <class Self>
inline constexpr bool hooksAreValid = BuildsURLRequest<Self> && JudgesStatus<Self> && ProcessesResponse<Self> &&
                                      (DeclaresOneValidate<Self> ? ValidatesItself<Self> || ValidatesResponse<Self>
                                                                 : ValidatesItself<Self> && ValidatesResponse<Self>);

template <class Self>
constexpr bool checkHooks() {
  static_assert(BuildsURLRequest<Self>, "`urlRequest` must be `URLRequest urlRequest() const`");
  static_assert(JudgesStatus<Self>, "`isAcceptable` must be `bool isAcceptable(HTTPStatus status) const`");
  static_assert(!DeclaresOneValidate<Self> || ValidatesItself<Self> || ValidatesResponse<Self>,
                "`validate` must be `void validate() const` or `void validate(const Response& response) const`");
  static_assert(DeclaresOneValidate<Self> || (ValidatesItself<Self> && ValidatesResponse<Self>),
                "`validate` must be `void validate() const` and `void validate(const Response& response) const`");
  static_assert(ProcessesResponse<Self>, "`process` must be `void process(const Response& response) const`");
  return hooksAreValid<Self>;
}

/// A request goes its way as a copy.
template <class Self>
constexpr bool checkCopy() {
  static_assert(std::copy_constructible<Self>,
                "A request is copied when it is sent, so all of its members must be copyable: hold what is not in a "
                "std::shared_ptr");
  return std::copy_constructible<Self>;
}

template <class Self>
constexpr bool checkResponse() {
  static_assert(
      HTTPResponsable<typename Self::Response>,
      "`Response` must be a response type, such as DataResponse: constructible from (data, url, response, error), "
      "with a `result` that has `body()` and `error()`, and the facts of the exchange");
  return HTTPResponsable<typename Self::Response>;
}

/// Ends a function that does not compile: a check has said why. Never called.
[[noreturn]] CORVANE_API void unreachable();

/// Whether `Self` can be sent. Says what is wrong while it compiles.
template <class Self>
inline constexpr bool isValidRequest = checkIsRequest<Self>();
template <HasResponse Self>
inline constexpr bool isValidRequest<Self> =
    checkCopy<Self>() && checkSpelling<Self>() && checkTarget<Self>() && checkHead<Self>() && checkSending<Self>() &&
    checkHooks<Self>() && checkResponse<Self>();

}  // namespace corvane::detail
