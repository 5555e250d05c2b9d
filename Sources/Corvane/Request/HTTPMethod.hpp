#pragma once

#include <string>
#include <utility>

#include "Platform/Export.hpp"

namespace corvane {

/// The method of a request (RFC 9110, 9). Any text can be wrapped; one that is no token is refused when the
/// request is sent.
struct CORVANE_API HTTPMethod {
  /// The methods that have request types of their own.
  static const HTTPMethod get;
  static const HTTPMethod post;
  static const HTTPMethod put;
  static const HTTPMethod patch;
  static const HTTPMethod delete_;

  /// Any text, as it is to be sent.
  explicit HTTPMethod(std::string text) : rawValue(std::move(text)) {}

  /// The method as it is sent, e.g. "GET".
  std::string rawValue;

  friend bool operator==(const HTTPMethod&, const HTTPMethod&) = default;
};

}  // namespace corvane
