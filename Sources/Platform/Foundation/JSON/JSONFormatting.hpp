#pragma once

#include <cstdint>

#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"

namespace platform {

/// How documents are laid out.
enum class JSONFormatting : std::uint8_t {
  /// Without white space.
  compact,
  /// Human-readable: each member and element on a line of its own, two spaces deeper for each level up to 32.
  pretty
};

/// The same document with other white space; numbers and strings stay as they are written. Throws
/// `DecodingError` for what is not JSON.
CORVANE_API Data prettyPrintedJSON(const Data& document);

}  // namespace platform
