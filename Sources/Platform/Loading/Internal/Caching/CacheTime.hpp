#pragma once

#include <cstdint>

namespace platform::detail {

/// A moment, in seconds of two clocks. Both go on while the machine sleeps. Tests may set them by hand
/// (`ManualCacheTime`).
struct CacheTime {
  /// Since 1970-01-01T00:00:00Z: what the dates of responses are compared with (RFC 9111, 4.2). This clock may be set.
  std::int64_t wall = 0;
  /// Since the machine was started. Nothing sets this clock.
  std::int64_t sinceBoot = 0;

  static CacheTime now() noexcept;
  /// The time since `earlier`. Where the clocks disagree, the longer one counts: validating too early is safe.
  std::int64_t since(const CacheTime& earlier) const;
};

/// Stops both clocks while it lives. One at a time.
class ManualCacheTime {
 public:
  explicit ManualCacheTime(std::int64_t secondsSince1970);
  ~ManualCacheTime();
  ManualCacheTime(const ManualCacheTime&) = delete;
  ManualCacheTime& operator=(const ManualCacheTime&) = delete;

  /// Time goes by.
  void advance(std::int64_t seconds);
  /// Somebody sets the clock on the wall; no time goes by.
  void setWallBy(std::int64_t seconds);
};

}  // namespace platform::detail
