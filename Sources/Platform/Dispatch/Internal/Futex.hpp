#pragma once

#include <atomic>
#include <cstdint>

#include "Platform/Dispatch/Internal/WaitDeadline.hpp"

namespace platform::detail {

/// Sleeps while `word` holds `expected`, until woken or until the deadline. May wake for no reason (futex(2)).
void futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected, const WaitDeadline& deadline);

/// Wakes the threads that sleep on the word. Only the address is used: the word itself may be gone already.
void futexWake(const std::atomic<std::uint32_t>* word);

/// Set once by one thread, awaited by another, which may destroy it as soon as `wait` returns.
class Event {
 public:
  void set() {
    // After the exchange only the address is touched, since the waiter may be gone with the event.
    const auto* const word = &state_;
    if (state_.exchange(isSet, std::memory_order_acq_rel) == isAwaited) futexWake(word);
  }

  void wait() { wait(WaitDeadline(Seconds::unlimited())); }

  /// False when the deadline passed first.
  bool wait(const WaitDeadline& deadline) {
    auto state = isUnset;
    state_.compare_exchange_strong(state, isAwaited, std::memory_order_acq_rel, std::memory_order_acquire);
    while (state_.load(std::memory_order_acquire) != isSet) {
      if (deadline.hasPassed()) return false;
      futexWait(state_, isAwaited, deadline);
    }
    return true;
  }

  /// Makes it unset again. Only the waiter may, after `wait` returned true.
  void reset() { state_.store(isUnset, std::memory_order_relaxed); }

 private:
  static constexpr std::uint32_t isUnset = 0;
  static constexpr std::uint32_t isAwaited = 1;
  static constexpr std::uint32_t isSet = 2;

  std::atomic<std::uint32_t> state_ = isUnset;
};

}  // namespace platform::detail
