#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace platform::detail {

/// A first-in-first-out queue in one growing block of memory. `T` has a cheap default value, which a slot
/// gets back when its element leaves.
template <class T>
class RingQueue {
 public:
  bool isEmpty() const { return count_ == 0; }
  std::size_t count() const { return count_; }

  /// So many elements find room without memory, until it is empty again.
  void reserve(std::size_t count) {
    if (count <= capacity_) return;
    // A power of two, so that the index wraps with a mask.
    const std::size_t capacity = std::bit_ceil(std::max(count, leastSlots));
    moveTo(std::make_unique<T[]>(capacity), capacity);
  }

  /// Throws `std::bad_alloc` where there is no room, and holds what it held then.
  void push(T&& element) {
    reserve(count_ + 1);
    slots_[(first_ + count_) & (capacity_ - 1)] = std::move(element);
    ++count_;
  }

  /// Requires: not empty. Room for `least` elements stays reserved.
  T pop(std::size_t least = 0) {
    T element = std::exchange(slots_[first_], T());
    first_ = (first_ + 1) & (capacity_ - 1);
    if (--count_ == 0 && capacity_ > mostKept) shrink(least);
    return element;
  }

 private:
  static constexpr std::size_t leastSlots = 16;
  // A burst's memory is given back once the burst is over.
  static constexpr std::size_t mostKept = 4096;

  void moveTo(std::unique_ptr<T[]> slots, std::size_t capacity) {
    for (std::size_t index = 0; index < count_; ++index) {
      slots[index] = std::move(slots_[(first_ + index) & (capacity_ - 1)]);
    }
    slots_ = std::move(slots);
    capacity_ = capacity;
    first_ = 0;
  }

  void shrink(std::size_t least) {
    const std::size_t capacity = std::bit_ceil(std::max(least, leastSlots));
    if (capacity >= capacity_) return;
    // Where there is no memory for the smaller block, the larger one stays.
    if (std::unique_ptr<T[]> slots(new (std::nothrow) T[capacity]); slots) moveTo(std::move(slots), capacity);
  }

  std::unique_ptr<T[]> slots_;
  std::size_t capacity_ = 0;
  std::size_t first_ = 0;
  std::size_t count_ = 0;
};

}  // namespace platform::detail
