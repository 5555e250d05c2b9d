#pragma once

#include <concepts>

#include "Corvane/HTTPStatus.hpp"
#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/Detail/MixinRequirements.hpp"
#include "Corvane/Request/Detail/RequestRequirements.hpp"
#include "Corvane/Responses/HTTPResponsable.hpp"
#include "Platform/Export.hpp"
#include "Platform/Loading/URLRequest.hpp"

/// The compile-time checks of a request type. What is missing, of the wrong type or misspelt is refused with a sentence
/// that says what to write.
namespace corvane::detail {

template <class Self>
constexpr bool checkTarget() {
  using namespace requirement;
  return check<Self>(baseURL, path, queryItems, url);
}

template <class Self>
constexpr bool checkDownload() {
  if constexpr (Downloads<Self>) return check<Self>(requirement::destination, requirement::expectedDigest);
  return true;
}

template <class Self>
constexpr bool checkRequirements() {
  using namespace requirement;
  return checkTarget<Self>() &&
         check<Self>(method, sharedHeaders, headers, acceptType, cachePolicy, timeoutInterval, maximumBodyBytes) &&
         check<Self>(shouldSend, shouldWaitForConnectivity, sessionConfigurationIdentifier, curlCommand) &&
         checkDownload<Self>();
}

template <class Self, class Mixin = RequestMixin<Self>, class... Requirements>
constexpr void checkSpellingOf(const Requirements&... requirements) {
  (requirements.template checkSpelling<Self, Mixin>(), ...);
}

/// Refuses members that look like a requirement and are none: they would be passed over in silence.
template <class Self>
constexpr bool checkSpelling() {
  using namespace requirement;
  checkSpellingOf<Self>(baseURL, path, queryItems, sharedHeaders, headers, acceptType, cachePolicy, timeoutInterval,
                        maximumBodyBytes, shouldSend, shouldWaitForConnectivity, sessionConfigurationIdentifier,
                        curlCommand, contentType, contentEncoder);
  if constexpr (Downloads<Self>) checkSpellingOf<Self, typename Self::DownloadMixin>(destination, expectedDigest);
  CORVANE_REFUSE(isAcceptable, is_acceptable)
  CORVANE_REFUSE(urlRequest, url_request)
  return true;
}

template <class Self, bool isAdopted, class... Requirements>
constexpr void refuseUnread(const Requirements&... requirements) {
  if constexpr (!isAdopted) (requirements.template refuseUnread<Self>(), ...);
}

/// Refuses what only a mixin reads that the type has not adopted.
template <class Self>
constexpr bool checkAdopted() {
  using namespace requirement;
  refuseUnread<Self, CarriesBody<Self>>(body, contentType, contentEncoder);
  refuseUnread<Self, Downloads<Self>>(expectedDigest);
  // Of another type it is plain data: where a journey goes.
  refuseUnread<Self, Downloads<Self> || !decltype(destination)::template fits<Self>>(destination);
  refuseUnread<Self, Retries<Self>>(retryInterval, retryLimit, retryPolicy);
  refuseUnread<Self, Polls<Self>>(pollingRate, shouldFirePoll);
  refuseUnread<Self, Mocks<Self>>(mockStatus, mockError, mockResponseData, mockResponseTime);
  refuseUnread<Self, TestMocks<Self>>(testStatus, testError, testResponseData);
  return true;
}

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
inline constexpr bool isValidRequest<Self> = checkCopy<Self>() && checkSpelling<Self>() && checkAdopted<Self>() &&
                                             checkRequirements<Self>() && checkHooks<Self>() && checkResponse<Self>();

}  // namespace corvane::detail
