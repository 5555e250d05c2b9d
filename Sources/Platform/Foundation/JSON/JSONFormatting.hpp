#pragma once

#include <cstdint>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

/// The layout of documents.
enum class JSONFormatting : std::uint8_t {
  /// Without white space.
  compact,
  /// Human-readable: each member and element on its own line, indented by two spaces for each level up to 32.
  pretty
};

/// The same document with another layout; numbers and strings are not changed. Throws `DecodingError` for text that is
/// not JSON.
CORVANE_API Data prettyPrintedJSON(const Data& document);

}  // namespace platform
