#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FinishedExchange.hpp"

/// The metrics of all attempts of the exchange, in their order; null for those that have none.
std::vector<std::shared_ptr<const corvane::TaskMetrics>> metricsOf(const FinishedExchange& exchange);

/// The member "timing" of a report, as a JSON object of its own: an array with an element for each attempt. Moments are
/// seconds since the start of the attempt.
std::string timingReport(const FinishedExchange& exchange);
