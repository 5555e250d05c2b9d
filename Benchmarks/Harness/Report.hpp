#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Harness/Measurement.hpp"
#include "Harness/Scenario.hpp"

namespace bench {

/// The rounds of one client, in the scenario's order of clients.
using Rounds = std::vector<Measurement>;

using Figure = std::function<double(const Measurement&)>;

double medianOf(const Rounds& rounds, const Figure& figure);
/// The median of the ratios within each round, so that what slows a whole round down cancels out. Both must have the
/// same number of rounds.
double medianRatio(const Rounds& rounds, const Rounds& baseline, const Figure& figure);

/// A table of the medians over the rounds, and beside each ratio the goal it is held to.
std::string report(const Scenario& scenario, const std::string& server, const std::vector<Rounds>& measurements);

}  // namespace bench
