#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "Platform/Dispatch/DispatchTime.hpp"

namespace corvane::testing {

/// Time that stands still until the test advances it: what waits for minutes is tested in no time.
///
/// ```
/// ManualTime time;
/// ... start something that tries again after half a minute ...
/// ASSERT_TRUE(time.waitForTimers(1));
/// time.advanceToNextTimer();
/// EXPECT_EQ(time.waits(), std::vector<platform::Seconds>{30});
/// ```
///
/// While it lives, it is the clock of all background waits in the process: `DispatchQueue::asyncAfter`,
/// `DispatchTimer`, and what is built on them. Real time stay the time-outs of transfers, the delays of a `TestServer`,
/// and how long a thread that is blocked is willing to wait. Timers from before its making go by the clock that they
/// began with. There can be one at a time; a second one traps.
///
/// All members may be called from any thread.
class ManualTime {
 public:
  /// From now on time stands still; traps when there is one already.
  ManualTime();
  /// Drops what was not due yet; from now on, time is that of the system.
  ~ManualTime();
  ManualTime(const ManualTime&) = delete;
  ManualTime& operator=(const ManualTime&) = delete;

  /// Since its making.
  platform::Seconds now() const;
  /// Lets everything happen that is due until then, each at its own time. Blocks are submitted to their queues, which
  /// run them as usual: wait for their effect, not for this call.
  void advance(platform::Seconds interval);
  /// Advances until the next timer is due; returns by how much: 0 when there is none.
  platform::Seconds advanceToNextTimer();

  /// How many timers and delayed blocks are not due yet.
  std::size_t pendingTimers() const;
  /// Waits until at least so many are; false when the limit, in real time, passed first. What is to wait is often
  /// started by another thread, so call it before `advance`.
  [[nodiscard]] bool waitForTimers(std::size_t count, platform::Seconds limit = 10) const;
  /// How long each wait was to be when it was begun, in that order, since the making of this.
  std::vector<platform::Seconds> waits() const;

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace corvane::testing
