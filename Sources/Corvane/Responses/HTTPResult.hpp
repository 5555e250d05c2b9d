#pragma once

#include <concepts>
#include <optional>
#include <utility>

#include "Platform/Foundation/Error.hpp"
#include "Platform/Foundation/URL.hpp"

namespace corvane {

/// The result of a response: the body on success, the error on failure, each as a pointer that is null otherwise.
///
///     static_assert(HTTPResultable<HTTPResult<Data>>);
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
/// A success may have no body, if the exchange delivered none; then both pointers are null.
template <class BodyType>
class HTTPResult {
 public:
  /// The type of the body of a success.
  using Body = BodyType;

  /// A success; the body is absent if the exchange delivered none.
  static HTTPResult success(std::optional<Body> body) { return HTTPResult(std::move(body), std::nullopt); }
  /// A failure with this error.
  static HTTPResult failure(platform::Error error) { return HTTPResult(std::nullopt, std::move(error)); }

  /// Whether there is no error. A success may still have no body.
  bool isSuccess() const { return !error_; }
  /// The same as `isSuccess`.
  explicit operator bool() const { return isSuccess(); }
  const Body* body() const { return body_ ? &*body_ : nullptr; }
  /// The body for changing it, or for moving it out.
  Body* body() { return body_ ? &*body_ : nullptr; }
  /// The URL of the downloaded file, for a download whose body is the file itself. Null for a failure, and for a
  /// success without a file.
  const platform::URL* url() const
    requires std::same_as<Body, platform::URL>
  {
    return body();
  }
  /// The error of a failure; null for a success.
  const platform::Error* error() const { return error_ ? &*error_ : nullptr; }
  /// The same for changing it.
  platform::Error* error() { return error_ ? &*error_ : nullptr; }

 private:
  HTTPResult(std::optional<Body> body, std::optional<platform::Error> error)
      : body_(std::move(body)), error_(std::move(error)) {}

  std::optional<Body> body_;
  std::optional<platform::Error> error_;
};

}  // namespace corvane
