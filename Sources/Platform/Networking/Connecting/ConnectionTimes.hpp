#pragma once

#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {

/// When each phase of making a connection began and ended; the epoch where it did not.
struct ConnectionTimes {
  TimePoint lookUpBegun{};
  TimePoint nameResolved{};
  TimePoint connectBegun{};
  TimePoint connected{};
  TimePoint secureBegun{};
  TimePoint secured{};
};

}  // namespace platform::networking
