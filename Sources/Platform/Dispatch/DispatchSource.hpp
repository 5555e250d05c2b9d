#pragma once

#include <initializer_list>
#include <memory>
#include <optional>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// Calls a handler on a queue at set times. Made suspended; `resume` (or `activate`) starts it. Copies name
/// the same timer; the timer ends when it is cancelled or its last handle is gone.
///
/// Ticks that come due while the timer is suspended, while the queue is busy or while the handler runs are
/// merged into one, which comes as soon as it can; the ticks after it keep the original beat.
///
/// No handler starts after `cancel()` or `suspend()` returned when they are called on the timer's own queue;
/// called elsewhere, a handler that was already under way finishes. All functions may be called from any
/// thread. A handler that captures the timer itself keeps it alive until `cancel`.
class CORVANE_API DispatchTimer {
 public:
  /// A timer that calls its handler on this queue. It is suspended.
  explicit DispatchTimer(DispatchQueue queue);
  /// Called on the queue for each tick, one call at a time. Replaces the handler before it.
  void setEventHandler(UniqueFunction<void()> handler) const;
  /// Called once, on the queue, after `cancel`; not when the last handle goes without it.
  void setCancelHandler(UniqueFunction<void()> handler) const;
  /// First after `delay`, then every `interval` (absent: once; at least a millisecond). The leeway says how
  /// much later than due a tick may come, so that timers can share a wake-up. Replaces the schedule before it.
  void schedule(Seconds delay, std::optional<Seconds> repeating = std::nullopt, Seconds leeway = 0) const;
  /// The same as `resume`.
  void activate() const { resume(); }
  /// Lets ticks come, however often the timer was suspended.
  void resume() const;
  /// Holds ticks back until `resume`.
  void suspend() const;
  /// Ends the timer for good.
  void cancel() const;
  /// Whether `cancel` was called.
  bool isCancelled() const;

 private:
  class State;
  std::shared_ptr<State> state_;
};

/// What the system (or the host application) says about memory.
enum class MemoryPressure { normal, warning, critical };

/// Calls a handler on a queue when memory gets short, and when it is plentiful again.
///
/// Fed by `notify`, for hosts that learn of pressure by other means, and by the kernel's pressure-stall information
/// (Linux: /proc/pressure/memory, Documentation/accounting/psi.rst): *warning* when some tasks waited for
/// memory for 15 % of a second, *critical* when all did for 10 % (both again every second while it lasts),
/// *normal* when neither happened for ten seconds afterwards. Where the kernel offers none (built without it, or closed
/// to this user or container) only `notify` is left; nothing is reported then. The kernel is watched from the first
/// `activate` on.
///
/// Made inactive; copies name the same source, which ends when it is cancelled or its last handle is gone.
class CORVANE_API DispatchMemoryPressureSource {
 public:
  /// A source that tells its handler of these events, on this queue. It is inactive.
  DispatchMemoryPressureSource(DispatchQueue queue, std::initializer_list<MemoryPressure> events);
  /// Called on the queue, once for each of the wanted events.
  void setEventHandler(UniqueFunction<void(MemoryPressure)> handler) const;
  /// Lets events come.
  void activate() const;
  /// No handler starts afterwards, when called on the source's own queue.
  void cancel() const;

  /// Tells every active source of the process; for host applications (an operating-system callback, a
  /// container limit) and tests.
  static void notify(MemoryPressure pressure);

 private:
  class State;
  std::shared_ptr<State> state_;
};

}  // namespace platform
