#pragma once

#include <optional>
#include <utility>
#include <variant>

#include "Platform/Foundation/Error.hpp"

namespace velisand {

/// The outcome of something that either gave a value or failed.
///
///     if (const auto* user = result.value()) greet(*user);
///     else report(*result.error());
template <class T>
class Result {
 public:
  /// A success with its value.
  static Result success(T value) { return Result(std::in_place_index<0>, std::move(value)); }
  /// A failure with its error.
  static Result failure(platform::Error error) { return Result(std::in_place_index<1>, std::move(error)); }

  /// Null on failure.
  const T* value() const { return std::get_if<0>(&outcome_); }
  /// Null on success.
  const platform::Error* error() const { return std::get_if<1>(&outcome_); }
  /// Whether it is a success.
  explicit operator bool() const { return outcome_.index() == 0; }

 private:
  template <std::size_t index, class Value>
  Result(std::in_place_index_t<index> which, Value&& value) : outcome_(which, std::forward<Value>(value)) {}

  std::variant<T, platform::Error> outcome_;
};

/// The outcome of something that has nothing to give but may fail.
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
