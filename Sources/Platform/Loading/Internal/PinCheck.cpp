#include "Platform/Loading/Internal/PinCheck.hpp"

#include <algorithm>

#include "Platform/Loading/Internal/HostName.hpp"
#include "Platform/Networking/Connecting/HostAddress.hpp"

namespace platform::detail {

namespace {

std::string withoutRoot(std::string name) {
  if (name.ends_with('.')) name.pop_back();
  return name;
}

/// Addresses are compared as addresses, however the URL writes them.
bool isFor(const TLSPins& pins, const std::string& host) {
  const auto named = hostName(pins.host);
  if (!named) return false;
  const std::string name = withoutRoot(*named);
  const auto address = networking::HostAddress::fromStrictText(name);
  if (address) return networking::HostAddress::fromText(host) == address;
  return host == name || (pins.includesSubdomains && host.ends_with("." + name));
}

bool matches(const TLSPins& pins, const std::vector<SecCertificate>& chain) {
  return std::any_of(chain.begin(), chain.end(), [&](const SecCertificate& certificate) {
    const std::string pin = certificate.publicKeyPin();
    return std::find(pins.publicKeys.begin(), pins.publicKeys.end(), pin) != pins.publicKeys.end();
  });
}

}  // namespace

std::optional<std::string> pinProblem(const std::vector<TLSPins>& pins, const std::string& host,
                                      const std::vector<SecCertificate>& chain) {
  const std::string name = withoutRoot(host);
  for (const TLSPins& each : pins) {
    if (isFor(each, name) && !matches(each, chain))
      return "The server of \"" + host + "\" has none of the public keys that are pinned for \"" + each.host + "\".";
  }
  return std::nullopt;
}

}  // namespace platform::detail
