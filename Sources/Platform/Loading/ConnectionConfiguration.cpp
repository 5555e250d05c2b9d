#include "Platform/Loading/ConnectionConfiguration.hpp"

#include <sys/un.h>

#include <cmath>

#include "Platform/Loading/Internal/HostName.hpp"
#include "Platform/Networking/Connecting/HostAddress.hpp"

namespace platform {

namespace {

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

/// Empty for an IP address, otherwise what is wrong with it.
std::string addressFault(const std::string& text) {
  if (networking::HostAddress::fromStrictText(text)) return {};
  if (networking::HostAddress::fromText(text)) return "is not four decimal numbers without zeros before them.";
  return "is not an IP address.";
}

std::string problemOf(const HostAddressMapping& mapping) {
  if (!detail::hostName(mapping.host)) return quoted(mapping.host) + " is not the name of a host.";
  if (mapping.addresses.empty()) return "The host " + quoted(mapping.host) + " is given no address.";
  for (const std::string& address : mapping.addresses) {
    if (const std::string fault = addressFault(address); !fault.empty())
      return quoted(address) + ", given for the host " + quoted(mapping.host) + ", " + fault;
  }
  return {};
}

}  // namespace

std::string ConnectionConfiguration::problem() const {
  for (const HostAddressMapping& mapping : hostAddresses) {
    if (std::string problem = problemOf(mapping); !problem.empty()) return problem;
  }
  if (const std::string fault = addressFault(localAddress); !localAddress.empty() && !fault.empty())
    return "The local address " + quoted(localAddress) + " " + fault;
  if (unixSocketPath.size() >= sizeof(sockaddr_un::sun_path))
    return "The path " + quoted(unixSocketPath) + " is too long for a Unix socket, which has " +
           std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " bytes for it.";
  if (unixSocketPath.find('\0') != std::string::npos) return "The path of the Unix socket has a NUL.";
  if (std::string problem = proxy.problem(); !problem.empty()) return problem;
  if (proxy.kind != ProxyKind::none && !unixSocketPath.empty())
    return "Connections go to a Unix socket or through a proxy, not both.";
  if (std::isnan(idleLifetime.count()) || idleLifetime.count() < 0)
    return "The time that idle connections are kept is negative or not a number.";
  if (maximumRequestsPerSecondPerHost &&
      !(std::isfinite(*maximumRequestsPerSecondPerHost) && *maximumRequestsPerSecondPerHost > 0))
    return "The limit of requests per second to a host is not a positive number.";
  if (maximumBytesPerSecond && *maximumBytesPerSecond < 1) return "The limit of bytes per second is not positive.";
  if (maximumConnections && *maximumConnections < 1) return "The limit of connections in all is not positive.";
  return {};
}

}  // namespace platform
