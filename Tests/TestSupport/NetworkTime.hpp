#pragma once

#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace corvane::testkit {

/// While it lives, the time of the network stands still and passes by `pass` alone: time-outs, the expiry of idle
/// connections and of resolved names. For tests that use sessions, and so the loop of the process. One at a time.
class NetworkTime {
 public:
  using Duration = platform::networking::Duration;

  /// Returns when the loop has handled what was there to be handled.
  void settle() const;
  /// Settles, lets time pass, and returns when the loop has done what is due. What tasks deliver comes later, on their
  /// queues.
  void pass(Duration duration);

 private:
  platform::networking::ManualNetworkClock clock_;
};

}  // namespace corvane::testkit
