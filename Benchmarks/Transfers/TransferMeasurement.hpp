#pragma once

#include <string>
#include <vector>

#include "Harness/Measurement.hpp"
#include "Transfers/Transfer.hpp"

namespace bench {

struct TransferPlan {
  std::string mover;
  TransferTask task;
  /// Transfers, after one that is not measured.
  int count = 1;
  int core = 0;
};

/// Runs the plan in a process of its own, a fresh run of this program. The clock stands still while what was
/// downloaded is looked at and removed. The memory is what the transfers took beyond the idle client.
Measurement measure(const TransferPlan& plan);

/// The other side: the first of `arguments` says whether this process is such a one.
bool isTransferringProcess(const std::vector<std::string>& arguments);
/// Runs what the arguments say and prints the measurement.
void runTransferringProcess(const std::vector<std::string>& arguments);

}  // namespace bench
