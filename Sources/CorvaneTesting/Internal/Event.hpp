#pragma once

#include <atomic>

#include "CorvaneTesting/Internal/Descriptor.hpp"

namespace corvane::testkit::detail {

/// Something that happens once and that any number of `poll` calls can wait for.
class Event {
 public:
  Event();

  void raise();
  bool isRaised() const { return raised_.load(std::memory_order_acquire); }
  int descriptor() const { return descriptor_.value(); }

 private:
  Descriptor descriptor_;
  std::atomic<bool> raised_ = false;
};

}  // namespace corvane::testkit::detail
