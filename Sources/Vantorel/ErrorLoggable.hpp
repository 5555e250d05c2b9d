#pragma once

#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/Error.hpp"

namespace vantorel {

/// An interface for error types, in addition to their error base class, that adds information to log records. Domain
/// and code in a record are those of the error as a `platform::Error`.
class CORVANE_API ErrorLoggable {
 public:
  ErrorLoggable() = default;
  ErrorLoggable(const ErrorLoggable&) = default;
  ErrorLoggable& operator=(const ErrorLoggable&) = default;
  virtual ~ErrorLoggable();

  /// The error's message; a single `message()` in a type overrides that of all its base classes.
  virtual std::string message() const = 0;
  /// The text of a log record about this error. Default: the message.
  virtual std::string logMessage() const;
  /// Entries to add to a log record about this error. Default: absent.
  virtual std::optional<platform::Dictionary> additionalLogInfo() const;
};

/// The user information of a log record about an error: "message", "domain" and "code", then the entries of
/// `additionalLogInfo` if the error is an `ErrorLoggable`.
CORVANE_API platform::Dictionary createLogInfoDictionary(const platform::Error& error);

}  // namespace vantorel
