#pragma once

#include "Platform/Networking/Loop/NetworkClock.hpp"

namespace platform::networking {

/// When each phase of making a connection ended; the epoch where a phase did not take place.
struct ConnectionTimes {
  TimePoint begun{};
  TimePoint nameResolved{};
  TimePoint connected{};
  TimePoint secured{};
};

}  // namespace platform::networking
