#include "ExchangeRecorder.hpp"

#include <algorithm>
#include <utility>

void ExchangeRecorder::addFailure(const corvane::ResponseRecord& response, const corvane::Error& error) {
  failures.push_back({.number = static_cast<int>(failures.size()) + 1,
                      .status = response.statusCode(),
                      .problem = sentence(error, response),
                      .error = error,
                      .metrics = response.metrics});
  if (attemptFailed) attemptFailed(failures.back());
}

FinishedExchange ExchangeRecorder::finished(ToolResponse response) const {
  const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
  return {.number = number,
          .url = url,
          .response = std::move(response),
          .seconds = duration.count(),
          .attempts = std::max(attempts, 1),
          .failures = failures};
}
