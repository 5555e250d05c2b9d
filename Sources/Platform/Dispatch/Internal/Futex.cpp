#include "Platform/Dispatch/Internal/Futex.hpp"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace platform::detail {
namespace {

timespec monotonic(WaitDeadline::Point point) {
  const auto sinceStart = std::chrono::duration_cast<std::chrono::nanoseconds>(point.time_since_epoch()).count();
  timespec time{};
  time.tv_sec = static_cast<time_t>(sinceStart / 1'000'000'000);
  time.tv_nsec = static_cast<long>(sinceStart % 1'000'000'000);
  return time;
}

}  // namespace

void futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected, const WaitDeadline& deadline) {
  static_assert(sizeof(word) == sizeof(std::uint32_t) && std::atomic<std::uint32_t>::is_always_lock_free);
  timespec until{};
  const timespec* limit = nullptr;
  if (!deadline.isNever()) {
    // An absolute time on CLOCK_MONOTONIC, which is what libstdc++'s steady clock reads.
    until = monotonic(deadline.point());
    limit = &until;
  }
  // Every outcome (woken, interrupted, timed out, changed meanwhile) sends the caller back to look at the word.
  ::syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, expected, limit, nullptr, FUTEX_BITSET_MATCH_ANY);
}

void futexWake(const std::atomic<std::uint32_t>* word) {
  ::syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace platform::detail
