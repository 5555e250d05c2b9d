#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "Platform/Loading/ProxyConfiguration.hpp"
#include "Platform/Networking/Connecting/Proxy.hpp"

namespace platform::detail {

/// One exception of a proxy's: a domain without dots at its ends, or a network.
struct ProxyException {
  std::variant<std::string, networking::AddressNetwork> value;

  /// Absent for what is neither.
  static std::optional<ProxyException> fromText(std::string_view text);
};

/// What the networking layer makes of a configuration without a problem.
networking::Proxy proxyOf(const ProxyConfiguration& configuration);

}  // namespace platform::detail
