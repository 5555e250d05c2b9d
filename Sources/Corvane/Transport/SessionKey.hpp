#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Corvane/Detail/RequirementReading.hpp"

namespace corvane {

/// The properties that requests must have in common to share a session.
///
///     const auto session = HTTPService::shared().urlSession({.sessionConfigurationIdentifier = "reports"});
struct SessionKey {
  /// The request's `sessionConfigurationIdentifier`.
  std::optional<std::string> sessionConfigurationIdentifier;
  /// The request's `shouldWaitForConnectivity`.
  bool waitsForConnectivity = false;

  friend bool operator==(const SessionKey&, const SessionKey&) = default;
};

namespace detail {
template <class Request>
SessionKey sessionKey(const Request& request) {
  return {read(&Request::sessionConfigurationIdentifier, request), read(&Request::shouldWaitForConnectivity, request)};
}
}  // namespace detail

}  // namespace corvane

template <>
struct std::hash<corvane::SessionKey> {
  std::size_t operator()(const corvane::SessionKey& key) const noexcept {
    const std::size_t identifier = std::hash<std::optional<std::string>>()(key.sessionConfigurationIdentifier);
    return identifier * 2 + (key.waitsForConnectivity ? 1 : 0);
  }
};
