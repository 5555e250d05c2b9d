#pragma once

#include <algorithm>

#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {

/// A rate: tokens come evenly up to a capacity, and are spent, beyond what is there if need be. It keeps the time at
/// which it is full again, so that the time it tells and what it allows then agree to the nanosecond.
class TokenBucket {
 public:
  /// Both positive. Full at first.
  TokenBucket(double perSecond, double capacity) : perSecond_(perSecond), span_(durationOf(capacity)) {}

  /// When so many tokens are there, at most the capacity.
  TimePoint due(double tokens) const { return full_ - span_ + durationOf(tokens); }
  bool has(double tokens, TimePoint now) const { return due(tokens) <= now; }
  /// Negative: so many are owed.
  double tokens(TimePoint now) const {
    return perSecond_ * std::chrono::duration<double>(span_ - std::max(full_ - now, Duration::zero())).count();
  }
  void spend(double tokens, TimePoint now) {
    full_ = std::min(std::max(full_, now) + durationOf(tokens), now + durationOfSeconds(longestDebt));
  }

 private:
  /// In seconds; far from what a time can hold.
  static constexpr double longestDebt = 1e9;

  Duration durationOf(double tokens) const { return durationOfSeconds(tokens / perSecond_); }

  double perSecond_;
  Duration span_;  ///< in which it fills
  TimePoint full_{};
};

}  // namespace platform::networking
