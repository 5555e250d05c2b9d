#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Dictionary.hpp"

namespace vantorel {

/// How much a record matters, in rising order. A fault is a state that must not occur.
enum class LogLevel { debug, info, error, fault };

/// "debug", "info", "error" or "fault".
CORVANE_API std::string_view name(LogLevel level);

/// One thing that was logged.
struct LogRecord {
  /// Default: `info`.
  LogLevel level = LogLevel::info;
  /// One human-readable sentence, without a line break at its end.
  std::string message;
  /// Deferred dictionaries in it are made by the sink that wants them.
  std::optional<platform::Dictionary> userInfo;
  /// Written in brackets before the message; absent: nothing is.
  std::optional<std::string> category;
  /// Where it was logged; empty and 0 when that was not said.
  std::string file;
  /// The function that logged.
  std::string function;
  /// The line that logged.
  int line = 0;
  /// Whether the sink shall add the calling thread's stack.
  bool shouldLogStackTrace = false;
  /// The name of the logger.
  std::string logger;
  /// When it was logged.
  std::chrono::system_clock::time_point time;
};

/// The record's text without level, time and logger: the category in brackets, the message, the place, then
/// one indented line for each entry of the user information, nested dictionaries and lists indented further.
/// Deferred dictionaries are made and shown.
CORVANE_API std::string text(const LogRecord& record);

}  // namespace vantorel
