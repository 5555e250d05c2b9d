#include "ExchangeRun.hpp"

#include <chrono>

#include "ToolRequest.hpp"

using namespace corvane;
using Clock = std::chrono::steady_clock;

namespace {

using Completion = std::function<void(ToolResponse)>;

void send(const ToolOptions& options, Completion completion) {
  withNewRequest(options, [&](const auto& request) {
    request.send(std::move(completion));
    if (!options.cancelsAfterSeconds) return;
    DispatchQueue::global().asyncAfter(*options.cancelsAfterSeconds, [request] { request.cancel(); });
  });
}

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

}  // namespace

void runExchanges(const ToolOptions& options, const std::function<void(const FinishedExchange&)>& report) {
  int sent = 0;
  int underWay = 0;
  for (int round = 0; round < options.repetitions; ++round) {
    for (int i = 0; i < options.parallelRequests; ++i) {
      ++sent;
      ++underWay;
      send(options, [&report, &underWay, number = sent, start = Clock::now()](ToolResponse response) {
        report({number, std::move(response), secondsSince(start)});
        --underWay;
      });
    }
    DispatchQueue::main().runUntil([&] { return underWay == 0; }, platform::Seconds::unlimited());
  }
}
