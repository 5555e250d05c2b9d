#pragma once

#include <optional>
#include <utility>

#include "Platform/Foundation/Error.hpp"

namespace velisand {

/// The outcome of an operation: a value or an error.
///
///     if (const auto* user = result.value()) greet(*user);
///     else report(*result.error());
template <class T>
class Result {
 public:
  /// A success with this value.
  static Result success(T value) {
    Result result;
    result.value_.emplace(std::move(value));
    return result;
  }
  /// A failure with this error.
  static Result failure(platform::Error error) {
    Result result;
    result.error_.emplace(std::move(error));
    return result;
  }

  /// Null on failure.
  const T* value() const { return value_ ? &*value_ : nullptr; }
  /// Null on success.
  const platform::Error* error() const { return error_ ? &*error_ : nullptr; }
  /// Whether it is a success.
  explicit operator bool() const { return !error_; }

 private:
  Result() = default;

  // One of the two. A variant would do, but is slow to compile for each type of value.
  std::optional<T> value_;
  std::optional<platform::Error> error_;
};

/// The outcome of an operation that has no value but may fail.
template <>
class Result<void> {
 public:
  static Result success() { return {}; }
  static Result failure(platform::Error error) {
    Result result;
    result.error_ = std::move(error);
    return result;
  }

  /// Null on success.
  const platform::Error* error() const { return error_ ? &*error_ : nullptr; }
  explicit operator bool() const { return !error_; }

 private:
  std::optional<platform::Error> error_;
};

}  // namespace velisand
