#pragma once

#include <cstdint>
#include <string>

#include "Platform/Export.hpp"

namespace platform {

/// How a session caches responses (RFC 9111). Its cache is private, in memory, and its own; it ends with the session.
struct CORVANE_API CacheConfiguration {
  /// The memory that stored responses may take, in bytes; the least recently used ones go first. One response takes at
  /// most a quarter of it; a longer one is not stored. 0: there is no cache. Default: 4 MiB.
  std::int64_t capacityBytes = std::int64_t{4} << 20;
  /// Whether a stale response is returned while it is validated in the background, for as long as its
  /// "stale-while-revalidate" allows (RFC 5861, 3). Default: false.
  bool servesStaleWhileRevalidating = false;
  /// Whether a stale response is returned where the server cannot be reached or fails (500, 502, 503, 504), for as long
  /// as "stale-if-error" of the response or of the request allows (RFC 5861, 4). Default: false.
  bool servesStaleOnError = false;

  /// No cache: every request is sent.
  static CacheConfiguration off() { return {.capacityBytes = 0}; }

  /// Empty when it can be used, otherwise a sentence that names the fault: a negative capacity.
  std::string problem() const;
};

}  // namespace platform
