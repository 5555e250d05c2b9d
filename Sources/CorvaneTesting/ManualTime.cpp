#include "CorvaneTesting/ManualTime.hpp"

#include <atomic>

#include "Platform/Dispatch/Internal/ManualClock.hpp"
#include "Platform/Trap.hpp"

namespace corvane::testkit {

namespace {

/// The end of one would bring the system's time back under the other.
class OnlyOne {
 public:
  OnlyOne() {
    if (exists_.exchange(true)) platform::trap("There is a ManualTime already; there can be one at a time.");
  }
  ~OnlyOne() { exists_ = false; }
  OnlyOne(const OnlyOne&) = delete;
  OnlyOne& operator=(const OnlyOne&) = delete;

 private:
  static inline std::atomic<bool> exists_ = false;
};

}  // namespace

struct ManualTime::State {
  OnlyOne onlyOne;
  platform::detail::ManualClock clock;
};

ManualTime::ManualTime() : state_(std::make_unique<State>()) {}

ManualTime::~ManualTime() = default;

platform::Seconds ManualTime::now() const { return state_->clock.now(); }

void ManualTime::advance(platform::Seconds interval) { state_->clock.advance(interval); }

platform::Seconds ManualTime::advanceToNextTimer() { return state_->clock.advanceToNextTimer(); }

std::size_t ManualTime::pendingTimers() const { return state_->clock.pendingTimers(); }

bool ManualTime::waitForTimers(std::size_t count, platform::Seconds limit) const {
  return state_->clock.waitForTimers(count, limit);
}

std::vector<platform::Seconds> ManualTime::waits() const { return state_->clock.waits(); }

}  // namespace corvane::testkit
