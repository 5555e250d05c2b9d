#pragma once

#include <utility>
#include <vector>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"

namespace platform::networking {

/// What the loop finished, on its way to the queues: in the order in which it was added, also where the loop changes
/// hands in between.
class Deliveries {
 public:
  /// Loop side.
  void add(const DispatchQueue& queue, Block block) noexcept {
    detail::requiringMemory(purpose, [&] {
      for (auto& [target, blocks] : added_) {
        if (target == queue) return blocks.push_back(std::move(block));
      }
      added_.emplace_back(queue, std::vector<Block>()).second.push_back(std::move(block));
    });
  }

  /// Loop side.
  bool isEmpty() const { return added_.empty(); }

  /// Submits all, in one batch for each queue. Called on the loop side; from the call of `leave` on another thread may
  /// own the loop.
  template <class Leave>
  void submit(Leave leave) noexcept {
    const detail::MutexLock lock(mutex_);
    leaving_.swap(added_);
    leave();
    detail::requiringMemory(purpose, [this] {
      mutex_.assumeHeld();
      for (auto& [queue, blocks] : leaving_) queue.async(std::move(blocks));
    });
    leaving_.clear();
  }

 private:
  using Batches = std::vector<std::pair<DispatchQueue, std::vector<Block>>>;
  static constexpr const char* purpose = "what the network finished cannot be delivered";

  Batches added_;  ///< loop side
  detail::Mutex mutex_;
  Batches leaving_ CORVANE_GUARDED_BY(mutex_);
};

}  // namespace platform::networking
