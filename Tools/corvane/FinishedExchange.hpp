#pragma once

#include <Corvane/Corvane.hpp>
#include <memory>
#include <optional>
#include <vector>

#include "ToolResponse.hpp"

/// An attempt of an exchange after which there may be another.
struct FailedAttempt {
  /// From 1.
  int number;
  std::optional<int> status;
  /// What is wrong, in a sentence.
  std::string problem;
  corvane::Error error;
  /// Null where it did not begin.
  std::shared_ptr<const corvane::TaskMetrics> metrics = nullptr;
};

struct FinishedExchange {
  /// From 1, in the order of sending.
  int number;
  /// As it was asked for; where the response came from may be elsewhere.
  corvane::URL url;
  /// Of the last attempt.
  ToolResponse response;
  /// From sending to the completion.
  double seconds;
  /// How many times the request was sent.
  int attempts = 1;
  /// Those before the last one.
  std::vector<FailedAttempt> failures = {};
};

/// What is wrong with a failed response, in a sentence.
std::string sentence(const corvane::Error& error, const corvane::ResponseRecord& response);
