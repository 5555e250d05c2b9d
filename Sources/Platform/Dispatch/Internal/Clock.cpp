#include "Platform/Dispatch/Internal/Clock.hpp"

#include <mutex>

#include "Platform/Dispatch/Internal/SystemClock.hpp"

namespace platform::detail {
namespace {

struct Installed {
  std::mutex mutex;
  std::shared_ptr<Clock> clock = Clock::ofTheSystem();
};

Installed& installed() {
  static auto& instance = *new Installed;
  return instance;
}

}  // namespace

std::shared_ptr<Clock> Clock::current() {
  auto& place = installed();
  const std::lock_guard lock(place.mutex);
  return place.clock;
}

std::shared_ptr<Clock> Clock::ofTheSystem() {
  // It is never destroyed, so nothing needs to own it.
  return std::shared_ptr<Clock>(std::shared_ptr<void>(), &SystemClock::shared());
}

void Clock::install(std::shared_ptr<Clock> clock) {
  if (!clock) clock = ofTheSystem();
  auto& place = installed();
  const std::lock_guard lock(place.mutex);
  place.clock.swap(clock);
}

std::chrono::nanoseconds Clock::nanoseconds(Seconds interval) {
  constexpr double longest = 1e9;
  if (!(interval.count() > 0)) return {};
  const double seconds = interval.count() < longest ? interval.count() : longest;
  return std::chrono::nanoseconds(static_cast<std::int64_t>(seconds * 1e9));
}

}  // namespace platform::detail
