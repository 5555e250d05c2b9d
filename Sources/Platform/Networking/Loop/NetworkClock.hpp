#pragma once

#include <chrono>

namespace platform::networking {

/// The one clock of the network: steady, in nanoseconds. Tests may set it by hand (`ManualNetworkClock`).
struct NetworkClock {
  using duration = std::chrono::nanoseconds;
  using rep = duration::rep;
  using period = duration::period;
  using time_point = std::chrono::time_point<NetworkClock>;
  static constexpr bool is_steady = true;

  static time_point now() noexcept;
};

using TimePoint = NetworkClock::time_point;
using Duration = NetworkClock::duration;

/// Later than everything.
inline constexpr TimePoint never = TimePoint::max();

/// Seconds as a duration, at most thirty years, so that adding it to a time never overflows; zero for what is negative
/// or no number.
inline Duration durationOfSeconds(double seconds) {
  constexpr double longest = 1e9;
  if (!(seconds > 0)) return Duration::zero();
  return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(seconds < longest ? seconds : longest));
}

/// Stops `NetworkClock` while it lives; time then passes by `advance` alone. One at a time. To be made before transfers
/// begin: what waits for real time then goes on waiting.
class ManualNetworkClock {
 public:
  ManualNetworkClock();
  ~ManualNetworkClock();
  ManualNetworkClock(const ManualNetworkClock&) = delete;
  ManualNetworkClock& operator=(const ManualNetworkClock&) = delete;

  /// Whether one lives: a loop then waits for events only, and is woken by `advance`.
  static bool isInstalled() noexcept;
  /// Lets time pass. What is due is called in the loop's next iteration; a loop that waits is to be woken by a command.
  void advance(Duration interval);
};

}  // namespace platform::networking
