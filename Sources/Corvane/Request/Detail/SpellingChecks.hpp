#pragma once

#include <concepts>

#include "Corvane/Request/BehaviourMarks.hpp"

/// The compile-time checks of names: a member of a request that looks like a requirement and is none would be passed
/// over in silence.
namespace corvane::detail {

#define CORVANE_REFUSE(wrong, right) \
  static_assert(!requires { &Self::wrong; }, "`" #wrong "` is no requirement of a request: write `" #right "`")

/// Refuses names that differ from a requirement's in case or underscores only.
template <class Self>
constexpr void checkCase() {
  CORVANE_REFUSE(baseUrl, baseURL);
  CORVANE_REFUSE(baseurl, baseURL);
  CORVANE_REFUSE(BaseURL, baseURL);
  CORVANE_REFUSE(base_url, baseURL);
  CORVANE_REFUSE(Path, path);
  CORVANE_REFUSE(Headers, headers);
  CORVANE_REFUSE(sharedheaders, sharedHeaders);
  CORVANE_REFUSE(shared_headers, sharedHeaders);
  CORVANE_REFUSE(queryitems, queryItems);
  CORVANE_REFUSE(query_items, queryItems);
  CORVANE_REFUSE(acceptedType, acceptType);
  CORVANE_REFUSE(accept_type, acceptType);
  CORVANE_REFUSE(contenttype, contentType);
  CORVANE_REFUSE(content_type, contentType);
  CORVANE_REFUSE(content_encoder, contentEncoder);
  CORVANE_REFUSE(cache_policy, cachePolicy);
  CORVANE_REFUSE(timeOutInterval, timeoutInterval);
  CORVANE_REFUSE(timeout_interval, timeoutInterval);
  CORVANE_REFUSE(maxBodyBytes, maximumBodyBytes);
  CORVANE_REFUSE(maximum_body_bytes, maximumBodyBytes);
  CORVANE_REFUSE(should_send, shouldSend);
  CORVANE_REFUSE(shouldWaitForConnection, shouldWaitForConnectivity);
  CORVANE_REFUSE(should_wait_for_connectivity, shouldWaitForConnectivity);
  CORVANE_REFUSE(sessionIdentifier, sessionConfigurationIdentifier);
  CORVANE_REFUSE(session_configuration_identifier, sessionConfigurationIdentifier);
  CORVANE_REFUSE(is_acceptable, isAcceptable);
  CORVANE_REFUSE(url_request, urlRequest);
  CORVANE_REFUSE(curl_command, curlCommand);
}

#undef CORVANE_REFUSE

/// Whether a type leaves a requirement as the mixin has it. If it states its own, a member with a name like it is
/// plain data: `std::string query` beside `queryItems` is a search word.
#define CORVANE_LEAVES(right) \
  std::same_as<decltype(&Self::right), decltype(&HTTPRequestable<Self, typename Self::Response>::right)>
#define CORVANE_REFUSE_ALONE(wrong, right)                              \
  static_assert(!(requires { &Self::wrong; } && CORVANE_LEAVES(right)), \
                "`" #wrong "` is no requirement of a request: write `" #right "`, or state that, too")

template <class Self>
constexpr void checkNearNames() {
  CORVANE_REFUSE_ALONE(header, headers);
  CORVANE_REFUSE_ALONE(query, queryItems);
  CORVANE_REFUSE_ALONE(queryParameters, queryItems);
  CORVANE_REFUSE_ALONE(timeout, timeoutInterval);
  CORVANE_REFUSE_ALONE(timeOut, timeoutInterval);
  CORVANE_REFUSE_ALONE(accept, acceptType);
  CORVANE_REFUSE_ALONE(waitForConnectivity, shouldWaitForConnectivity);
  CORVANE_REFUSE_ALONE(waitsForConnectivity, shouldWaitForConnectivity);
}

#undef CORVANE_REFUSE_ALONE
#undef CORVANE_LEAVES

/// Whether a member is one of another base class, as of one that all requests of a service have in common. Of a static
/// member that cannot be told.
template <class Self, class Member>
inline constexpr bool isOfAnother = false;
template <class Self, class Class, class Type>
inline constexpr bool isOfAnother<Self, Type Class::*> = !std::same_as<Self, Class>;
template <class Self, class Member>
concept OwnMember = !isOfAnother<Self, Member>;

#define CORVANE_REFUSE_WITHOUT(Adopted, property, advice)                            \
  static_assert(                                                                     \
      Adopted || !requires { requires OwnMember<Self, decltype(&Self::property)>; }, \
      "`" #property "` does nothing in this request: " advice)

/// Refuses what only a mixin reads that the type has not adopted.
template <class Self>
constexpr void checkUselessNames() {
  CORVANE_REFUSE_WITHOUT(CarriesBody<Self>, body,
                         "only one with a body sends it; derive from HTTPPostRequestable or one of its siblings, or "
                         "from HTTPBodyRequestable, too");
  CORVANE_REFUSE_WITHOUT(CarriesBody<Self>, contentType,
                         "only one with a body has a content type; derive from HTTPBodyRequestable, too");
  CORVANE_REFUSE_WITHOUT(CarriesBody<Self>, contentEncoder,
                         "only one with a body has something to encode; derive from HTTPBodyRequestable, too");
  CORVANE_REFUSE_WITHOUT(Retries<Self>, retryInterval, "derive from HTTPRetryAttempting, too");
  CORVANE_REFUSE_WITHOUT(Retries<Self>, retryLimit, "derive from HTTPRetryAttempting, too");
  CORVANE_REFUSE_WITHOUT(Retries<Self>, retryPolicy, "derive from HTTPRetryAttempting, too");
  CORVANE_REFUSE_WITHOUT(Polls<Self>, pollingRate, "derive from HTTPPolling, too");
  CORVANE_REFUSE_WITHOUT(Polls<Self>, shouldFirePoll, "derive from HTTPPolling, too");
  CORVANE_REFUSE_WITHOUT(Mocks<Self>, mockStatus, "derive from HTTPMockable, too");
  CORVANE_REFUSE_WITHOUT(Mocks<Self>, mockError, "derive from HTTPMockable, too");
  CORVANE_REFUSE_WITHOUT(Mocks<Self>, mockResponseData, "derive from HTTPMockable, too");
  CORVANE_REFUSE_WITHOUT(Mocks<Self>, mockResponseTime, "derive from HTTPMockable, too");
  CORVANE_REFUSE_WITHOUT(TestMocks<Self>, testStatus, "derive from HTTPTestMockable, too");
  CORVANE_REFUSE_WITHOUT(TestMocks<Self>, testError, "derive from HTTPTestMockable, too");
  CORVANE_REFUSE_WITHOUT(TestMocks<Self>, testResponseData, "derive from HTTPTestMockable, too");
}

#undef CORVANE_REFUSE_WITHOUT

template <class Self>
constexpr bool checkSpelling() {
  checkCase<Self>();
  checkNearNames<Self>();
  checkUselessNames<Self>();
  return true;
}

}  // namespace corvane::detail
