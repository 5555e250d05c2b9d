#pragma once

#include <concepts>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace platform {

class Error;

/// What an error type of one's own derives from to take full part: a message, a domain, a code and
/// user information. Such a type is a value: copyable, thrown and caught by its own type, and held by `Error`.
class CORVANE_API CustomNSError : public std::exception {
 public:
  /// The key under which `userInfo` carries the message.
  static constexpr const char* localizedDescriptionKey = "NSLocalizedDescription";

  CustomNSError() = default;
  CustomNSError(const CustomNSError&) = default;
  CustomNSError& operator=(const CustomNSError&) = default;
  ~CustomNSError() override;

  /// One sentence for people.
  virtual std::string message() const = 0;
  /// Names the family that `errorCode` belongs to. Default: the type's name.
  virtual std::string errorDomain() const;
  /// Default: 0.
  virtual std::int64_t errorCode() const;
  /// Default: empty.
  virtual Dictionary errorUserInfo() const;
  /// A type-erased copy. `CustomErrorBase` supplies it.
  virtual Error toError() const = 0;
  /// The message; the text lives as long as this object.
  const char* what() const noexcept override;

 private:
  mutable std::shared_ptr<const std::string> what_;
};

/// Any error: a copyable, type-erased value that is cheap to pass.
///
/// It holds an error value of any type. A type derived from `CustomNSError` supplies all four properties;
/// for any other type deriving from `std::exception` the message is its `what()`, the domain the type's
/// name and the code 0. `Error` is itself what the library throws where it throws.
class CORVANE_API Error : public std::exception {
 public:
  template <class E>
    requires(std::derived_from<E, CustomNSError> && std::copy_constructible<E>)
  Error(E value)  // NOLINT(google-explicit-constructor): every error is an Error
      : custom_(std::make_shared<const E>(std::move(value))) {}

  /// A plain error made of its parts.
  Error(std::string domain, std::int64_t code, std::string message, Dictionary userInfo = {});

  /// The exception being handled, with its type kept: an `Error` as it is, a `CustomNSError` by copy,
  /// anything else by reference to the exception object. Requires: called inside a catch block.
  static Error current() noexcept;
  static Error from(std::exception_ptr exception) noexcept;

  std::string message() const;
  std::string domain() const;
  std::int64_t code() const;
  /// Always holds the message under "NSLocalizedDescription" unless the error's own entry is there.
  Dictionary userInfo() const;

  /// The held error as a `T` (or as an interface or base class it implements), or null.
  /// The pointer lives as long as any copy of this error.
  template <class T>
  const T* as() const {
    if constexpr (std::is_polymorphic_v<T>) {
      if (custom_) {
        if (const T* value = dynamic_cast<const T*>(custom_.get())) return value;
      }
    }
    if (!exception_) return nullptr;
    try {
      std::rethrow_exception(exception_);
    } catch (const T& value) {
      return std::addressof(value);
    } catch (...) {
      return nullptr;
    }
  }
  template <class T>
  bool is() const {
    return as<T>() != nullptr;
  }

  /// Category named like the domain, value `code()` narrowed to int.
  std::error_code errorCode() const;
  /// Throws what is held, by its own type where it was thrown as such, else this error.
  [[noreturn]] void raise() const;
  const char* what() const noexcept override;

  /// Equal domain and code, and equal message.
  friend CORVANE_API bool operator==(const Error& left, const Error& right);

 private:
  Error() = default;

  std::shared_ptr<const CustomNSError> custom_;
  std::exception_ptr exception_;
  mutable std::shared_ptr<const std::string> what_;
};

/// Supplies `toError()` for the value type `Self`.
template <class Self, class Base = CustomNSError>
class CustomErrorBase : public Base {
 public:
  Error toError() const override { return Error(static_cast<const Self&>(*this)); }
};

/// The platform's plain error: a domain, a code, a message and user information.
class CORVANE_API NSError final : public CustomErrorBase<NSError> {
 public:
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
