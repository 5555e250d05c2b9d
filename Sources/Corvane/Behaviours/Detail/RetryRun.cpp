#include "Corvane/Behaviours/Detail/RetryRun.hpp"

#include <cmath>
#include <utility>

#include "Corvane/Transport/TaskManager.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Trap.hpp"

namespace corvane::detail {

using platform::DispatchQueue;

// Success at the limit counts as a total failure, and failure after it as a partial one: prescribed, and relied upon.
RetryStep stepAfter(std::int64_t failCount, std::int64_t limit, bool hasFailed) {
  if (failCount <= limit && hasFailed) return RetryStep::retry;
  if (failCount == 0) return RetryStep::noFailure;
  if (failCount == limit) return RetryStep::totalFailure;
  return RetryStep::partialFailure;
}

double namedWait(const RetryNumbers& numbers, std::int64_t failures) {
  if (std::isnan(numbers.interval)) platform::trap("A retryInterval is not a number");
  std::int64_t growth = 0;
  if (__builtin_mul_overflow(failures, numbers.delta, &growth)) platform::trap("The wait before a retry overflows");
  return numbers.interval + static_cast<double>(growth);
}

DispatchQueue makeRetryQueue() { return DispatchQueue("org.corvane.HTTPRetryAttempting.queue"); }

RetryRun::RetryRun(HTTPRetryPolicy policy, std::optional<platform::UUID> uuid, SharedBounds bounds)
    : policy_(policy),
      uuid_(policy.isCancelable ? uuid : std::nullopt),
      bounds_(uuid_ ? SendBounds::child(bounds) : std::move(bounds)) {}

RetryRun::~RetryRun() {
  if (uuid_) TaskManager::shared().removeSend(limits().source(), *uuid_);
}

void RetryRun::start() {
  if (uuid_) TaskManager::shared().insertSend(limits().source(), *uuid_);
  stopping_.watch(limits().stop, weak_from_this());
  attempt();
}

void RetryRun::attempt() {
  try {
    limit_ = numbers().limit;
    sendOnce();
  } catch (...) {
    fail(platform::Error::current());
  }
}

void RetryRun::decide() {
  try {
    takeNextStep();
  } catch (...) {
    fail(platform::Error::current());
  }
}

void RetryRun::fail(platform::Error error) {
  putFailure(std::move(error));
  finish(failCount() == 0 ? RetryStep::noFailure : RetryStep::totalFailure);
}

void RetryRun::takeNextStep() {
  const RetryStep step = stepAfter(failCount(), limit_, hasFailed());
  if (limits().isStopped() && hasFailed()) {
    if (!tellsOfStop()) keepFailure();
    finishStopped();
  } else if (step != RetryStep::retry) {
    finish(step);
  } else if (!isWorthRetrying()) {
    finish(RetryStep::totalFailure);
  } else {
    waitThenRetry();
  }
}

void RetryRun::waitThenRetry() {
  const double named = policy_.backOff ? policy_.backOff->wait(failCount()).count() : namedWait(numbers(), failCount());
  const double seconds = wait(policy_, named, headers());
  keepFailure();
  phase_ = Phase::wait;
  if (limits().isStopped()) {
    if (leaveWait(Phase::over)) finishStopped();
    return;
  }
  try {
    DispatchQueue::global().asyncAfter(seconds, [self = shared_from_this()] {
      if (self->leaveWait(Phase::attempt)) self->attempt();
    });
  } catch (...) {
    if (leaveWait(Phase::attempt)) throw;  // otherwise a stop has ended it
  }
}

/// An attempt under way has the same stop.
void RetryRun::wasStopped() noexcept {
  if (!leaveWait(Phase::over)) return;
  // A response is made of it, by code that others must not wait for.
  platform::detail::requiringMemory("a retrying send cannot be cancelled", [this] {
    DispatchQueue::global().async([self = shared_from_this()] { self->finishStopped(); });
  });
}

void RetryRun::finish(RetryStep result) {
  phase_ = Phase::over;
  deliver(result);
}

void RetryRun::finishStopped() {
  putFailure(limits().error());
  finish(RetryStep::totalFailure);
}

/// Of the timer and a stop, one wins.
bool RetryRun::leaveWait(Phase next) {
  Phase expected = Phase::wait;
  return phase_.compare_exchange_strong(expected, next);
}

}  // namespace corvane::detail
