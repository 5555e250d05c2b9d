#pragma once

#include <atomic>
#include <concepts>
#include <cstdint>
#include <exception>
#include <iosfwd>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace platform {

class Error;
class HTTPErrorResponse;
struct TaskMetrics;

/// The base of custom error types with a message, a domain, a code and user information. Such a type is a value: it is
/// copyable, thrown and caught by its own type, and held by `Error`. Derive from `CustomErrorBase<Self>`, which
/// supplies `toError()`. Reading is safe on several threads.
///
///     class StationClosed final : public CustomErrorBase<StationClosed> {
///      public:
///       std::string message() const override { return "The station is closed."; }
///     };
class CORVANE_API CustomNSError : public std::exception {
 public:
  /// The key of the message in `userInfo`.
  static constexpr const char* localizedDescriptionKey = "NSLocalizedDescription";

  CustomNSError() = default;
  CustomNSError(const CustomNSError& other) noexcept : std::exception(other) {}
  CustomNSError& operator=(const CustomNSError& other) noexcept;
  ~CustomNSError() override;

  /// One human-readable sentence.
  virtual std::string message() const = 0;
  /// The name of the set of codes that `errorCode` belongs to. Default: the type's name.
  virtual std::string errorDomain() const;
  /// Default: 0.
  virtual std::int64_t errorCode() const;
  /// Default: empty.
  virtual Dictionary errorUserInfo() const;
  /// A type-erased copy. `CustomErrorBase` supplies it.
  virtual Error toError() const = 0;
  /// The message; the text is valid as long as this object is unchanged.
  const char* what() const noexcept override;

 private:
  // Made on the first call of `what`; not part of the value.
  mutable std::atomic<const std::string*> what_ = nullptr;
};

/// Any error: a copyable, type-erased value that is cheap to pass.
///
/// It holds an error value of any type. A type derived from `CustomNSError` supplies all four properties; for any other
/// type derived from `std::exception` the message is its `what()`, the domain is the type's name and the code is 0; for
/// any other exception the message names the type. The library throws its errors as `Error`. Safe to read on several
/// threads. `ErrorCode.hpp` converts to `std::error_code`.
class CORVANE_API Error : public std::exception {
 public:
  template <class E>
    requires(std::derived_from<E, CustomNSError> && std::copy_constructible<E>)
  Error(E value)  // NOLINT(google-explicit-constructor): every error is an Error
      : held_(std::make_shared<const E>(std::move(value))) {}

  /// A plain error from its parts; it holds an `NSError`.
  Error(std::string domain, std::int64_t code, std::string message, Dictionary userInfo = {});

  // Copied where others are moved from: an error always holds something.
  Error(const Error& other) noexcept = default;
  Error& operator=(const Error& other) noexcept = default;
  ~Error() override;

  /// The exception being handled, with its type kept: an `Error` as it is, a `CustomNSError` by copy, anything else by
  /// reference to the exception object. For `std::bad_alloc`, and when there is no memory for the copy, the result is
  /// `outOfMemory()`. Requires: called inside a catch block; traps otherwise.
  static Error current() noexcept;
  /// The same for an exception that was caught earlier. Requires: `exception` is not null; traps otherwise.
  static Error from(std::exception_ptr exception) noexcept;
  /// The error "out of memory" ("NSPOSIXErrorDomain", `ENOMEM`). Does not allocate.
  static Error outOfMemory() noexcept;

  /// One human-readable sentence.
  std::string message() const;
  /// The name of the set of codes that `code` belongs to.
  std::string domain() const;
  /// The number of the error within the domain.
  std::int64_t code() const;
  /// The details of the error. Always has the entry "NSLocalizedDescription": the message, unless the error has an
  /// entry of its own.
  Dictionary userInfo() const;

  /// The response of the failed exchange: its status code, its header fields and its body (HTTPErrorResponse.hpp). Null
  /// if no response arrived. The pointer is valid as long as any copy of this error exists.
  const HTTPErrorResponse* response() const { return response_.get(); }
  /// A copy of this error with that response, or with none.
  Error withResponse(std::shared_ptr<const HTTPErrorResponse> response) const;
  /// What the failed exchange did and when (TaskMetrics.hpp). Null if it could not begin. The pointer is valid as long
  /// as any copy of this error exists.
  const TaskMetrics* metrics() const { return metrics_.get(); }
  /// A copy of this error with these metrics, or with none.
  Error withMetrics(std::shared_ptr<const TaskMetrics> metrics) const;

  /// The held error as a `T` (its type, or a base class or interface of it), or null. The pointer is valid as long as
  /// any copy of this error exists.
  template <class T>
  const T* as() const {
    if (!isForeign_) {
      if constexpr (std::is_polymorphic_v<T>) return dynamic_cast<const T*>(held_.get());
      return nullptr;
    }
    try {
      std::rethrow_exception(thrown_);
    } catch (const T& value) {
      return std::addressof(value);
    } catch (...) {
      return nullptr;
    }
  }
  /// Whether the held error is a `T`; see `as`.
  template <class T>
  bool is() const {
    return as<T>() != nullptr;
  }

  /// Throws the held error: by its own type if it was thrown with that type, or else as an `Error`.
  [[noreturn]] void raise() const;
  /// The message; the text is valid as long as any copy of this error exists.
  const char* what() const noexcept override;

  /// Equal domain, code and message.
  friend CORVANE_API bool operator==(const Error& left, const Error& right);

 private:
  Error(std::shared_ptr<const CustomNSError> held, std::exception_ptr thrown, bool isForeign) noexcept;
  static Error described(const std::exception_ptr& exception);

  // Never null. For a foreign exception it holds a description of it.
  std::shared_ptr<const CustomNSError> held_;
  std::exception_ptr thrown_;
  bool isForeign_ = false;
  std::shared_ptr<const HTTPErrorResponse> response_;
  std::shared_ptr<const TaskMetrics> metrics_;
};

/// Prints the message.
CORVANE_API std::ostream& operator<<(std::ostream& stream, const Error& error);

/// Supplies `toError()` for the value type `Self`.
template <class Self, class Base = CustomNSError>
class CustomErrorBase : public Base {
 public:
  using Base::Base;
  Error toError() const override { return Error(static_cast<const Self&>(*this)); }
};

/// The platform's plain error: a domain, a code, a message and user information.
///
///     throw NSError("org.example.weather", 7, "The station is closed.");
class CORVANE_API NSError final : public CustomErrorBase<NSError> {
 public:
  /// All parts as given.
  NSError(std::string domain, std::int64_t code, std::string message, Dictionary userInfo = {});
  std::string message() const override { return message_; }
  std::string errorDomain() const override { return domain_; }
  std::int64_t errorCode() const override { return code_; }
  Dictionary errorUserInfo() const override { return userInfo_; }

 private:
  std::string domain_;
  std::int64_t code_;
  std::string message_;
  Dictionary userInfo_;
};

}  // namespace platform
