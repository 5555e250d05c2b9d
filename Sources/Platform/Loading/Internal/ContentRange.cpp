#include "Platform/Loading/Internal/ContentRange.hpp"

#include <charconv>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

/// Digits alone: no sign, no space.
std::optional<std::int64_t> rangeNumber(std::string_view text) {
  std::int64_t value = 0;
  if (text.empty() || text.front() == '-') return std::nullopt;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<ContentRange::Span> rangeSpan(std::string_view text) {
  const std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto first = rangeNumber(text.substr(0, dash));
  const auto last = rangeNumber(text.substr(dash + 1));
  if (!first || !last || *last < *first) return std::nullopt;
  return ContentRange::Span{*first, *last};
}

}  // namespace

std::optional<ContentRange> ContentRange::parse(std::string_view value) {
  const std::size_t space = value.find(' ');
  const std::size_t slash = value.find('/');
  if (space == std::string_view::npos || slash == std::string_view::npos || slash < space) return std::nullopt;
  if (!equalsIgnoringCase(value.substr(0, space), "bytes")) return std::nullopt;
  const std::string_view range = value.substr(space + 1, slash - space - 1);
  const std::string_view total = value.substr(slash + 1);

  ContentRange result;
  if (total != "*") {
    result.total = rangeNumber(total);
    if (!result.total) return std::nullopt;
  }
  if (range == "*") return result.total ? std::optional(result) : std::nullopt;
  result.span = rangeSpan(range);
  if (!result.span || (result.total && result.span->last >= *result.total)) return std::nullopt;
  return result;
}

}  // namespace platform::detail
