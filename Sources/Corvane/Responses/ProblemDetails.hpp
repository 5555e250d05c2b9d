#pragma once

#include <optional>
#include <string>

namespace corvane {

/// The JSON body of an error response, "application/problem+json" (RFC 9457). All members are optional. A service may
/// add members of its own: read those with a struct that has them, too.
struct ProblemDetails {
  /// A URI that identifies the kind of problem. Absent or "about:blank": the status code says it all.
  std::optional<std::string> type;
  /// A short, human-readable summary of the kind of problem.
  std::optional<std::string> title;
  /// The status code that the origin server generated.
  std::optional<int> status;
  /// A human-readable explanation of this occurrence of the problem.
  std::optional<std::string> detail;
  /// A URI that identifies this occurrence of the problem.
  std::optional<std::string> instance;
};

}  // namespace corvane
