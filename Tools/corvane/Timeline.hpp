#pragma once

#include <Corvane/Insight/HTTPMetrics.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

/// A part of an exchange's time.
struct TimelinePhase {
  enum class Kind { queue, name, connect, tls, request, wait, response };

  Kind kind;
  /// Since the start of the timeline.
  std::chrono::nanoseconds start;
  std::chrono::nanoseconds end;
};

/// One request on its way, and the response to it.
struct TimelineEntry {
  /// Method and URL.
  std::string request;
  /// What came of it, over which connection, in words.
  std::string facts;
  /// Those that took 5 microseconds at least.
  std::vector<TimelinePhase> phases;
};

/// What an exchange did and when: an entry for each redirect and each attempt.
struct Timeline {
  std::chrono::nanoseconds duration{};
  std::vector<TimelineEntry> entries;
  /// Of the whole, in words.
  std::string summary;

  /// Of the attempts of an exchange, in their order. Those that are null are left out.
  static Timeline of(const std::vector<std::shared_ptr<const corvane::TaskMetrics>>& attempts);
};

/// "0.04 ms", "12.3 ms", "1.24 s": three digits that tell.
std::string readable(std::chrono::nanoseconds duration);
