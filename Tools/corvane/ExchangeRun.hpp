#pragma once

#include <functional>

#include "ToolOptions.hpp"
#include "ToolResponse.hpp"

struct FinishedExchange {
  /// From 1, in the order of sending.
  int number;
  ToolResponse response;
  /// From sending to the completion.
  double seconds;
};

/// Sends what the options ask for, and hands over each response as it completes, on the calling thread.
/// Returns after the last one. Requires: called on the main thread, outside of any block.
void runExchanges(const ToolOptions& options, const std::function<void(const FinishedExchange&)>& report);
