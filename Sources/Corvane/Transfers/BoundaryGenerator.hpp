#pragma once

#include <string>

#include "Platform/Export.hpp"

namespace corvane {

/// A random UUID in upper case, created on first use and the same for the life of the process. May be called on any
/// thread.
CORVANE_API const std::string& boundaryUUID();

/// The boundary of every multipart body of this process: "corvane.Boundary." and `boundaryUUID()`.
CORVANE_API std::string boundaryText();

/// The separators of a multipart form.
///
///     const BoundaryGenerator boundaries{.boundary = "a text that is in no section"};
struct BoundaryGenerator {
  /// Ends each line.
  std::string returnChars = "\r\n";
  /// The boundary between the sections. Default: `boundaryText()`.
  std::string boundary = boundaryText();
};

}  // namespace corvane
