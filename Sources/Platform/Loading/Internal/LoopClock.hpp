#pragma once

#include <chrono>
#include <cmath>

#include "Platform/Loading/Internal/DeadlineQueue.hpp"

namespace platform::detail {

/// Nanoseconds of the monotonic clock.
using LoopTime = MonotonicTime;
inline constexpr LoopTime never = DeadlineEntry::never;
inline constexpr LoopTime oneMillisecond = 1'000'000;

inline LoopTime loopNow() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

/// An interval in seconds as loop time, bounded so that adding it to a time never overflows.
inline LoopTime loopInterval(double seconds) {
  constexpr double longest = 1e9;
  return std::llround((seconds < longest ? seconds : longest) * 1e9);
}

}  // namespace platform::detail
