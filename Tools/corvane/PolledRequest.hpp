#pragma once

#include <optional>

#include "PollPlan.hpp"
#include "ToolRequest.hpp"

/// The manner of requests that are made and sent by a timer, as the plan in force says.
template <class Self>
struct Polled : corvane::HTTPPolling<Self> {
  static double pollingRate() { return PollPlan::current()->options().pollsEverySeconds.value(); }

  static std::optional<Self> make() {
    const auto plan = PollPlan::current();
    const auto recorder = plan ? plan->begin() : nullptr;
    if (!recorder) return std::nullopt;
    const Self request(plan->options(), recorder);
    plan->tellOfStart(recorder, [request] { request.cancel(); });
    return request;
  }
};
