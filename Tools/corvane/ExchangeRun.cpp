#include "ExchangeRun.hpp"

#include <utility>

#include "ProgressBar.hpp"
#include "ToolRequest.hpp"

using namespace corvane;

namespace {

/// What a person knows it by.
std::string nameOf(const URL& url) {
  const std::string name = url.lastPathComponent();
  return name.empty() || name == "/" ? url.host().value_or("") : name;
}

}  // namespace

void ExchangeRun::run() {
  for (int round = 0; round < options_.repetitions && !isStopped_; ++round) runRound();
}

void ExchangeRun::runRound() {
  waiting_ = options_.requestsOfARound();
  for (int lane = 0; lane < options_.parallelRequests; ++lane) sendNext();
  DispatchQueue::main().runUntil([&] { return underWay_.empty(); }, platform::Seconds::unlimited());
}

void ExchangeRun::stop() {
  isStopped_ = true;
  for (const auto& [number, cancel] : underWay_) cancel();
}

void ExchangeRun::sendNext() {
  if (isStopped_ || waiting_ == 0) return;
  --waiting_;
  const URL& url = options_.urls[static_cast<std::size_t>(sent_) % options_.urls.size()];
  withNewRequest(options_, recorder(++sent_, url), [&](const auto& request) { send(request); });
}

std::shared_ptr<ExchangeRecorder> ExchangeRun::recorder(int number, const URL& url) {
  auto recorder = std::make_shared<ExchangeRecorder>(ExchangeRecorder{.number = number, .url = url});
  if (bar_) recorder->progress = [this, number](const HTTPProgress& progress) { bar_->show(number, progress); };
  recorder->attemptFailed = [this, url](const FailedAttempt& attempt) {
    if (isStopped_ || !listener_.attemptFailed) return;
    if (bar_) bar_->clear();
    listener_.attemptFailed(url, attempt);
  };
  return recorder;
}

template <class Request>
void ExchangeRun::send(const Request& request) {
  const auto recorder = request.recorder();
  underWay_[recorder->number] = [request] { request.cancel(); };
  if (bar_) bar_->begin(recorder->number, nameOf(recorder->url));
  if (options_.retry) {
    request.sendAttemptingRetry([this, recorder](HTTPRetryResult<typename Request::Response> result) {
      finish(recorder->finished(*result.lastResponse()));
    });
  } else {
    request.send(DispatchQueue::main(),
                 [this, recorder](ToolResponse response) { finish(recorder->finished(std::move(response))); });
  }
  if (!options_.cancelsAfterSeconds) return;
  DispatchQueue::global().asyncAfter(*options_.cancelsAfterSeconds, [request] { request.cancel(); });
}

void ExchangeRun::finish(const FinishedExchange& exchange) {
  if (bar_) bar_->finish(exchange.number, exchange.response.result.error() != nullptr);
  if (!isStopped_) listener_.finished(exchange);
  underWay_.erase(exchange.number);
  sendNext();
  if (bar_ && !underWay_.empty()) bar_->goOn();
}
