#include "Corvane/Behaviours/Detail/RetryRun.hpp"

#include <cmath>
#include <utility>

#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Transport/TaskManager.hpp"
#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Trap.hpp"

namespace corvane::detail {

using platform::Block;
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

RetryRun::RetryRun(HTTPRetryPolicy policy, std::optional<platform::UUID> uuid) : policy_(policy), uuid_(uuid) {}

RetryRun::~RetryRun() {
  if (cancellationHandler_) TaskManager::shared().removeCancellationHandler(std::move(cancellationHandler_), *uuid_);
}

void RetryRun::start() {
  listenToCancellation();
  cancellation_ = SendCancellation::current();
  if (cancellation_) cancellation_->reaches<&RetryRun::wasCancelled>(shared_from_this());
  attempt();
}

void RetryRun::listenToCancellation() {
  if (!policy_.isCancelable || !uuid_) return;
  cancellationHandler_ = std::make_shared<Block>([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->wasCancelled();
  });
  TaskManager::shared().addCancellationHandler(cancellationHandler_, *uuid_);
}

void RetryRun::attempt() {
  try {
    limit_ = numbers().limit;
    std::optional<SendCancellation::Scope> scope;
    if (cancellation_) scope.emplace(*cancellation_);
    sendOnce();
  } catch (...) {
    fail(platform::Error::current());
    return;
  }
  // Cancelled before the attempt's task was registered: it is by now.
  if (isCancelled_) cancelTask();
}

void RetryRun::cancelTask() const {
  if (uuid_) TaskManager::shared().cancelTask(*uuid_);
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
  if (isCancelled_ && hasFailed()) {
    if (!tellsOfCancellation()) keepFailure();
    finishCancelled();
  } else if (step != RetryStep::retry) {
    finish(step);
  } else if (!isWorthRetrying()) {
    finish(RetryStep::totalFailure);
  } else {
    waitThenRetry();
  }
}

void RetryRun::waitThenRetry() {
  const double seconds = wait(policy_, namedWait(numbers(), failCount()), headers());
  keepFailure();
  phase_ = Phase::wait;
  if (isCancelled_) {
    if (leaveWait(Phase::over)) finishCancelled();
    return;
  }
  try {
    DispatchQueue::global().asyncAfter(seconds, [self = shared_from_this()] {
      if (self->leaveWait(Phase::attempt)) self->attempt();
    });
  } catch (...) {
    if (leaveWait(Phase::attempt)) throw;  // otherwise a cancellation has ended it
  }
}

void RetryRun::wasCancelled() {
  if (isCancelled_.exchange(true)) return;
  if (leaveWait(Phase::over)) {
    // A response is made of it, by code that others must not wait for.
    platform::detail::requiringMemory("a retrying send cannot be cancelled", [this] {
      DispatchQueue::global().async([self = shared_from_this()] { self->finishCancelled(); });
    });
  } else if (phase_ == Phase::attempt) {
    // Once more, after the registration of an attempt that is just being started.
    cancelTask();
  }
}

void RetryRun::finish(RetryStep result) {
  phase_ = Phase::over;
  deliver(result);
}

void RetryRun::finishCancelled() {
  putFailure(platform::Error(HTTPResponseError::taskCancelled()));
  finish(RetryStep::totalFailure);
}

/// Of the timer and a cancellation, one wins.
bool RetryRun::leaveWait(Phase next) {
  Phase expected = Phase::wait;
  return phase_.compare_exchange_strong(expected, next);
}

}  // namespace corvane::detail
