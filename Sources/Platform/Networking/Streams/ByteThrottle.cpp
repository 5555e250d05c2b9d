#include "Platform/Networking/Streams/ByteThrottle.hpp"

#include <algorithm>
#include <utility>

namespace platform::networking {

namespace {

/// How much of a second's bytes may be moved at once after a pause.
constexpr double burstShare = 0.1;
/// How much of a burst one direction takes in its turn.
constexpr double turnShare = 0.25;
/// How much of a burst is waited for.
constexpr double wakingShare = 0.5;
/// More than a read or a write moves.
constexpr double mostAtOnce = 1 << 24;

}  // namespace

ByteThrottle::ByteThrottle(EventLoop& loop, double bytesPerSecond)
    : loop_(loop), capacity_(std::max(bytesPerSecond * burstShare, 1.0)), bucket_(bytesPerSecond, capacity_) {}

ByteThrottle::~ByteThrottle() { loop_.disarm(*this); }

std::size_t ByteThrottle::allowance(ThrottledDirection& direction) {
  const bool isItsTurn = turn_ == &direction;
  if (isItsTurn) turn_ = nullptr;
  if ((isItsTurn || waiting_.isEmpty()) && bucket_.has(1, loop_.now())) {
    const double share = std::clamp(capacity_ * turnShare, 1.0, mostAtOnce);
    return static_cast<std::size_t>(std::max(std::min(bucket_.tokens(loop_.now()), share), 1.0));
  }
  if (!direction.isWaiting_) {
    direction.isWaiting_ = true;
    waiting_.append(direction);
  }
  sleep();
  return 0;
}

void ByteThrottle::moved(std::size_t bytes) { bucket_.spend(static_cast<double>(bytes), loop_.now()); }

void ByteThrottle::stopWaiting(ThrottledDirection& direction) {
  if (turn_ == &direction) turn_ = nullptr;
  if (std::exchange(direction.isWaiting_, false)) waiting_.remove(direction);
}

void ByteThrottle::sleep() {
  if (!isArmed() && !isCalling_)
    loop_.arm(*this, std::max(bucket_.due(std::max(capacity_ * wakingShare, 1.0)), loop_.now()));
}

/// Each that is called takes what it is allowed, or waits no more.
void ByteThrottle::timerFired() {
  isCalling_ = true;  // what they take is to be known before the next time is set
  while (!waiting_.isEmpty() && bucket_.has(1, loop_.now())) {
    ThrottledDirection& next = *waiting_.takeFirst();
    next.isWaiting_ = false;
    turn_ = &next;
    next.mayMove();
    turn_ = nullptr;
  }
  isCalling_ = false;
  if (!waiting_.isEmpty()) sleep();
}

}  // namespace platform::networking
