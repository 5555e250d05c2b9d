#pragma once

#include <atomic>
#include <cstddef>

namespace platform::detail {

/// A base that counts the objects of a class that are alive, so that a test can tell when one is left over.
template <class Object>
class LiveCount {
 public:
  static std::size_t value() { return count_.load(std::memory_order_acquire); }

  LiveCount(const LiveCount&) = delete;
  LiveCount& operator=(const LiveCount&) = delete;

 protected:
  LiveCount() { count_.fetch_add(1, std::memory_order_relaxed); }
  ~LiveCount() { count_.fetch_sub(1, std::memory_order_release); }

 private:
  inline static std::atomic<std::size_t> count_ = 0;
};

}  // namespace platform::detail
