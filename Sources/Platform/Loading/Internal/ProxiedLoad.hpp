#pragma once

#include <string>

#include "Platform/Networking/Connecting/Route.hpp"

namespace platform::detail {

/// What a load has in addition where the session has a proxy. Loop side.
struct ProxiedLoad {
  networking::Route route;
  /// What a forwarding proxy is asked for: the whole URL.
  std::string target;
  /// What it is told of its user; header fields refer to it.
  std::string authorization;
  /// It asks for credentials, which are known now.
  bool isChallenged = false;
};

}  // namespace platform::detail
