#pragma once

namespace corvane {

/// How much is logged about each exchange, at debug level.
enum class HTTPVerbosityLevel {
  /// Nothing.
  none,
  /// One line: method, URL and status.
  brief,
  /// The URL, with the request as a command line, the status, the response's headers and a summary of its body.
  verbose,
};

}  // namespace corvane
