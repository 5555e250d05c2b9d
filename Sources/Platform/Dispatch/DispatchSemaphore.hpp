#pragma once

#include <memory>

#include "Platform/Dispatch/DispatchTime.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// A counting semaphore. Copies name the same semaphore.
class CORVANE_API DispatchSemaphore {
 public:
  /// Traps when `value` is negative.
  explicit DispatchSemaphore(long value);
  /// Adds one to the count, and so lets one waiter go.
  void signal() const;
  void wait() const;
  /// False when the time-out passed first.
  bool wait(Seconds timeout) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace platform
