#pragma once

#include <memory>
#include <vector>

namespace platform::detail {

class SerialQueueCore;

/// The queues that a thread's `LocalWork` has collected.
class LocalQueues {
 public:
  LocalQueues();
  ~LocalQueues();
  LocalQueues(const LocalQueues&) = delete;
  LocalQueues& operator=(const LocalQueues&) = delete;

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

  std::vector<std::shared_ptr<SerialQueueCore>> queues_;
  bool rests_ = false;
};

}  // namespace platform::detail
