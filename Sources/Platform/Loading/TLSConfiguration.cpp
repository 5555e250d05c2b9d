#include "Platform/Loading/TLSConfiguration.hpp"

#include <algorithm>
#include <string>
#include <string_view>

#include "Platform/Foundation/JSON/Internal/Base64.hpp"
#include "Platform/Loading/ConnectionConfiguration.hpp"
#include "Platform/Loading/Internal/HostName.hpp"
#include "Platform/Loading/Internal/NetworkOptions.hpp"
#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/Connecting/TLSContext.hpp"

namespace platform {

namespace {

constexpr std::size_t digestBytes = 32;

/// An IPv4 address in a spelling that may mean another than it seems to.
bool isLooseAddress(std::string host) {
  if (host.ends_with('.')) host.pop_back();
  return networking::HostAddress::fromText(host) && !networking::HostAddress::fromStrictText(host);
}

std::string problemOf(const TLSPins& pins) {
  // What no server is called would protect nothing, and nobody would notice.
  if (pins.host.find_first_of("*%") != std::string::npos || pins.host.starts_with('.'))
    return "Pins are given for \"" + pins.host +
           "\", which no host is called; `includesSubdomains` is for those below.";
  const auto host = detail::hostName(pins.host);
  if (!host) return "Pins are given for \"" + pins.host + "\", which is not the name of a host.";
  if (isLooseAddress(*host))
    return "Pins are given for \"" + pins.host + "\", which is not four decimal numbers without zeros before them.";
  for (const std::string& pin : pins.publicKeys) {
    const auto digest = detail::fromBase64(pin);
    if (!digest || digest->count() != digestBytes)
      return "The pin \"" + pin + "\" for the host \"" + pins.host + "\" is not the base64 of a SHA-256.";
  }
  const auto isAnother = [&](const std::string& pin) { return pin != pins.publicKeys.front(); };
  if (std::none_of(pins.publicKeys.begin(), pins.publicKeys.end(), isAnother))
    return "The host \"" + pins.host + "\" needs two different pins, one of them a backup.";
  return {};
}

}  // namespace

std::string TLSConfiguration::problem() const {
  for (const TLSPins& each : pins) {
    if (std::string problem = problemOf(each); !problem.empty()) return problem;
  }
  if (trustsOnlyAnchors && anchors.empty()) return "Only the given anchors are to be trusted, and there is none.";
  const auto wasMovedFrom = [](const SecCertificate& anchor) { return !anchor.handle(); };
  if (std::any_of(anchors.begin(), anchors.end(), wasMovedFrom)) return "An anchor was moved from.";
  if (identity && !identity->handle()) return "The identity was moved from.";
  return networking::TLSContext::problem(detail::tlsOptions(*this, HTTPVersions::automatic));
}

}  // namespace platform
