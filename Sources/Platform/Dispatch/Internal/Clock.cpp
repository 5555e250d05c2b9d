#include "Platform/Dispatch/Internal/Clock.hpp"

#include <cmath>

#include "Platform/Detail/Locking.hpp"
#include "Platform/Dispatch/Internal/SystemClock.hpp"

namespace platform::detail {
namespace {

struct Installed {
  Mutex mutex;
  std::shared_ptr<Clock> clock CORVANE_GUARDED_BY(mutex) = Clock::ofTheSystem();
};

Installed& installed() {
  static auto& instance = *new Installed;
  return instance;
}

}  // namespace

std::shared_ptr<Clock> Clock::current() {
  auto& place = installed();
  const MutexLock lock(place.mutex);
  return place.clock;
}

std::shared_ptr<Clock> Clock::ofTheSystem() {
  // It is never destroyed, so nothing needs to own it.
  return std::shared_ptr<Clock>(std::shared_ptr<void>(), &SystemClock::shared());
}

void Clock::install(std::shared_ptr<Clock> clock) {
  if (!clock) clock = ofTheSystem();
  auto& place = installed();
  const MutexLock lock(place.mutex);
  place.clock.swap(clock);
}

std::chrono::nanoseconds Clock::nanoseconds(Seconds interval) {
  constexpr double longest = 1e9;
  if (!(interval.count() > 0)) return {};
  const double seconds = interval.count() < longest ? interval.count() : longest;
  // Rounded: a processor that calculates with more digits would cut 0.001 to a nanosecond less than a millisecond.
  return std::chrono::nanoseconds(std::llround(seconds * 1e9));
}

}  // namespace platform::detail
