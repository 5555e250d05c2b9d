#pragma once

#include <chrono>
#include <vector>

#include "Platform/Metrics/TransactionMetrics.hpp"

namespace platform {

/// What a task did, when, and over which connections. Kept with every response; see `TransactionMetrics`.
struct TaskMetrics {
  /// When the task began, by the clock on the wall. Everything else counts from the iteration of the network loop in
  /// which it did, which is a little earlier where many tasks begin at once, and is not affected when that clock is
  /// set.
  std::chrono::system_clock::time_point start;
  /// How long the task took.
  std::chrono::nanoseconds duration{};
  /// How many redirects were followed.
  int redirectCount = 0;
  /// In their order. Empty for a task that ended before it could send anything, and for one that loaded a file. Where
  /// there was no memory for one, it is left out.
  std::vector<TransactionMetrics> transactions;
};

}  // namespace platform
