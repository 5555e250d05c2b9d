#pragma once

#include <memory>
#include <vector>

#include "Platform/Dispatch/Internal/Clock.hpp"

namespace platform::detail {

/// A clock that stands still until it is told to advance: for tests. Installed process-wide while it lives.
class CORVANE_API ManualClock {
 public:
  ManualClock();
  /// Brings the system's clock back and drops what was not due yet.
  ~ManualClock();
  ManualClock(const ManualClock&) = delete;
  ManualClock& operator=(const ManualClock&) = delete;

  /// Since the clock was made.
  Seconds now() const;
  /// Calls on this thread what gets due, in order, each at its own time. Blocks go to their queues, which
  /// run them as usual: wait for their effect, not for this call.
  void advance(Seconds interval);
  /// Advances to the next timer, if there is one; returns by how much.
  Seconds advanceToNextTimer();

  std::size_t pendingTimers() const;
  /// Waits (in real time) until at least so many timers are pending; false when the limit passed first.
  bool waitForTimers(std::size_t count, Seconds limit = 10) const;
  /// How far ahead each action was scheduled, in order, since the clock was made.
  std::vector<Seconds> waits() const;
  /// How often the clock stopped on its way to call something; timers that share a stop count once.
  std::size_t wakeUps() const;

 private:
  class Time;
  std::shared_ptr<Time> time_;
};

}  // namespace platform::detail
