#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Harness/Deployment.hpp"

namespace bench {

/// A client, and what it is held to.
struct CountedClient {
  std::string client;
  std::optional<double> instructionsAtMost = {};
  std::optional<double> callsAtMost = {};
};

/// An exchange of which the instructions (by valgrind's callgrind) and the system calls (by strace) are counted, which
/// has next to no noise. A client is run under the program that counts, once for a few exchanges and once for more: the
/// difference is what the exchanges took.
struct CountedExchange {
  std::string title;
  Wire wire = Wire::plain;
  std::string path;
  /// Exchanges at a time while instructions, or calls, are counted.
  int concurrencyForInstructions = 1;
  int concurrencyForCalls = 1;
  int few = 1;
  int more = 2;
  std::vector<CountedClient> clients;
};

std::vector<CountedExchange> countedExchanges();

/// A table for all clients. What is not installed, or not allowed here, is left out and told on standard error.
std::string countReport(const RunningServer& server, const CountedExchange& exchange,
                        const std::filesystem::path& folder, int core);

}  // namespace bench
