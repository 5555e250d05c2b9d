#include "Platform/Networking/Loop/NetworkClock.hpp"

#include <atomic>
#include <cstdint>

#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

namespace {

/// What a manual clock shows; negative while there is none.
std::atomic<std::int64_t> manualTime = -1;

std::int64_t systemTime() noexcept {
  return std::chrono::duration_cast<Duration>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

TimePoint NetworkClock::now() noexcept {
  const std::int64_t manual = manualTime.load(std::memory_order_acquire);
  return TimePoint(Duration(manual < 0 ? systemTime() : manual));
}

// Begins at the system's time, so that deadlines set before stay in the future.
ManualNetworkClock::ManualNetworkClock() {
  if (manualTime.exchange(systemTime()) >= 0) trap("there is a manual clock of the network already");
}

ManualNetworkClock::~ManualNetworkClock() { manualTime.store(-1); }

bool ManualNetworkClock::isInstalled() noexcept { return manualTime.load(std::memory_order_acquire) >= 0; }

void ManualNetworkClock::advance(Duration interval) { manualTime.fetch_add(interval.count()); }

}  // namespace platform::networking
