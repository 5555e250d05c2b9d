#pragma once

#include <cstdint>
#include <deque>

/// How fast bytes have moved of late. Times are seconds since any moment, and never go back.
class TransferRate {
 public:
  static constexpr double windowInSeconds = 5;

  /// So many bytes had moved in all by then.
  void record(double seconds, std::int64_t bytes);
  /// In the window that ends now; 0 before anything is known. Falls while nothing moves.
  double bytesPerSecond(double now) const;

 private:
  struct Sample {
    double seconds;
    std::int64_t bytes;
  };
  std::deque<Sample> samples_;
};
