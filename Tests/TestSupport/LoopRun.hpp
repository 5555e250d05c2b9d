#pragma once

#include <chrono>

#include "Platform/Networking/Loop/EventLoop.hpp"

namespace corvane::testkit {

/// Drives a loop without a thread until the predicate holds; asks it after every iteration. False when the limit passed
/// first.
template <class Predicate>
[[nodiscard]] bool runUntil(platform::networking::EventLoop& loop, Predicate predicate,
                            std::chrono::seconds limit = std::chrono::seconds(20)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!predicate()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    loop.iterate(std::chrono::milliseconds(20));
  }
  return true;
}

}  // namespace corvane::testkit
