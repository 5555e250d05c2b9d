#pragma once

#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Foundation/Error.hpp"

namespace vantorel {

/// What an error type adopts beside its error base class to say more in log records than its message.
/// Domain and code are those that the error has as a `platform::Error`.
class CORVANE_API ErrorLoggable {
 public:
  ErrorLoggable() = default;
  ErrorLoggable(const ErrorLoggable&) = default;
  ErrorLoggable& operator=(const ErrorLoggable&) = default;
  virtual ~ErrorLoggable();

  /// The error's message; the one `message()` of a type serves all its bases.
  virtual std::string message() const = 0;
  /// The text of a log record about this error. Default: the message.
  virtual std::string logMessage() const;
  /// Entries to add to a log record about this error. Default: absent.
  virtual std::optional<platform::Dictionary> additionalLogInfo() const;
};

/// What a log record says about an error: "message", "domain" and "code", then the entries of
/// `additionalLogInfo` when the error is an `ErrorLoggable`.
CORVANE_API platform::Dictionary createLogInfoDictionary(const platform::Error& error);

}  // namespace vantorel
