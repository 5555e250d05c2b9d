#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace platform::detail {

class SerialQueueCore;

/// The queues that a thread's `InlineDrain` has collected.
class LocalQueues {
 public:
  /// Makes the calling thread collect.
  static LocalQueues& begin();
  void end();

  /// Takes the queue when the calling thread collects at the moment.
  static bool collect(SerialQueueCore& queue);
  /// Hands what the calling thread has collected to the pool; to be called before the thread goes to sleep,
  /// since it may wait for just that work.
  static void flushCurrent() {
    if (current_) current_->flush();
  }

  bool run();
  void flush();

 private:
  static thread_local LocalQueues* current_;

  using Queues = std::vector<std::shared_ptr<SerialQueueCore>>;

  // Two lists that change places, so that an iteration of the network loop allocates nothing.
  Queues collected_;
  Queues drained_;
  std::size_t nextDrained_ = 0;
  bool rests_ = false;
};

}  // namespace platform::detail
