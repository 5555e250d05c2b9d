#pragma once

#include <memory>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// Counts pieces of work under way and reports when all are done. Copies refer to the same group.
class CORVANE_API DispatchGroup {
 public:
  /// A group with a count of 0.
  DispatchGroup();
  /// Counts one more piece of work; each `enter` needs a `leave`.
  void enter() const;
  /// Traps when there is no matching `enter`.
  void leave() const;
  /// Submits the block to the queue when the count reaches zero, or now if it is zero. It runs once.
  void notify(const DispatchQueue& queue, Block block) const;
  void wait() const;
  /// Blocks until the count is zero. False when the time-out passed first.
  bool wait(Seconds timeout) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace platform
