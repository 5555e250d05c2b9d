#pragma once

#include <concepts>
#include <optional>
#include <utility>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"

namespace corvane {

/// What a response's result tells: the body on success, the error on failure, each as a pointer that is
/// null otherwise.
template <class R>
concept HTTPResultable = requires(const R& result) {
  typename R::Body;
  { result.body() } -> std::convertible_to<const typename R::Body*>;
  { result.error() } -> std::convertible_to<const platform::Error*>;
};

/// The outcome of an exchange: success with its body, or failure with its error.
///
///     if (const auto* body = response.result.body()) use(*body);
///     else report(*response.result.error());
///
/// A success may come without a body, where the exchange delivered none at all; then both are null.
template <class BodyType>
class HTTPResult {
 public:
  /// What a success holds.
  using Body = BodyType;

  /// A success; the body is absent where the exchange delivered none.
  static HTTPResult success(std::optional<Body> body) { return HTTPResult(std::move(body), std::nullopt); }
  /// A failure with its error.
  static HTTPResult failure(platform::Error error) { return HTTPResult(std::nullopt, std::move(error)); }

  /// Whether there is no error. There may be no body all the same.
  bool isSuccess() const { return !error_; }
  /// The same as `isSuccess`.
  explicit operator bool() const { return isSuccess(); }
  const Body* body() const { return body_ ? &*body_ : nullptr; }
  /// The same for changing it, or moving it away.
  Body* body() { return body_ ? &*body_ : nullptr; }
  /// Where a downloaded file is, for a request that asks for the file as it is.
  const platform::URL* url() const
    requires std::same_as<Body, platform::URL>
  {
    return body();
  }
  /// The error of a failure; null for a success.
  const platform::Error* error() const { return error_ ? &*error_ : nullptr; }

 private:
  HTTPResult(std::optional<Body> body, std::optional<platform::Error> error)
      : body_(std::move(body)), error_(std::move(error)) {}

  std::optional<Body> body_;
  std::optional<platform::Error> error_;
};

}  // namespace corvane
