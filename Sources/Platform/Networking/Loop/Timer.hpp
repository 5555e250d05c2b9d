#pragma once

#include <cstddef>
#include <limits>

#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {

class TimerQueue;

/// Something that is called once a deadline has passed. It stays where it is in memory while it is armed, and is not
/// armed when it is destroyed. Loop side only.
class Timer {
 public:
  Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  /// Moves the deadline later with one plain store, as each sign of life of an idle time-out does: the queue looks
  /// again when the old deadline passes. Requires: `deadline` is not earlier than it was.
  void postpone(TimePoint deadline) { deadline_ = deadline; }
  TimePoint deadline() const { return deadline_; }
  bool isArmed() const { return place_ != unarmed; }

 protected:
  virtual ~Timer() = default;

 private:
  friend class TimerQueue;
  friend class EventLoop;
  static constexpr std::size_t unarmed = std::numeric_limits<std::size_t>::max();

  /// The deadline has passed; the timer is no longer armed, and may be armed again or destroyed here.
  virtual void timerFired() = 0;

  TimePoint deadline_ = never;
  std::size_t place_ = unarmed;
};

}  // namespace platform::networking
