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
/// The place defaults to that of the call. A record's stack trace is the sink's to take; the default of the
/// flag is `shouldLogStackTrace`.
class CORVANE_API Logger {
 public:
  /// Decides whether a record is logged. Called on the thread that logs.
  using Validation = std::function<bool(const LogRecord&)>;

  /// Whether records carry a stack trace unless the call says otherwise. Process-wide; false at first.
  static std::atomic<bool> shouldLogStackTrace;

  /// A logger of that name, whose records the validation lets through or not.
  Logger(std::string name, Validation validation);

  /// The name that records carry.
  const std::string& name() const { return name_; }

  /// Logs at that level. For what helps to find a mistake.
  void debug(std::string message, std::optional<platform::Dictionary> userInfo = std::nullopt,
             std::optional<std::string> category = std::nullopt, const char* file = __builtin_FILE(),
             const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
             bool withStackTrace = shouldLogStackTrace) const;
  /// Logs at that level. For what an operator wants to know.
  void info(std::string message, std::optional<platform::Dictionary> userInfo = std::nullopt,
            std::optional<std::string> category = std::nullopt, const char* file = __builtin_FILE(),
            const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
            bool withStackTrace = shouldLogStackTrace) const;
  /// Logs at that level. For what went wrong.
  void error(std::string message, std::optional<platform::Dictionary> userInfo = std::nullopt,
             std::optional<std::string> category = std::nullopt, const char* file = __builtin_FILE(),
             const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
             bool withStackTrace = shouldLogStackTrace) const;
  /// Logs at that level. For a state that must not occur.
  void fault(std::string message, std::optional<platform::Dictionary> userInfo = std::nullopt,
             std::optional<std::string> category = std::nullopt, const char* file = __builtin_FILE(),
             const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
             bool withStackTrace = shouldLogStackTrace) const;

  /// Logs a record (LogRecord.hpp) whose `logger` and `time` this function fills in.
  void log(LogRecord record) const;

 private:
  std::string name_;
  Validation validation_;
};

}  // namespace vantorel
