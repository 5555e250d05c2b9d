#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Dispatch/UniqueFunction.hpp"
#include "Platform/Export.hpp"

namespace platform::detail {

/// Where time comes from for everything that waits in the background: `asyncAfter`, timers, and what is
/// built on them. The system's clock unless a `ManualClock` is installed.
///
/// How long a *blocked* thread is willing to wait (semaphores, groups, `runUntil`) is always real time.
class CORVANE_API Clock {
 public:
  /// Since an arbitrary start; never goes back.
  using Instant = std::chrono::nanoseconds;

  /// Names one scheduled action, for `cancel`.
  struct Key {
    Instant due{};
    std::uint64_t number = 0;
    auto operator<=>(const Key&) const = default;
  };

  virtual ~Clock() = default;
  virtual Instant now() const = 0;
  /// Calls the action once, not before `due`, and not much later than `due + leeway`. It runs on the clock's
  /// thread, without a lock held, and must be short: it delays everything else that is due.
  virtual Key schedule(Instant due, std::chrono::nanoseconds leeway, Block action) = 0;
  /// The same, so long from now, without time passing between the look at the clock and the call.
  virtual Key scheduleAfter(std::chrono::nanoseconds delay, Block action) {
    return schedule(now() + delay, {}, std::move(action));
  }
  /// Drops the action; one that is being called already is not waited for.
  virtual void cancel(const Key& key) = 0;

  /// The clock in force.
  static std::shared_ptr<Clock> current();
  static std::shared_ptr<Clock> ofTheSystem();
  /// Null brings the system's clock back.
  static void install(std::shared_ptr<Clock> clock);

  /// Nanoseconds, cut to thirty years; nothing for a negative or undefined interval.
  static std::chrono::nanoseconds nanoseconds(Seconds interval);
};

}  // namespace platform::detail
