#include "ExchangeRun.hpp"

#include <chrono>

#include "ProgressBar.hpp"
#include "ToolRequest.hpp"

using namespace corvane;
using Clock = std::chrono::steady_clock;

namespace {

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

template <class Request>
concept TellsProgress =
    requires(const Request& request, HTTPProgressHandler handler, typename Request::Completion completion) {
      request.send(std::move(handler), std::move(completion));
    };

}  // namespace

void ExchangeRun::run() {
  int sent = 0;
  for (int round = 0; round < options_.repetitions && !isStopped_; ++round) {
    for (int i = 0; i < options_.parallelRequests; ++i) send(++sent);
    DispatchQueue::main().runUntil([&] { return underWay_.empty(); }, platform::Seconds::unlimited());
  }
}

void ExchangeRun::stop() {
  isStopped_ = true;
  for (const auto& [number, cancel] : underWay_) cancel();
}

void ExchangeRun::send(int number) {
  withNewRequest(options_, [&](const auto& request) { send(request, number); });
}

template <class Request>
void ExchangeRun::send(const Request& request, int number) {
  underWay_[number] = [request] { request.cancel(); };
  auto completion = [this, number, start = Clock::now()](ToolResponse response) {
    finish({number, std::move(response), secondsSince(start)});
  };
  if constexpr (TellsProgress<Request>) {
    HTTPProgressHandler handler;
    if (bar_) handler = [this, number](const HTTPProgress& progress) { bar_->show(number, progress); };
    request.send(std::move(handler), std::move(completion));
  } else {
    request.send(std::move(completion));
  }
  if (!options_.cancelsAfterSeconds) return;
  DispatchQueue::global().asyncAfter(*options_.cancelsAfterSeconds, [request] { request.cancel(); });
}

void ExchangeRun::finish(const FinishedExchange& exchange) {
  if (bar_) bar_->finish();
  if (!isStopped_) report_(exchange);
  underWay_.erase(exchange.number);
}
