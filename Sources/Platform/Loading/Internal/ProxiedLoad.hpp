#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Platform/Metrics/TransactionMetrics.hpp"
#include "Platform/Networking/Authentication/ProxyDigest.hpp"
#include "Platform/Networking/Connecting/Route.hpp"

namespace platform::detail {

/// What a load has in addition where the session has a proxy. Loop side.
struct ProxiedLoad {
  networking::Route route;
  /// What a forwarding proxy is asked for: the whole URL.
  std::string target;
  /// What it is told of its user; header fields refer to it.
  networking::ProxyDigest::Authorization authorization;
  /// How many header fields are not from here; absent: the request has not gone out yet.
  std::optional<std::size_t> otherFields;
  /// Whether "Expect" is from here.
  bool expects = false;
  /// Why the request is to go out once more.
  std::optional<TransactionMetrics::Cause> repeats;
};

}  // namespace platform::detail
