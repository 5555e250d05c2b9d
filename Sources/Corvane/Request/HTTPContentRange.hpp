#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "Platform/Export.hpp"
#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace corvane {

/// Which bytes of a resource a response holds: its "Content-Range" field (RFC 9110, 14.4), in a 206, or in a 416
/// without `bytes`.
///
///     const auto range = HTTPContentRange::of(*response.headers);
///     if (response.status == HTTPStatus::partialContent && range && range->bytes && range->bytes->first == 1000) …
struct CORVANE_API HTTPContentRange {
  /// The first and the last byte, counted from 0.
  ///
  ///     if (range->bytes) show(range->bytes->first, range->bytes->count());
  struct Bytes {
    std::int64_t first = 0;  ///< the first byte
    std::int64_t last = 0;   ///< the last byte, which is one of them

    /// How many there are.
    std::int64_t count() const { return last - first + 1; }
    friend bool operator==(const Bytes&, const Bytes&) = default;
  };

  /// Absent in a 416: the resource has none of the bytes that were asked for.
  std::optional<Bytes> bytes = {};
  /// The length of the whole resource; absent if the server does not know it.
  std::optional<std::int64_t> total = {};

  /// Reads "bytes 0-499/1234", "bytes 0-499/*" or "bytes */1234". Absent for everything else: other units, a range that
  /// ends before it begins or beyond the total, numbers from 2^63 - 1 on.
  static std::optional<HTTPContentRange> parse(std::string_view text);
  /// That of these header fields; absent without such a field, with several, and for one that `parse` refuses.
  static std::optional<HTTPContentRange> of(const platform::HTTPHeaderFields& headers);

  friend bool operator==(const HTTPContentRange&, const HTTPContentRange&) = default;
};

}  // namespace corvane
