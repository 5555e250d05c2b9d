#pragma once

#include <memory>

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Export.hpp"

namespace platform {

/// Counts work under way and tells when all of it is done. Copies name the same group.
class CORVANE_API DispatchGroup {
 public:
  /// A group with a count of 0.
  DispatchGroup();
  /// Counts one more piece of work; each needs its `leave`.
  void enter() const;
  /// Traps when there is no matching `enter`.
  void leave() const;
  /// Runs the block on the queue once the count is zero; at once (asynchronously) when it is zero now.
  void notify(const DispatchQueue& queue, Block block) const;
  void wait() const;
  /// False when the time-out passed first.
  bool wait(Seconds timeout) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace platform
