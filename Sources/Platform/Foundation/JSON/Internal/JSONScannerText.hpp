#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "Platform/Foundation/JSON/Detail/JSONScanner.hpp"
#include "Platform/Foundation/JSON/Internal/JSONScannerBlocks.hpp"

/// The plain strings of the scanner, inline: most strings are plain, and most of a document is strings.
namespace platform::detail {

/// The first character of a string that cannot stand there as it is, or its end. Reads up to a block more than
/// there is, which `Data` allows.
struct PlainText {
  const char* end;
  bool isASCII;
};

inline PlainText passPlainText(const char* cursor, const char* end) {
  std::uint64_t high = 0;
  for (; cursor < end; cursor += blockSize) {
    const TextBlock block = classify(cursor);
    if (block.special != 0) {
      high |= block.high & before(block.special);
      return {std::min(cursor + firstOf(block.special), end), high == 0};
    }
    high |= block.high;
  }
  return {end, high == 0};
}

/// Passes a string of ASCII without escapes. False when it is another one, or none: then nothing is passed, and
/// `JSONScanner::passString` tells. Requires: a quote at the cursor.
inline bool passPlainString(JSONScanner& scanner, std::string_view& text) {
  const char* const start = scanner.cursor() + 1;
  const PlainText plain = passPlainText(start, scanner.end());
  if (!plain.isASCII || plain.end == scanner.end() || *plain.end != '"') return false;
  text = std::string_view(start, static_cast<std::size_t>(plain.end - start));
  scanner.moveTo(plain.end + 1);
  return true;
}

}  // namespace platform::detail
