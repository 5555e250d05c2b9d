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
    const auto journal = plan ? plan->begin() : nullptr;
    if (!journal) return std::nullopt;
    const Self request(plan->options(), journal);
    plan->tellOfStart(journal, [request] { request.cancel(); });
    return request;
  }
};
