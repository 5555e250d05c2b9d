#include "Corvane/Behaviours/Detail/TimerHandler.hpp"

#include <utility>

namespace corvane::detail {

using platform::DispatchQueue;
using platform::DispatchTimer;

std::shared_ptr<TimerHandler> TimerHandler::make(double timeInterval, Tick block) {
  const std::shared_ptr<TimerHandler> handler(new TimerHandler(timeInterval, std::move(block)));
  handler->resume();
  return handler;
}

TimerHandler::TimerHandler(double timeInterval, Tick block)
    : timeInterval_(timeInterval), block_(std::move(block)), timerQueue_("org.corvane.Corvane.pollTimerQueue") {}

TimerHandler::~TimerHandler() {
  if (timer_) timer_->cancel();
}

void TimerHandler::resume() {
  timerQueue_.sync([this] {
    if (state_ == State::suspended) timer().resume();
    state_ = State::resumed;
  });
}

void TimerHandler::suspend() {
  timerQueue_.sync([this] {
    if (std::exchange(state_, State::suspended) == State::resumed) timer().suspend();
  });
}

TimerHandler::State TimerHandler::state() const {
  return timerQueue_.sync([this] { return state_; });
}

const DispatchTimer& TimerHandler::timer() {
  if (!timer_) {
    const DispatchTimer made(DispatchQueue::global());
    made.setEventHandler([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->block_(*self);
    });
    made.schedule(timeInterval_, timeInterval_, 0);
    timer_ = made;
  }
  return *timer_;
}

}  // namespace corvane::detail
