#pragma once

#include <Corvane/Corvane.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "FinishedExchange.hpp"

/// The state of an exchange, shared by all copies of its request. Main thread only, but for its making.
struct ExchangeRecorder {
  int number;
  corvane::URL url;
  /// Told of each failed attempt that may be followed by another; may be empty.
  std::function<void(const FailedAttempt&)> attemptFailed = {};
  /// Told how far a transfer is; may be empty.
  std::function<void(const corvane::HTTPProgress&)> progress = {};
  /// Kept until the last copy is gone.
  std::shared_ptr<const void> owner = {};

  int attempts = 0;
  std::vector<FailedAttempt> failures = {};
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();

  void addFailure(const corvane::ResponseRecord& response, const corvane::Error& error);
  FinishedExchange finished(ToolResponse response) const;
};
