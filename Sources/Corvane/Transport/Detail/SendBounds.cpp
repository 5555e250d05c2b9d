#include "Corvane/Transport/Detail/SendBounds.hpp"

#include <cstdio>
#include <string>
#include <utility>

#include "Corvane/Errors/CFNetworkErrors.hpp"
#include "Corvane/Errors/HTTPResponseError.hpp"
#include "Corvane/Transport/Internal/CallStop.hpp"
#include "Platform/Loading/URLErrorCodes.hpp"

namespace corvane::detail {

using platform::Error;
namespace URLErrorKey = platform::URLErrorKey;

namespace {

std::string deadlineMessage(double seconds) {
  char text[96];
  std::snprintf(text, sizeof text, "the deadline passed: the call was not over after %g seconds", seconds);
  return seconds > 0 ? text : "the deadline passed before the call was sent";
}

/// What is known of the request that was under way.
std::string phaseOf(const platform::Dictionary& facts) {
  const auto* const wasSent = facts.find(URLErrorKey::requestWasSent);
  if (!wasSent || !wasSent->boolean()) return "";
  return *wasSent->boolean() ? ", with the request sent" : ", before the request was sent";
}

Error deadlineError(double seconds, const Error* cause) {
  platform::Dictionary facts = cause ? cause->userInfo() : platform::Dictionary();
  std::string message = deadlineMessage(seconds);
  if (seconds > 0) message += phaseOf(facts);
  facts.set(URLErrorKey::transportMessage, message);
  return CFNetworkErrors(platform::URLErrorCode::timedOut,
                         platform::NSError(platform::kCFErrorDomainCFNetwork, platform::URLErrorCode::timedOut,
                                           std::move(message), std::move(facts)));
}

}  // namespace

SharedBounds SendBounds::by(std::stop_token stop) {
  return std::make_shared<const SendBounds>(SendBounds{.stop = std::move(stop)});
}

SharedBounds SendBounds::add(SharedBounds bounds, const SendOptions& options) {
  const Deadline& deadline = options.deadline;
  const bool isRunning = deadline.kind_ == Deadline::Kind::running;
  SendBounds made = of(bounds);
  const bool hasLessTime = !(options.connectTimeout >= made.connectTimeout);
  const bool hasNewStop = options.stop.stop_possible() && options.stop != made.stop;
  const bool hasNewDeadline = deadline && (!isRunning || deadline.running_ != made.link);
  if (!hasLessTime && !hasNewStop && !hasNewDeadline) return bounds;

  if (hasLessTime) made.connectTimeout = options.connectTimeout;
  const bool isFromRunning = isRunning && options.stop == deadline.running_->token();
  if ((hasNewStop || hasNewDeadline) && !made.stop.stop_possible() && (!hasNewDeadline || isFromRunning)) {
    made.stop = options.stop;
    made.link = deadline.running_;
  } else if (hasNewStop || hasNewDeadline) {
    const auto joined = std::make_shared<CallStop>();
    joined->follow(made.stop, made.link);
    if (hasNewStop) joined->follow(options.stop, deadline.running_);
    if (hasNewDeadline && isRunning && !isFromRunning) joined->follow(deadline.running_);
    if (hasNewDeadline && !isRunning) joined->endAfter(deadline.remaining());
    made.stop = joined->token();
    made.link = joined;
  }
  return std::make_shared<const SendBounds>(std::move(made));
}

SharedBounds SendBounds::child(const SharedBounds& bounds) {
  const SendBounds& parent = of(bounds);
  const auto made = std::make_shared<CallStop>();
  made->follow(parent.stop, parent.link);
  return std::make_shared<const SendBounds>(SendBounds{.stop = made->token(),
                                                       .link = made,
                                                       .connectTimeout = parent.connectTimeout,
                                                       .isRepetition = parent.isRepetition});
}

SharedBounds SendBounds::repetition(const SharedBounds& bounds) {
  SendBounds made = of(bounds);
  made.isRepetition = true;
  return std::make_shared<const SendBounds>(std::move(made));
}

const SendBounds& SendBounds::of(const SharedBounds& bounds) {
  static const SendBounds& none = *new SendBounds;
  return bounds ? *bounds : none;
}

SendOptions SendBounds::options(const SharedBounds& bounds, std::optional<platform::DispatchQueue> queue) {
  const SendBounds& those = of(bounds);
  return {.queue = std::move(queue),
          .stop = those.stop,
          .deadline = Deadline(those.link),
          .connectTimeout = those.connectTimeout};
}

std::stop_source SendBounds::source() const { return link->source(); }

Error SendBounds::error(const Error* cause) const {
  if (link && link->isOverdue()) return deadlineError(link->limit(), cause);
  return HTTPResponseError::taskCancelled();
}

const SendOptions& noOptions() {
  static const SendOptions& none = *new SendOptions;
  return none;
}

bool SendBounds::isErrorOfStop(const Error& error) const {
  const Error own = this->error();
  return error.domain() == own.domain() && error.code() == own.code();
}

}  // namespace corvane::detail
