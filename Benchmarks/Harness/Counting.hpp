#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Harness/Deployment.hpp"

namespace bench {

/// What is counted of an exchange, and so has next to no noise. A client is run under a program that counts, once for a
/// few exchanges and once for more: the difference is what the exchanges took.
struct CountedClient {
  std::string client;
  /// Absent: held to nothing.
  std::optional<double> instructionsAtMost;
  std::optional<double> callsAtMost;
};

/// A table of the instructions (valgrind's callgrind, 16 exchanges at a time) and the system calls (strace, 64 at a
/// time) that an exchange takes, for each client. What is not installed, or not allowed here, is left out and told on
/// standard error.
std::string countReport(const RunningServer& server, const std::vector<CountedClient>& clients,
                        const std::filesystem::path& folder, int core);

}  // namespace bench
