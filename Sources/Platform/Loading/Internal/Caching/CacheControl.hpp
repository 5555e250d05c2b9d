#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "Platform/Loading/HTTPHeaderFields.hpp"

namespace platform::detail {

/// The directives of "Cache-Control" that a private cache obeys (RFC 9111, 5.2; RFC 5861). Those it does not know, and
/// those for shared caches ("s-maxage", "private", "proxy-revalidate"), are ignored. Names in any case; arguments as
/// tokens or quoted. Of a repeated directive the first counts (RFC 9111, 4.2.1). A time that is no number counts as 0
/// where that means less caching.
struct CacheControl {
  /// Longer than everything.
  static constexpr std::int64_t unlimited = std::numeric_limits<std::int32_t>::max();

  static CacheControl of(const HTTPHeaderFields& fields);
  /// Delta-seconds (RFC 9111, 1.2.2): more than can be counted is `unlimited`. Absent for what is no number.
  static std::optional<std::int64_t> deltaSeconds(std::string_view digits);
  /// Adds the directives of one field.
  void add(std::string_view value);

  bool noStore = false;
  /// Also where it names fields: validating too often is safe.
  bool noCache = false;
  bool mustRevalidate = false;
  bool onlyIfCached = false;
  // In seconds, at most `unlimited`.
  std::optional<std::int64_t> maxAge;
  /// Without an argument: `unlimited`.
  std::optional<std::int64_t> maxStale;
  std::optional<std::int64_t> minFresh;
  std::optional<std::int64_t> staleWhileRevalidate;
  std::optional<std::int64_t> staleIfError;

 private:
  void addDirective(std::string_view name, std::optional<std::string_view> argument);
};

}  // namespace platform::detail
