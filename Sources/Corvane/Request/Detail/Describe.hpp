#pragma once

#include <concepts>
#include <type_traits>

#include "Corvane/Request/BehaviourMarks.hpp"
#include "Corvane/Request/Detail/RequestDescription.hpp"
#include "Corvane/Request/Detail/RequestRequirements.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"

namespace corvane {

namespace detail {

/// Marks a request type whose `url` is stored, with its query items to be put in when it is sent.
struct StoredURL {};

/// Whether the type has a `url` of its own, instead of the composed one.
template <class Self>
inline constexpr bool suppliesItsURL = !requirement::url.isLeftTo<Self, RequestMixin<Self>>;

template <class Self>
URLDescription describeURL(const Self& self) {
  URLDescription target{.baseURL = requirement::baseURL(self),
                        .path = requirement::path(self),
                        .queryItems = requirement::queryItems(self),
                        .ownURL = std::nullopt,
                        .ownURLTakesQueryItems = std::derived_from<Self, StoredURL>};
  if constexpr (suppliesItsURL<Self>) target.ownURL.emplace(requirement::url(self));
  return target;
}

template <class Self>
double timeoutInSeconds(const Self& self) {
  if constexpr (std::is_convertible_v<decltype(requirement::timeoutInterval(self)), platform::Seconds>) {
    return platform::Seconds(requirement::timeoutInterval(self)).count();
  } else {
    return static_cast<double>(requirement::timeoutInterval(self));
  }
}

/// Throws what `createURL` throws.
template <class Self>
RequestDescription describe(const Self& self) {
  return {.url = createURL(describeURL(self)),
          .cachePolicy = requirement::cachePolicy(self),
          .timeoutInterval = timeoutInSeconds(self),
          .maximumBodyBytes = requirement::maximumBodyBytes(self),
          .acceptType = requirement::acceptType(self),
          .sharedHeaders = requirement::sharedHeaders(self),
          .headers = requirement::headers(self),
          .method = requirement::method(self)};
}

}  // namespace detail
}  // namespace corvane
