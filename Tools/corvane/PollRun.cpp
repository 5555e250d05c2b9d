#include "PollRun.hpp"

#include <utility>

#include "PolledRequest.hpp"

using namespace corvane;

namespace {

// A cancellation finds nothing when it comes between the making of a request and its sending on another thread.
constexpr double secondsBetweenCancellations = 0.1;

}  // namespace

PollRun::PollRun(const ToolOptions& options, ExchangeListener listener)
    : listener_(std::move(listener)),
      plan_(std::make_shared<PollPlan>(
          options, [this](const auto& recorder, auto cancel) { started(recorder, std::move(cancel)); })) {}

void PollRun::run() {
  PollPlan::makeCurrent(plan_);
  withKindOfRequest<Polled>(plan_->options(), [this]<class Request>(std::type_identity<Request>) {
    Request::poll([this](const Request& request, const typename Request::Response& response) {
      const auto& recorder = request.recorder();
      recorder->attempts = static_cast<int>(recorder->failures.size()) + 1;
      finish(recorder->finished(response));
    });
    DispatchQueue::main().runUntil([this] { return isStopped_ || isOver(); }, platform::Seconds::unlimited());
    while (!DispatchQueue::main().runUntil([this] { return isOver(); }, secondsBetweenCancellations)) cancelAll();
    Request::stopPolling();
  });
  PollPlan::makeCurrent(nullptr);
}

void PollRun::stop() {
  isStopped_ = true;
  plan_->end();
  cancelAll();
}

bool PollRun::isOver() const {
  return finished_ == plan_->begun() && (isStopped_ || finished_ == plan_->options().polls);
}

void PollRun::cancelAll() const {
  for (const auto& [number, cancel] : underWay_) cancel();
}

void PollRun::started(const std::shared_ptr<ExchangeRecorder>& recorder, std::function<void()> cancel) {
  recorder->attemptFailed = [this, url = recorder->url](const FailedAttempt& attempt) {
    if (!isStopped_ && listener_.attemptFailed) listener_.attemptFailed(url, attempt);
  };
  underWay_[recorder->number] = cancel;
  if (const auto seconds = plan_->options().cancelsAfterSeconds)
    DispatchQueue::global().asyncAfter(*seconds, std::move(cancel));
}

void PollRun::finish(const FinishedExchange& exchange) {
  ++finished_;
  if (!isStopped_) listener_.finished(exchange);
  underWay_.erase(exchange.number);
}
