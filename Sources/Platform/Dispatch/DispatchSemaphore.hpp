#pragma once

#include <memory>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// A counting semaphore. Copies refer to the same semaphore.
class CORVANE_API DispatchSemaphore {
 public:
  /// A semaphore with this count. Traps when `value` is negative.
  explicit DispatchSemaphore(long value);
  /// Increments the count, and thus releases one waiter.
  void signal() const;
  void wait() const;
  /// Blocks until the count is above zero, and decrements it. False when the time-out passed first.
  bool wait(Seconds timeout) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace platform
