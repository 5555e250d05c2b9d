#include "Platform/Loading/Internal/Caching/CacheTime.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>

#include "Platform/Trap.hpp"

namespace platform::detail {

namespace {

// What a manual clock shows; the wall is negative while there is none.
std::atomic<std::int64_t> manualWall = -1;
std::atomic<std::int64_t> manualSinceBoot = 0;

std::int64_t secondsSinceBoot() {
  std::timespec time{};
  if (::clock_gettime(CLOCK_BOOTTIME, &time) != 0) trap("the clock that counts since the boot cannot be read");
  return time.tv_sec;
}

}  // namespace

CacheTime CacheTime::now() noexcept {
  const std::int64_t manual = manualWall.load(std::memory_order_acquire);
  if (manual >= 0) return {.wall = manual, .sinceBoot = manualSinceBoot.load(std::memory_order_acquire)};
  const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return {.wall = std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count(),
          .sinceBoot = secondsSinceBoot()};
}

std::int64_t CacheTime::since(const CacheTime& earlier) const {
  return std::max<std::int64_t>(std::abs(wall - earlier.wall), sinceBoot - earlier.sinceBoot);
}

ManualCacheTime::ManualCacheTime(std::int64_t secondsSince1970) {
  if (manualWall.exchange(secondsSince1970) >= 0) trap("there is a manual time already");
}

ManualCacheTime::~ManualCacheTime() { manualWall.store(-1); }

void ManualCacheTime::advance(std::int64_t seconds) {
  manualSinceBoot.fetch_add(seconds);
  manualWall.fetch_add(seconds);
}

void ManualCacheTime::setWallBy(std::int64_t seconds) { manualWall.fetch_add(seconds); }

}  // namespace platform::detail
