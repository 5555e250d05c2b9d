#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace platform {

/// A value that is cheap to copy: copies share it until one of them is changed. Empty at first. As with any value, only
/// one thread at a time may use an object; other threads may use its copies.
///
///     CopyOnWrite<std::string> text;
///     text.own() = "a text";
///     const CopyOnWrite<std::string> copy = text;  // shares it until one of them is changed
template <class Value>
class CopyOnWrite {
 public:
  CopyOnWrite() = default;
  CopyOnWrite(const CopyOnWrite& other) noexcept : box_(other.box_) {
    if (box_) box_->references.fetch_add(1, std::memory_order_relaxed);
  }
  /// Empty.
  CopyOnWrite(CopyOnWrite&& other) noexcept : box_(std::exchange(other.box_, nullptr)) {}
  CopyOnWrite& operator=(CopyOnWrite other) noexcept {
    std::swap(box_, other.box_);
    return *this;
  }
  ~CopyOnWrite() {
    if (box_ && box_->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete box_;
  }

  /// Null while empty.
  const Value* get() const { return box_ ? &box_->value : nullptr; }
  /// The value for changing it. From now on it belongs to this object alone. Creates a default value while empty.
  Value& own() {
    if (!box_) {
      box_ = new Box;
    } else if (box_->references.load(std::memory_order_acquire) > 1) {
      *this = CopyOnWrite(new Box(box_->value));
    }
    return box_->value;
  }

 private:
  struct Box {
    Box() = default;
    explicit Box(const Value& other) : value(other) {}

    std::atomic<std::size_t> references = 1;
    Value value;
  };

  explicit CopyOnWrite(Box* box) : box_(box) {}

  Box* box_ = nullptr;
};

}  // namespace platform
