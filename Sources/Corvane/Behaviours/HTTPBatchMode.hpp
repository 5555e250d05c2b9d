#pragma once

#include <concepts>
#include <cstddef>

namespace corvane {

/// The order of the requests of a batch: `true` for all at once, `false` for one after another, or by name.
class HTTPBatchMode {
 public:
  /// Whether to send the requests in parallel.
  template <std::same_as<bool> Flag>
  constexpr HTTPBatchMode(Flag shouldParallelize)  // NOLINT(google-explicit-constructor): the plain form
      : HTTPBatchMode(shouldParallelize, noLimit) {}

  /// One after another: each request is sent when the previous one has completed.
  static constexpr HTTPBatchMode serial() { return {false, noLimit}; }
  /// All requests are sent at once. The session limits the number of connections.
  static constexpr HTTPBatchMode parallel() { return {true, noLimit}; }
  /// At most this number of requests is under way at a time, in the order of the list; at least one.
  static constexpr HTTPBatchMode parallel(std::size_t atOnce) { return {true, atOnce == 0 ? 1 : atOnce}; }

  /// Whether more than one may be under way at a time.
  constexpr bool shouldParallelize() const { return shouldParallelize_; }
  /// The maximum number of requests under way in parallel; the greatest value of the type without a limit.
  constexpr std::size_t atOnce() const { return atOnce_; }

 private:
  static constexpr std::size_t noLimit = static_cast<std::size_t>(-1);

  constexpr HTTPBatchMode(bool shouldParallelize, std::size_t atOnce)
      : shouldParallelize_(shouldParallelize), atOnce_(atOnce) {}

  bool shouldParallelize_;
  std::size_t atOnce_;
};

}  // namespace corvane
