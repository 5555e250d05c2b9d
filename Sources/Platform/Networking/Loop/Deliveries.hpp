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

  /// Submits all, in one batch for each queue; or leaves that to a thread that is submitting already. Called on the
  /// loop side; from the call of `leave` on another thread may own the loop. No lock is held while a queue takes its
  /// batch: an application's executor may do anything then.
  template <class Leave>
  void submit(Leave leave) noexcept {
    const bool isSubmitter = enqueue();
    leave();
    while (isSubmitter && takeWaiting()) {
      detail::requiringMemory(purpose, [this] {
        for (auto& [queue, blocks] : leaving_) queue.async(std::move(blocks));
      });
      leaving_.clear();
    }
  }

 private:
  using Batches = std::vector<std::pair<DispatchQueue, std::vector<Block>>>;
  static constexpr const char* purpose = "what the network finished cannot be delivered";

  /// Whether the caller is to submit.
  bool enqueue() noexcept {
    const detail::MutexLock lock(mutex_);
    if (waiting_.empty()) {
      waiting_.swap(added_);
    } else {
      detail::requiringMemory(purpose, [this] {
        mutex_.assumeHeld();
        for (auto& batch : added_) waiting_.push_back(std::move(batch));
      });
      added_.clear();
    }
    return !std::exchange(isSubmitting_, true);
  }

  bool takeWaiting() {
    const detail::MutexLock lock(mutex_);
    isSubmitting_ = !waiting_.empty();
    leaving_.swap(waiting_);
    return isSubmitting_;
  }

  Batches added_;    ///< loop side
  Batches leaving_;  ///< of the thread that submits
  detail::Mutex mutex_;
  Batches waiting_ CORVANE_GUARDED_BY(mutex_);
  bool isSubmitting_ CORVANE_GUARDED_BY(mutex_) = false;
};

}  // namespace platform::networking
