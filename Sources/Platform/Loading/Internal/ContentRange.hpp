#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace platform::detail {

/// The value of a "Content-Range" in bytes (RFC 9110, 14.4).
struct ContentRange {
  /// Absent unless it is one: "bytes 5-9/10", "bytes 5-9/*" or "bytes */10", with numbers that fit together.
  static std::optional<ContentRange> parse(std::string_view value);

  /// The first and the last byte; absent in "bytes */10", of a range that cannot be satisfied.
  struct Span {
    std::int64_t first;
    std::int64_t last;
  };
  std::optional<Span> span = std::nullopt;
  /// Of the complete representation; absent for "*".
  std::optional<std::int64_t> total = std::nullopt;
};

}  // namespace platform::detail
