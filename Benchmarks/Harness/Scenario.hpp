#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Clients/Client.hpp"

namespace bench {

/// What one client is held to, each against the scenario's baseline; absent: nothing.
struct Goals {
  std::optional<double> rateAtLeast;
  std::optional<double> cpuAtMost;
  /// Against the time that the server's delay alone needs.
  std::optional<double> idealTimeAtMost;
  std::optional<double> extraMebibytesAtMost;
};

struct Contender {
  std::string client;
  Goals goals;
};

/// One line of questions to a server, for several clients side by side.
struct Scenario {
  std::string title;
  std::string path;
  Wire wire = Wire::plain;
  int concurrency = 1;
  int count = 1;
  int warmUp = 1;
  std::uint64_t bodyBytes = 100;
  /// The time that cannot be undercut because the server waits; 0 where it does not.
  double idealSeconds = 0;
  /// Whether client and server share one core. Then no wake-up crosses cores, which costs more in a virtual
  /// machine than the whole exchange.
  bool onServersCore = false;
  /// Whether nginx serves it too.
  bool onNginx = true;
  /// The client that the ratios refer to.
  std::string baseline;
  std::vector<Contender> contenders;
};

/// All of them; a quick run makes fewer exchanges.
std::vector<Scenario> scenarios(bool quick);

}  // namespace bench
