#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "Platform/Dispatch/DispatchTime.hpp"

namespace corvane::testkit {

/// Time that stands still until the test advances it, so that waits of minutes are tested at once.
///
/// ```
/// ManualTime time;
/// ... start something that tries again after half a minute ...
/// ASSERT_TRUE(time.waitForTimers(1));
/// time.advanceToNextTimer();
/// EXPECT_EQ(time.waits(), std::vector<platform::Seconds>{30});
/// ```
///
/// While it exists, it is the clock of all background waits in the process: `DispatchQueue::asyncAfter`,
/// `DispatchTimer`, and waits built on them (retries, polls, delays of mocks). Time-outs of transfers, delays of a
/// `TestServer` and time limits of blocked threads stay in real time. Timers that were started before keep their clock.
/// There can be one `ManualTime` at a time; a second one traps.
///
/// All members may be called from any thread.
class ManualTime {
 public:
  /// Stops the time; traps when there is a `ManualTime` already.
  ManualTime();
  /// Drops timers and blocks that are not due yet, and restores the system's time.
  ~ManualTime();
  ManualTime(const ManualTime&) = delete;
  ManualTime& operator=(const ManualTime&) = delete;

  /// The time since the construction of this object.
  platform::Seconds now() const;
  /// Advances the time. Everything that becomes due happens in order, each at its own time. Blocks are submitted to
  /// their queues, which run them as usual: wait for their effect, not for this call.
  void advance(platform::Seconds interval);
  /// Advances until the next timer is due. Returns the interval; 0 without a timer.
  platform::Seconds advanceToNextTimer();

  /// The number of timers and delayed blocks that are not due yet.
  std::size_t pendingTimers() const;
  /// Waits until at least this number of timers and delayed blocks is pending. False when the limit, in real time,
  /// passed first. Timers are often started by another thread, so call this before `advance`.
  [[nodiscard]] bool waitForTimers(std::size_t count, platform::Seconds limit = 10) const;
  /// The duration of each wait since the construction of this object, in the order in which the waits began.
  std::vector<platform::Seconds> waits() const;

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace corvane::testkit
