#pragma once

#include <Corvane/Corvane.hpp>
#include <cstdint>
#include <string>

/// How an exchange is attempted again: what `HTTPRetryAttempting` asks of a request.
struct RetryOption {
  double intervalInSeconds;
  std::int64_t limit;
  std::int64_t deltaInSeconds = 1;
  /// Only failures that may be otherwise the next time.
  bool isForTransientFailures = false;
  /// Cancelling ends a wait, too.
  corvane::HTTPRetryPolicy policy = {.isCancelable = true};
};

/// The meaning of "interval=S,limit=N[,delta=S][,longest=S][,jitter=F][,transient][,retry-after]". Throws `UsageError`.
RetryOption retryOption(const std::string& text);
