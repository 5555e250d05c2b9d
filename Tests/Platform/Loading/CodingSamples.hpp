#pragma once

#include <string>
#include <string_view>

namespace platform::detail {

/// Encoded bodies for the tests of decoding.
std::string gzipped(std::string_view content);
/// A gzip member with a file name, a comment, an extra field and a checked header.
std::string gzippedWithEverything(std::string_view content);
std::string zlibDeflated(std::string_view content);
std::string bareDeflated(std::string_view content);
/// As the program `compress -b maximumWidth` writes it; without a clear code when `isBlockMode` is false.
std::string lzwCompressed(std::string_view content, unsigned maximumWidth = 16, bool isBlockMode = true);
/// Text whose strings grow and whose statistics change, so that every code width is reached.
std::string variedText(std::size_t count, unsigned seed);

}  // namespace platform::detail
