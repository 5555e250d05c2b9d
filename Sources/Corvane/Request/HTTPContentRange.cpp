#include "Corvane/Request/HTTPContentRange.hpp"

#include <charconv>
#include <limits>

namespace corvane {

namespace {

bool isBytesUnit(std::string_view text) {
  constexpr std::string_view unit = "bytes ";
  if (text.size() < unit.size()) return false;
  for (std::size_t at = 0; at < unit.size(); ++at) {
    const char lower = text[at] >= 'A' && text[at] <= 'Z' ? static_cast<char>(text[at] | 0x20) : text[at];
    if (lower != unit[at]) return false;
  }
  return true;
}

/// Digits only, and room for one more than the number: a range of all of them has a length.
std::optional<std::int64_t> number(std::string_view text) {
  std::uint64_t value = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  constexpr auto limit = static_cast<std::uint64_t>((std::numeric_limits<std::int64_t>::max)());
  if (text.empty() || end != text.data() + text.size() || problem != std::errc() || value >= limit) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

std::optional<HTTPContentRange::Bytes> firstAndLast(std::string_view text) {
  const auto dash = text.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto first = number(text.substr(0, dash));
  const auto last = number(text.substr(dash + 1));
  if (!first || !last || *last < *first) return std::nullopt;
  return HTTPContentRange::Bytes{.first = *first, .last = *last};
}

}  // namespace

std::optional<HTTPContentRange> HTTPContentRange::parse(std::string_view text) {
  if (!isBytesUnit(text)) return std::nullopt;
  text.remove_prefix(text.find(' ') + 1);
  const auto slash = text.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto range = text.substr(0, slash);
  const auto length = text.substr(slash + 1);

  const HTTPContentRange parsed{.bytes = firstAndLast(range), .total = number(length)};
  const bool isUnsatisfied = range == "*" && parsed.total;
  const bool isSatisfied = parsed.bytes && (parsed.total ? parsed.bytes->last < *parsed.total : length == "*");
  return isUnsatisfied || isSatisfied ? std::optional(parsed) : std::nullopt;
}

std::optional<HTTPContentRange> HTTPContentRange::of(const platform::HTTPHeaderFields& headers) {
  const auto values = headers.values("Content-Range");
  return values.size() == 1 ? parse(values.front()) : std::nullopt;
}

}  // namespace corvane
