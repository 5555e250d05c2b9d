#pragma once

#include <Corvane/Corvane.hpp>
#include <cstdint>
#include <optional>
#include <string>

/// What a report says about an error.
struct ErrorFacts {
  std::string domain;
  std::int64_t code;
  /// The error's own type, without its namespace.
  std::string type;
  /// The name of the case, for errors that have cases.
  std::optional<std::string> caseName;
  std::string message;
  /// What exactly happened, and to what, where the library knows more than the message says.
  std::optional<std::string> detail;

  static ErrorFacts of(const corvane::Error& error);
};
