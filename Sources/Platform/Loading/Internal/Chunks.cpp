#include "Platform/Loading/Internal/Chunks.hpp"

#include <charconv>
#include <cstddef>

namespace platform::detail {

namespace {

constexpr std::string_view lineEnd = "\r\n";

/// Takes a line, without its end, off the front.
std::optional<std::string_view> takeLine(std::string_view& text) {
  const std::size_t end = text.find(lineEnd);
  if (end == text.npos) return std::nullopt;
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end + lineEnd.size());
  return line;
}

std::optional<std::size_t> sizeOf(std::string_view line) {
  std::size_t size = 0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), size, 16);
  const std::string_view rest = line.substr(static_cast<std::size_t>(end - line.data()));
  if (error != std::errc() || (!rest.empty() && std::string_view("; \t").find(rest.front()) == rest.npos))
    return std::nullopt;
  return size;
}

}  // namespace

std::optional<std::string> joinedChunks(std::string_view body) {
  std::string content;
  while (true) {
    const auto line = takeLine(body);
    const auto size = line ? sizeOf(*line) : std::nullopt;
    if (!size) return std::nullopt;
    if (*size == 0) break;
    if (body.size() < *size || !body.substr(*size).starts_with(lineEnd)) return std::nullopt;
    content.append(body.substr(0, *size));
    body.remove_prefix(*size + lineEnd.size());
  }
  while (const auto trailer = takeLine(body)) {
    if (trailer->empty()) return content;
  }
  return std::nullopt;
}

}  // namespace platform::detail
