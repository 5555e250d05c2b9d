#pragma once

#include <string>
#include <utility>

#include "Platform/Export.hpp"

namespace corvane {

/// The method of a request (RFC 9110, 9). It can hold any text; a method that is not a token is refused when the
/// request is sent.
struct CORVANE_API HTTPMethod {
  /// The methods that have request types of their own.
  static const HTTPMethod get;
  static const HTTPMethod head;
  static const HTTPMethod post;
  static const HTTPMethod put;
  static const HTTPMethod patch;
  static const HTTPMethod delete_;

  /// A method by its name, which is sent unchanged.
  explicit HTTPMethod(std::string text) : rawValue(std::move(text)) {}

  /// The method as it is sent, e.g. "GET".
  std::string rawValue;

  friend bool operator==(const HTTPMethod&, const HTTPMethod&) = default;
};

}  // namespace corvane
