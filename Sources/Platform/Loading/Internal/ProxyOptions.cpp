#include "Platform/Loading/Internal/ProxyOptions.hpp"

#include <utility>

#include "Platform/Foundation/JSON/Internal/Base64.hpp"
#include "Platform/Loading/Internal/HostName.hpp"
#include "Platform/Networking/Authentication/ProxyDigest.hpp"

namespace platform::detail {

using networking::AddressNetwork;
using networking::Proxy;

std::optional<ProxyException> ProxyException::fromText(std::string_view text) {
  std::string_view address = text;
  if (address.starts_with('[') && address.ends_with(']')) address = address.substr(1, address.size() - 2);
  if (const auto network = AddressNetwork::fromText(address)) return ProxyException{*network};
  if (text.starts_with("*.")) text.remove_prefix(2);
  if (text.starts_with('.')) text.remove_prefix(1);
  if (text.ends_with('.')) text.remove_suffix(1);
  auto host = hostName(std::string(text));
  if (!host || host->find_first_of(":*%") != std::string::npos) return std::nullopt;
  // An address in another spelling ("10", "127.1"), which no name ever ends with.
  if (networking::HostAddress::fromText(*host)) return std::nullopt;
  return ProxyException{std::move(*host)};
}

Proxy proxyOf(const ProxyConfiguration& configuration) {
  Proxy proxy;
  auto host = hostName(configuration.host);
  if (configuration.kind == ProxyKind::none || !host) return proxy;
  proxy.kind = configuration.kind == ProxyKind::http ? Proxy::Kind::http : Proxy::Kind::socks5;
  proxy.host = std::move(*host);
  proxy.port = configuration.port;
  proxy.user = configuration.user;
  proxy.password = configuration.password;
  if (configuration.authentication == ProxyAuthentication::digest) {
    proxy.digest = std::make_shared<networking::ProxyDigest>(
        networking::DigestUser{.name = proxy.user, .password = proxy.password});
  } else if (!proxy.user.empty() || !proxy.password.empty()) {
    proxy.authorization = "Basic " + toBase64(Data(proxy.user + ":" + proxy.password));
  }
  for (const std::string& text : configuration.exceptions) {
    const auto exception = ProxyException::fromText(text);
    if (!exception) continue;
    if (const auto* domain = std::get_if<std::string>(&exception->value)) {
      proxy.directDomains.push_back(*domain);
    } else {
      proxy.directNetworks.push_back(std::get<AddressNetwork>(exception->value));
    }
  }
  proxy.exceptsThisMachine = configuration.exceptsLoopback;
  return proxy;
}

}  // namespace platform::detail
