#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace vantorel {

/// The importance of a record, in rising order. A fault is a state that must not occur.
enum class LogLevel { debug, info, error, fault };

/// "debug", "info", "error" or "fault".
CORVANE_API std::string_view name(LogLevel level);

/// A record in the log.
struct LogRecord {
  /// Default: `info`.
  LogLevel level = LogLevel::info;
  /// One human-readable sentence, without a line break at its end.
  std::string message;
  /// Additional information. A sink evaluates the deferred dictionaries in it if it needs them.
  std::optional<platform::Dictionary> userInfo;
  /// Written in brackets before the message; absent: no category.
  std::optional<std::string> category;
  /// The source file that logged; empty if unknown, and the line is then 0.
  std::string file;
  /// The function that logged.
  std::string function;
  /// The line that logged.
  int line = 0;
  /// Whether the sink should add a stack trace of the calling thread.
  bool shouldLogStackTrace = false;
  /// The name of the logger.
  std::string logger;
  /// The time of logging.
  std::chrono::system_clock::time_point time;
};

/// The record's text without level, time and logger: the category in brackets, the message, the source location, then
/// one indented line for each entry of the user information, nested dictionaries and lists indented further. Deferred
/// dictionaries are evaluated and included.
CORVANE_API std::string text(const LogRecord& record);

}  // namespace vantorel
