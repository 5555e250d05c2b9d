#include "Velisand/Detail/Gathering.hpp"

#include <cmath>
#include <cstdio>
#include <string>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Foundation/Dictionary.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace velisand::detail {

using platform::Error;
using platform::NSError;
using platform::Seconds;
namespace URLErrorCode = platform::URLErrorCode;

namespace {

/// Has what the failure of the part tells of it.
Error timeOut(Seconds limit, const Error& cause) {
  char message[96] = "the time-out had passed before anything was awaited";
  if (limit.count() > 0)
    std::snprintf(message, sizeof message, "the time-out passed: it was not over after %g seconds", limit.count());
  platform::Dictionary facts = cause.userInfo();
  facts.set(platform::CustomNSError::localizedDescriptionKey, message);
  facts.set(platform::URLErrorKey::transportMessage, message);
  return NSError(platform::NSURLErrorDomain, URLErrorCode::timedOut, message, std::move(facts));
}

/// What a part that is gone fails with.
Error lost() noexcept {
  try {
    return NSError(platform::NSURLErrorDomain, URLErrorCode::cancelled, "What was awaited is gone without an outcome");
  } catch (...) {
    return Error::current();
  }
}

}  // namespace

Gathering::Gathering(Goal goal, std::shared_ptr<AnyFutureState> whole) : goal_(goal), whole_(std::move(whole)) {}

Gathering::~Gathering() { timer_.withdraw(); }

void Gathering::begin(Parts parts) {
  left_ = parts.size();
  whole_->makeOf(std::move(parts));
}

void Gathering::limit(Seconds limit) {
  limit_ = limit;
  if (!(limit.count() > 0)) return endTime();
  if (std::isinf(limit.count())) return;
  timer_ = platform::DelayedBlock(platform::DispatchQueue::global(), limit, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->endTime();
  });
}

void Gathering::endTime() {
  isOverdue_ = true;
  whole_->cancelParts();
}

bool Gathering::isWanted(const Error* error) {
  const bool mayGoOn = goal_ == Goal::firstToSucceed ? error != nullptr : goal_ == Goal::all && !error;
  if (!mayGoOn && !decide()) return false;
  if (!error) return true;
  if (!mayGoOn) {
    failure_ = *error;
  } else if (!hasFailure_.exchange(true)) {
    firstFailure_ = *error;
  }
  return false;
}

/// What was wanted cannot be kept. Where one part is, it has decided.
void Gathering::giveUp(Error error) {
  if (goal_ != Goal::all || decide()) failure_ = std::move(error);
}

void Gathering::endPart() {
  if (isDecided_) whole_->cancelParts();
  if (--left_ == 0) end();
}

void Gathering::losePart() noexcept {
  const Error error = lost();
  platform::detail::requiringMemory("a future that is gone without an outcome cannot be passed over", [&] {
    isWanted(&error);
    endPart();
  });
}

void Gathering::end() {
  timer_.withdraw();
  if (!isDecided_) failure_ = std::move(firstFailure_);
  if (!failure_) {
    try {
      return succeed();
    } catch (...) {
      failure_ = Error::current();
    }
  }
  fail(isOverdue_ ? timeOut(limit_, *failure_) : *std::move(failure_));
}

}  // namespace velisand::detail
