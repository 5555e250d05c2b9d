#pragma once

#include <map>
#include <optional>

#include "Platform/Dispatch/Internal/Clock.hpp"

namespace platform::detail {

/// Scheduled actions in the order in which they are due. Not thread-safe.
class TimerHeap {
 public:
  Clock::Key add(Clock::Instant due, std::chrono::nanoseconds leeway, Block action);
  /// Takes the action out, so that the caller can destroy it without holding a lock.
  Block remove(const Clock::Key& key);
  /// Takes out the first action that is due, or an empty one.
  Block takeDue(Clock::Instant now);
  /// The latest time that still suits every timer's leeway: waking up then serves the most at once.
  std::optional<Clock::Instant> nextWakeUp() const;
  std::size_t count() const { return entries_.size(); }

 private:
  struct Entry {
    std::chrono::nanoseconds leeway;
    Block action;
  };

  std::map<Clock::Key, Entry> entries_;
  std::uint64_t lastNumber_ = 0;
};

}  // namespace platform::detail
