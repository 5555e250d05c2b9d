#pragma once

#include <concepts>
#include <cstddef>

namespace corvane {

/// How the requests of a batch follow each other: `true` for all at once, `false` for one after another, or by name.
class HTTPBatchMode {
 public:
  /// Says whether to parallelize.
  template <std::same_as<bool> Flag>
  constexpr HTTPBatchMode(Flag shouldParallelize)  // NOLINT(google-explicit-constructor): the plain form
      : HTTPBatchMode(shouldParallelize, noLimit) {}

  /// One after another: each is sent when the one before was answered.
  static constexpr HTTPBatchMode serial() { return {false, noLimit}; }
  /// All are sent at once. How many of them have a connection at a time is the session's affair.
  static constexpr HTTPBatchMode parallel() { return {true, noLimit}; }
  /// At most so many are under way at a time, in the order of the list; at least one.
  static constexpr HTTPBatchMode parallel(std::size_t atOnce) { return {true, atOnce == 0 ? 1 : atOnce}; }

  /// Whether more than one may be under way at a time.
  constexpr bool shouldParallelize() const { return shouldParallelize_; }
  /// How many may be under way at a time, where they are parallelized; without a bound the greatest number there
  /// is.
  constexpr std::size_t atOnce() const { return atOnce_; }

 private:
  static constexpr std::size_t noLimit = static_cast<std::size_t>(-1);

  constexpr HTTPBatchMode(bool shouldParallelize, std::size_t atOnce)
      : shouldParallelize_(shouldParallelize), atOnce_(atOnce) {}

  bool shouldParallelize_;
  std::size_t atOnce_;
};

}  // namespace corvane
