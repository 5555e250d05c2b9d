#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace vantorel {

struct LogRecord;

/// A named source of log records, which go to the process's sink (`setLogSink`). Thread-safe.
///
/// The source location defaults to that of the call. If `withStackTrace` is true, by default if `shouldLogStackTrace`
/// is, the sink adds a stack trace to the record.
class CORVANE_API Logger {
 public:
  /// Returns whether a record is logged. Called on the thread that logs. Empty: every record is logged.
  using Validation = std::function<bool(const LogRecord&)>;

  /// Whether records have a stack trace unless the call specifies it. Process-wide; false at first. May be changed at
  /// any time.
  static std::atomic<bool> shouldLogStackTrace;

  /// A logger with that name, which logs the records that the validation accepts.
  Logger(std::string name, Validation validation);

  /// The name that records carry.
  const std::string& name() const { return name_; }

  /// Logs at the level `debug`, for information that helps to find a fault.
  void debug(std::string message, std::optional<platform::Dictionary> userInfo = std::nullopt,
             std::optional<std::string> category = std::nullopt, const char* file = __builtin_FILE(),
             const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
             bool withStackTrace = shouldLogStackTrace) const;
  /// Logs at the level `info`, for information to operators.
  void info(std::string message, std::optional<platform::Dictionary> userInfo = std::nullopt,
            std::optional<std::string> category = std::nullopt, const char* file = __builtin_FILE(),
            const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
            bool withStackTrace = shouldLogStackTrace) const;
  /// Logs at the level `error`, for failures.
  void error(std::string message, std::optional<platform::Dictionary> userInfo = std::nullopt,
             std::optional<std::string> category = std::nullopt, const char* file = __builtin_FILE(),
             const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
             bool withStackTrace = shouldLogStackTrace) const;
  /// Logs at the level `fault`, for a state that must not occur.
  void fault(std::string message, std::optional<platform::Dictionary> userInfo = std::nullopt,
             std::optional<std::string> category = std::nullopt, const char* file = __builtin_FILE(),
             const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
             bool withStackTrace = shouldLogStackTrace) const;

  /// Logs a record (LogRecord.hpp). Sets its `logger` and `time`.
  void log(LogRecord record) const;

 private:
  std::string name_;
  Validation validation_;
};

}  // namespace vantorel
