#pragma once

#include <string>
#include <vector>

#include "Clients/Client.hpp"

namespace bench {

/// What one client did in one round.
struct Measurement {
  double seconds = 0;
  double cpuSeconds = 0;
  double peakMebibytes = 0;
};

/// Runs a program that tells its measurement, and returns that.
Measurement measurementOf(const std::vector<std::string>& arguments);
/// The other side of that.
void tell(const Measurement& measurement);

struct MeasuringPlan {
  std::string client;
  Task task;
  /// Exchanges before the clock starts; their connections stay.
  int warmUp = 1;
  int count = 1;
  int core = 0;
};

/// The run of this program that measures the plan.
std::vector<std::string> commandOf(const MeasuringPlan& plan);
/// Runs the plan in a process of its own, a fresh run of this program.
Measurement measure(const MeasuringPlan& plan);

/// The other side: the first of `arguments` says whether this process is such a one.
bool isMeasuringProcess(const std::vector<std::string>& arguments);
/// Runs what the arguments say and prints the measurement.
void runMeasuringProcess(const std::vector<std::string>& arguments);

}  // namespace bench
