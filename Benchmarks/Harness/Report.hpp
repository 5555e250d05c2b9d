#pragma once

#include <string>
#include <vector>

#include "Harness/Measurement.hpp"
#include "Harness/Scenario.hpp"

namespace bench {

/// The rounds of one client, in the scenario's order of clients.
using Rounds = std::vector<Measurement>;

/// A table of the medians over the rounds, and beside each ratio the goal it is held to. A ratio is the
/// median of the ratios within each round, so that what slows a whole round down cancels out.
std::string report(const Scenario& scenario, const std::string& server, const std::vector<Rounds>& measurements);

}  // namespace bench
