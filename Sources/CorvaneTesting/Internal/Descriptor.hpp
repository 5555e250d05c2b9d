#pragma once

#include <unistd.h>

#include <utility>

namespace corvane::testkit::detail {

/// Owns one file descriptor.
class Descriptor {
 public:
  explicit Descriptor(int value = -1) : value_(value) {}
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      reset();
      value_ = std::exchange(other.value_, -1);
    }
    return *this;
  }
  ~Descriptor() { reset(); }

  int value() const { return value_; }
  bool isOpen() const { return value_ >= 0; }
  void reset() {
    if (value_ >= 0) ::close(std::exchange(value_, -1));
  }

 private:
  int value_;
};

}  // namespace corvane::testkit::detail
