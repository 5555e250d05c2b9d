#include "Platform/Foundation/MIMETypes.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

#include "Platform/Foundation/Detail/ASCII.hpp"

namespace platform {

namespace {

// Lines of an extension, a space and a type, sorted by extension. One text instead of an array of views: it needs no
// relocation when the program starts, and less space.
constexpr std::string_view table =
#include "Platform/Foundation/Internal/MIMETypeTable.inc"
    ;

// Longer than any in the table.
constexpr std::size_t longestExtension = 63;

std::size_t beginOfLine(std::size_t place) {
  const std::size_t end = place == 0 ? std::string_view::npos : table.rfind('\n', place - 1);
  return end == std::string_view::npos ? 0 : end + 1;
}

/// By bisection; `low` and `high` are begins of lines.
std::optional<std::string_view> typeOf(std::string_view extension) {
  std::size_t low = 0;
  std::size_t high = table.size();
  while (low < high) {
    const std::size_t begin = beginOfLine(low + (high - low) / 2);
    const std::size_t space = table.find(' ', begin);
    const std::size_t end = table.find('\n', space);
    const int order = table.substr(begin, space - begin).compare(extension);
    if (order == 0) return table.substr(space + 1, end - space - 1);
    if (order < 0) {
      low = end + 1;
    } else {
      high = begin;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string_view> mimeTypeForExtension(std::string_view extension) {
  std::array<char, longestExtension> lower;
  if (extension.size() > lower.size()) return std::nullopt;
  const auto end = std::transform(extension.begin(), extension.end(), lower.begin(), detail::asciiLower);
  return typeOf({lower.data(), static_cast<std::size_t>(end - lower.begin())});
}

}  // namespace platform
