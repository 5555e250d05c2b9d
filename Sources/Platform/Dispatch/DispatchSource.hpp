#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// Calls a handler on a queue at set times. Made suspended; `resume` (or `activate`) starts it. Copies name
/// the same timer; the timer ends when it is cancelled or its last handle is gone.
///
/// No handler starts after `cancel()` returned when `cancel` is called on the timer's own queue; called
/// elsewhere, a handler that was already under way finishes. Missed ticks are merged into one.
class CORVANE_API DispatchTimer {
 public:
  explicit DispatchTimer(DispatchQueue queue);
  void setEventHandler(std::function<void()> handler) const;
  void setCancelHandler(std::function<void()> handler) const;
  /// First after `delay`, then every `interval` (absent: once). The leeway says how much later than due a
  /// tick may come, so that timers can share a wake-up.
  void schedule(Seconds delay, std::optional<Seconds> repeating = std::nullopt, Seconds leeway = Seconds(0)) const;
  void activate() const { resume(); }
  void resume() const;
  void suspend() const;
  void cancel() const;
  bool isCancelled() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

/// What the system (or the host application) says about memory.
enum class MemoryPressure { normal, warning, critical };

/// Calls a handler on a queue when memory gets short.
///
/// Fed by the kernel's pressure-stall information where it is available (Linux: /proc/pressure/memory,
/// Documentation/accounting/psi.rst), and by `notify` for hosts that are told by other means.
class CORVANE_API DispatchMemoryPressureSource {
 public:
  DispatchMemoryPressureSource(DispatchQueue queue, std::initializer_list<MemoryPressure> events);
  void setEventHandler(std::function<void(MemoryPressure)> handler) const;
  void activate() const;
  void cancel() const;

  /// Tells every active source of the process; for host applications (an operating-system callback, a
  /// container limit) and tests.
  static void notify(MemoryPressure pressure);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace platform
