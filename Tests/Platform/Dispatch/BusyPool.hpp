#pragma once

#include <cstddef>
#include <stdexcept>

#include "Platform/Dispatch/DispatchGroup.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/DispatchSemaphore.hpp"

namespace platform {

/// Keeps workers of the pool busy with blocks that wait, as long as it lives.
class BusyPool {
 public:
  static constexpr std::size_t mostWorkers = 64;

  /// Returns when all of them wait.
  explicit BusyPool(std::size_t workers) : left_(workers) {
    const DispatchGroup arrived;
    for (std::size_t worker = 0; worker < workers; ++worker) {
      arrived.enter();
      ended_.enter();
      DispatchQueue::global().async([=, mayEnd = mayEnd_, ended = ended_] {
        arrived.leave();
        mayEnd.wait();
        ended.leave();
      });
    }
    if (!arrived.wait(60)) throw std::runtime_error("the pool did not grow");
  }
  ~BusyPool() {
    release(left_);
    ended_.wait();
  }
  BusyPool(const BusyPool&) = delete;
  BusyPool& operator=(const BusyPool&) = delete;

  /// Lets that many go.
  void release(std::size_t workers) {
    for (; workers > 0 && left_ > 0; --workers, --left_) mayEnd_.signal();
  }

 private:
  const DispatchSemaphore mayEnd_{0};
  const DispatchGroup ended_;
  std::size_t left_;
};

}  // namespace platform
