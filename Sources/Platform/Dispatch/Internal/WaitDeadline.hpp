#pragma once

#include <chrono>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"

namespace platform::detail {

/// A point on the steady clock until which a thread is willing to wait.
class WaitDeadline {
 public:
  using Point = std::chrono::steady_clock::time_point;

  explicit WaitDeadline(Seconds limit) : isNever_(!(limit < longest)), point_(isNever_ ? Point::max() : after(limit)) {}

  bool isNever() const { return isNever_; }
  bool hasPassed() const { return !isNever_ && std::chrono::steady_clock::now() >= point_; }
  /// Always finite.
  Seconds remaining() const { return isNever_ ? longest : Seconds(point_ - std::chrono::steady_clock::now()); }
  /// Requires: `!isNever()`.
  Point point() const { return point_; }

 private:
  // Thirty years; longer ones would overflow the clock's nanoseconds.
  static constexpr Seconds longest = 1e9;

  static Point after(Seconds limit) {
    return std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                                  std::chrono::duration<double>(limit.count()));
  }

  bool isNever_;
  Point point_;
};

/// Waits on a condition variable until the predicate holds; false when the deadline passed first.
template <class Predicate>
bool waitUntil(ConditionVariable& condition, Mutex& mutex, const WaitDeadline& deadline, Predicate holds)
    CORVANE_REQUIRES(mutex) {
  if (!deadline.isNever()) return condition.waitUntil(mutex, deadline.point(), holds);
  condition.wait(mutex, holds);
  return true;
}

}  // namespace platform::detail
