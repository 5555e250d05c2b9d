#include "Platform/Metrics/NetworkAddress.hpp"

namespace platform {

std::string NetworkAddress::text() const {
  if (port == 0) return host;
  const bool isIPv6 = host.find(':') != std::string::npos;
  return (isIPv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

}  // namespace platform
