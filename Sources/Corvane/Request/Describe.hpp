#pragma once

#include <concepts>
#include <type_traits>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Request/Detail/RequestDescription.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"

namespace corvane {

template <class Self, class ResponseType>
class HTTPRequestable;

namespace detail {

/// Marks a request type whose `url` is stored, with its query items to be put in when it is sent.
struct StoredURL {};

template <class Self>
using RequestMixin = HTTPRequestable<Self, typename Self::Response>;

/// Whether the type has a `url` of its own, instead of the composed one.
template <class Self>
inline constexpr bool suppliesItsURL = !std::same_as<decltype(&Self::url), decltype(&RequestMixin<Self>::url)>;

template <class Self>
URLDescription describeURL(const Self& self) {
  URLDescription target{.baseURL = read(&Self::baseURL, self),
                        .path = read(&Self::path, self),
                        .queryItems = read(&Self::queryItems, self),
                        .ownURL = std::nullopt,
                        .ownURLTakesQueryItems = std::derived_from<Self, StoredURL>};
  if constexpr (suppliesItsURL<Self>) target.ownURL.emplace(read(&Self::url, self));
  return target;
}

template <class Self>
double timeoutInSeconds(const Self& self) {
  if constexpr (std::is_convertible_v<decltype(read(&Self::timeoutInterval, self)), platform::Seconds>) {
    return platform::Seconds(read(&Self::timeoutInterval, self)).count();
  } else {
    return static_cast<double>(read(&Self::timeoutInterval, self));
  }
}

/// Throws what `createURL` throws.
template <class Self>
RequestDescription describe(const Self& self) {
  return {.url = createURL(describeURL(self)),
          .cachePolicy = read(&Self::cachePolicy, self),
          .timeoutInterval = timeoutInSeconds(self),
          .maximumBodyBytes = read(&Self::maximumBodyBytes, self),
          .acceptType = read(&Self::acceptType, self),
          .sharedHeaders = read(&Self::sharedHeaders, self),
          .headers = read(&Self::headers, self),
          .method = read(&Self::method, self)};
}

}  // namespace detail
}  // namespace corvane
