#include "Platform/Networking/Connecting/Proxy.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "Platform/Networking/Connecting/LocalHost.hpp"
#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

/// Of all IPv6 addresses that stand for one of IPv4 (RFC 4291, 2.5.5.2).
constexpr std::int64_t mappedPrefixBits = 96;

bool isInDomain(std::string_view host, std::string_view domain) {
  if (host.ends_with('.')) host.remove_suffix(1);
  if (!host.ends_with(domain)) return false;
  return host.size() == domain.size() || host[host.size() - domain.size() - 1] == '.';
}

/// The zone of an address is an interface of this machine. A '%' alone makes no zone: it may be in a name.
bool isAddressWithZone(const std::string& name) {
  const std::size_t percent = name.find('%');
  if (percent == std::string::npos) return false;
  const auto address = HostAddress::fromText(name.substr(0, percent));
  return address && address->isIPv6();
}

/// A network has no zone.
std::optional<HostAddress> addressOfNetwork(const std::string& text) {
  if (text.find('%') != std::string::npos) return std::nullopt;
  return HostAddress::fromStrictText(text);
}

}  // namespace

std::optional<AddressNetwork> AddressNetwork::fromText(std::string_view text) {
  const std::size_t slash = text.find('/');
  const auto address = addressOfNetwork(std::string(text.substr(0, slash)));
  if (!address) return std::nullopt;
  const std::int64_t most = address->isIPv6() ? 128 : 32;
  const auto bits = slash == text.npos ? most : detail::decimal(text.substr(slash + 1));
  if (!bits || *bits > most) return std::nullopt;
  const HostAddress plain = address->unmapped();
  if (plain == *address) return AddressNetwork{plain, static_cast<unsigned>(*bits)};
  // A shorter prefix would also be that of addresses that stand for none of IPv4.
  if (*bits < mappedPrefixBits) return std::nullopt;
  return AddressNetwork{plain, static_cast<unsigned>(*bits - mappedPrefixBits)};
}

bool AddressNetwork::contains(const HostAddress& each) const {
  const HostAddress plain = each.unmapped();
  if (plain.isIPv6() != address.isIPv6()) return false;
  const auto own = address.bytes();
  const auto other = plain.bytes();
  const std::size_t whole = prefixBits / 8;
  if (!std::equal(own.begin(), own.begin() + static_cast<std::ptrdiff_t>(whole), other.begin())) return false;
  const unsigned rest = prefixBits % 8;
  if (rest == 0) return true;
  const auto mask = static_cast<std::byte>(0xFF << (8 - rest));
  return (own[whole] & mask) == (other[whole] & mask);
}

bool Proxy::serves(const std::string& name) const {
  if (kind == Kind::none || isAddressWithZone(name)) return false;
  const auto address = HostAddress::fromText(name);
  if (exceptsThisMachine && (address ? address->isThisMachine() : isLocalName(name))) return false;
  if (address) {
    return std::none_of(directNetworks.begin(), directNetworks.end(),
                        [&](const AddressNetwork& network) { return network.contains(*address); });
  }
  return std::none_of(directDomains.begin(), directDomains.end(),
                      [&](const std::string& domain) { return isInDomain(name, domain); });
}

Route Proxy::routeTo(const Origin& origin, bool canForward) const {
  if (!serves(origin.host)) return {.origin = origin};
  if (kind != Kind::http || origin.isSecure || !canForward) return {.origin = origin, .way = Route::Way::tunnelled};
  return {.origin = {.isSecure = false, .host = host, .port = port}, .way = Route::Way::forwarded};
}

std::string Proxy::description() const {
  const char* const what = kind == Kind::socks5 ? "the SOCKS proxy \"" : "the HTTP proxy \"";
  return what + host + "\", port " + std::to_string(port);
}

}  // namespace platform::networking
