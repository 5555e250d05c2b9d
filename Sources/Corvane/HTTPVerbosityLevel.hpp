#pragma once

namespace corvane {

/// How much is logged about each exchange, at debug level.
enum class HTTPVerbosityLevel {
  /// Nothing.
  none,
  /// One line: method, URL, status, and the error if there is one.
  brief,
  /// The URL, the request as a command line for curl, the status, the response's headers, a summary of its body, and
  /// the error if there is one.
  verbose,
};

}  // namespace corvane
