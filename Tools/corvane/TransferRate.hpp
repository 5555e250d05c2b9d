#pragma once

#include <cstdint>
#include <deque>

/// How fast something has grown of late: bytes that moved, responses that came. Times are seconds since any moment, and
/// never go back.
class TransferRate {
 public:
  static constexpr double windowInSeconds = 5;

  /// So many there were in all by then.
  void record(double seconds, std::int64_t count);
  /// In the window that ends now; 0 before anything is known. Falls while nothing moves.
  double perSecond(double now) const;

 private:
  struct Sample {
    double seconds;
    std::int64_t count;
  };
  std::deque<Sample> samples_;
};
