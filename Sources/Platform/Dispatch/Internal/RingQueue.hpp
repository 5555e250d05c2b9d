#pragma once

#include <cstddef>
#include <memory>
#include <utility>

namespace platform::detail {

/// A first-in-first-out queue in one growing block of memory. `T` has a cheap default value, which a slot
/// gets back when its element leaves.
template <class T>
class RingQueue {
 public:
  bool isEmpty() const { return count_ == 0; }
  std::size_t count() const { return count_; }

  void push(T element) {
    if (count_ == capacity_) grow();
    slots_[(first_ + count_) & (capacity_ - 1)] = std::move(element);
    ++count_;
  }

  /// Requires: not empty.
  T pop() {
    T element = std::exchange(slots_[first_], T());
    first_ = (first_ + 1) & (capacity_ - 1);
    if (--count_ == 0 && capacity_ > mostKept) clear();
    return element;
  }

 private:
  static constexpr std::size_t leastSlots = 16;
  // A burst's memory is given back once the burst is over.
  static constexpr std::size_t mostKept = 4096;

  void grow() {
    // A power of two, so that the index wraps with a mask.
    const std::size_t capacity = capacity_ == 0 ? leastSlots : capacity_ * 2;
    auto slots = std::make_unique<T[]>(capacity);
    for (std::size_t index = 0; index < count_; ++index) {
      slots[index] = std::move(slots_[(first_ + index) & (capacity_ - 1)]);
    }
    slots_ = std::move(slots);
    capacity_ = capacity;
    first_ = 0;
  }

  void clear() {
    slots_.reset();
    capacity_ = 0;
    first_ = 0;
  }

  std::unique_ptr<T[]> slots_;
  std::size_t capacity_ = 0;
  std::size_t first_ = 0;
  std::size_t count_ = 0;
};

}  // namespace platform::detail
