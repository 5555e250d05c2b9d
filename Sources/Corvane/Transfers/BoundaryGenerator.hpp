#pragma once

#include <string>

#include "Platform/Export.hpp"

namespace corvane {

/// A random UUID in upper case, made on first use and the same for the life of the process. Any thread.
CORVANE_API const std::string& boundaryUUID();

/// What separates the parts of every multipart body of this process: "corvane.Boundary." and `boundaryUUID()`.
CORVANE_API std::string boundaryText();

/// What a multipart form writes between its sections.
struct BoundaryGenerator {
  /// Ends each line.
  std::string returnChars = "\r\n";
  /// What stands between the sections. Default: that of the process, made of a UUID.
  std::string boundary = boundaryText();
};

}  // namespace corvane
