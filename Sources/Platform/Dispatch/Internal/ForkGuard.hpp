#pragma once

#include <atomic>

namespace platform::detail {

/// A child of `fork` has none of the threads of its parent, and locks that they held stay locked there. What must not
/// be done in such a child asks here first.
class ForkGuard {
 public:
  /// From now on this process has threads of the library, which its children lack. Any number of times.
  static void noteThreads();
  /// Whether this process was forked by one that had such threads.
  static bool isForkedChild() noexcept { return isForkedChild_.load(std::memory_order_relaxed); }
  /// Traps in such a child, where the call would wait for ever.
  static void requireThreads() {
    if (isForkedChild()) refuse();
  }

 private:
  [[noreturn]] static void refuse();

  static std::atomic<bool> isForkedChild_;
};

}  // namespace platform::detail
