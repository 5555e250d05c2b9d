#include "Corvane/Transport/Internal/CallStop.hpp"

#include <cmath>
#include <utility>

namespace corvane::detail {

void CallStop::follow(const std::stop_token& stop, std::shared_ptr<const CallStop> reason) {
  if (!stop.stop_possible()) return;
  auto& place = !first_ ? first_ : !second_ ? second_ : third_;
  place.emplace(stop, Follower{weak_from_this(), std::move(reason)});
}

void CallStop::follow(std::shared_ptr<const CallStop> other) {
  if (!other) return;
  const auto stop = other->token();
  follow(stop, std::move(other));
}

void CallStop::endAfter(double seconds) {
  if (!(seconds > 0)) {
    overdue(0);
    return;
  }
  if (std::isinf(seconds)) return;
  timer_.emplace(platform::DispatchQueue::global());
  timer_->setEventHandler([weak = weak_from_this(), seconds] {
    if (const auto self = weak.lock()) self->overdue(seconds);
  });
  timer_->schedule(seconds);
  timer_->resume();
}

// A copy of the source: what stops with it may drop the last reference to this.
void CallStop::request() const { std::stop_source(source_).request_stop(); }

void CallStop::overdue(double limit) {
  if (source_.stop_requested()) return;
  limit_.store(limit, std::memory_order_release);
  request();
}

void CallStop::Follower::operator()() const noexcept {
  // Gone, or about to be: then nothing listens any more.
  const auto stop = self.lock();
  if (!stop) return;
  if (reason && reason->isOverdue()) {
    stop->overdue(reason->limit());
  } else {
    stop->request();
  }
}

}  // namespace corvane::detail
