#pragma once

#include <initializer_list>
#include <memory>
#include <optional>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// Calls a handler on a queue at scheduled times. A new timer is suspended; `resume` (or `activate`) starts it. Copies
/// refer to the same timer; the timer ends when it is cancelled or its last handle is gone.
///
/// Ticks that become due while the timer is suspended, while the queue is busy or while the handler runs are merged
/// into one, which comes as soon as possible; later ticks keep the original schedule.
///
/// When `cancel()` or `suspend()` is called on the timer's own queue, no handler starts after it has returned. When it
/// is called elsewhere, a handler that is under way finishes. All functions may be called from any thread. A handler
/// that captures the timer itself keeps it alive until `cancel`.
class CORVANE_API DispatchTimer {
 public:
  /// A suspended timer that calls its handler on this queue.
  explicit DispatchTimer(DispatchQueue queue);
  /// Sets the handler, which is called on the queue for each tick, one call at a time. Replaces the previous handler.
  void setEventHandler(UniqueFunction<void()> handler) const;
  /// Sets a handler that is called once, on the queue, after `cancel`; not when the last handle goes without `cancel`.
  void setCancelHandler(UniqueFunction<void()> handler) const;
  /// Schedules the first tick after `delay`, then one every `repeating` (at least a millisecond; absent: a single
  /// tick). The leeway is how much later than due a tick may come, so that timers can share a wake-up; default: 0.
  /// Replaces the previous schedule.
  void schedule(Seconds delay, std::optional<Seconds> repeating = std::nullopt, Seconds leeway = 0) const;
  /// The same as `resume`.
  void activate() const { resume(); }
  /// Starts or continues the timer, however often it was suspended.
  void resume() const;
  /// Delays ticks until `resume`.
  void suspend() const;
  /// Ends the timer for good.
  void cancel() const;
  /// Whether `cancel` was called.
  bool isCancelled() const;

 private:
  class State;
  std::shared_ptr<State> state_;
};

/// The state of memory, as the system or the host application reports it.
enum class MemoryPressure { normal, warning, critical };

/// Calls a handler on a queue when memory runs short, and when the shortage is over.
///
/// Events come from the kernel's pressure-stall information (Linux: /proc/pressure/memory,
/// Documentation/accounting/psi.rst): *warning* when some tasks waited for memory for 15 % of a second, *critical* when
/// all tasks did for 10 % (both again every second while the pressure lasts), *normal* when neither has happened for
/// ten seconds. The kernel is watched from the first `activate` on. Events also come from `notify`, for hosts that
/// learn of pressure by other means. Where the kernel offers no such information (built without it, or closed to this
/// user or container), only `notify` causes events; this is not reported.
///
/// A new source is inactive. Copies refer to the same source, which ends when it is cancelled or its last handle is
/// gone.
class CORVANE_API DispatchMemoryPressureSource {
 public:
  /// An inactive source that calls its handler for these events, on this queue.
  DispatchMemoryPressureSource(DispatchQueue queue, std::initializer_list<MemoryPressure> events);
  /// Sets the handler, which is called on the queue, once for each of the wanted events.
  void setEventHandler(UniqueFunction<void(MemoryPressure)> handler) const;
  /// Starts the source.
  void activate() const;
  /// Ends the source. When it is called on the source's own queue, no handler starts afterwards.
  void cancel() const;

  /// Notifies every active source of the process. For host applications (a callback of the operating system, a
  /// container limit) and tests.
  static void notify(MemoryPressure pressure);

 private:
  class State;
  std::shared_ptr<State> state_;
};

}  // namespace platform
