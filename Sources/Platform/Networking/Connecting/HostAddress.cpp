#include "Platform/Networking/Connecting/HostAddress.hpp"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

namespace platform::networking {

namespace {

/// A zone is the number of an interface or its name.
std::optional<std::uint32_t> scopeOf(std::string_view zone) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(zone.data(), zone.data() + zone.size(), number);
  if (error == std::errc() && end == zone.data() + zone.size()) return number;
  number = ::if_nametoindex(std::string(zone).c_str());
  if (number == 0) return std::nullopt;
  return number;
}

}  // namespace

std::optional<HostAddress> HostAddress::fromText(const std::string& text) {
  HostAddress address;
  if (text.find(':') == std::string::npos) {
    // What follows a space means nothing to the call below.
    if (text.find_first_not_of("0123456789abcdefABCDEFxX.") != std::string::npos) return std::nullopt;
    in_addr four{};
    if (::inet_aton(text.c_str(), &four) != 1) return std::nullopt;
    std::memcpy(address.bytes_.data(), &four, sizeof four);
    return address;
  }
  const std::size_t percent = text.find('%');
  if (percent != std::string::npos) {
    const auto scope = scopeOf(std::string_view(text).substr(percent + 1));
    if (!scope) return std::nullopt;
    address.scope_ = *scope;
  }
  if (text.find('\0') != std::string::npos) return std::nullopt;
  in6_addr six{};
  if (::inet_pton(AF_INET6, text.substr(0, percent).c_str(), &six) != 1) return std::nullopt;
  address.isIPv6_ = true;
  std::memcpy(address.bytes_.data(), &six, sizeof six);
  return address;
}

std::optional<HostAddress> HostAddress::fromStrictText(const std::string& text) {
  in_addr four{};
  if (text.find(':') == std::string::npos && ::inet_pton(AF_INET, text.c_str(), &four) != 1) return std::nullopt;
  return fromText(text);
}

std::optional<HostAddress> HostAddress::fromSystem(const sockaddr* system) {
  HostAddress address;
  if (system->sa_family == AF_INET) {
    sockaddr_in four{};
    std::memcpy(&four, system, sizeof four);
    std::memcpy(address.bytes_.data(), &four.sin_addr, sizeof four.sin_addr);
    return address;
  }
  if (system->sa_family != AF_INET6) return std::nullopt;
  sockaddr_in6 six{};
  std::memcpy(&six, system, sizeof six);
  address.isIPv6_ = true;
  address.scope_ = six.sin6_scope_id;
  std::memcpy(address.bytes_.data(), &six.sin6_addr, sizeof six.sin6_addr);
  return address;
}

HostAddress HostAddress::loopback4() {
  HostAddress address;
  address.bytes_[0] = std::byte{127};
  address.bytes_[3] = std::byte{1};
  return address;
}

HostAddress HostAddress::loopback6() {
  HostAddress address;
  address.isIPv6_ = true;
  address.bytes_[15] = std::byte{1};
  return address;
}

bool HostAddress::isThisMachine() const {
  in6_addr six{};
  std::memcpy(&six, bytes_.data(), sizeof six);
  const bool isMapped = isIPv6_ && IN6_IS_ADDR_V4MAPPED(&six);
  if (isIPv6_ && !isMapped) return IN6_IS_ADDR_LOOPBACK(&six) || IN6_IS_ADDR_UNSPECIFIED(&six);
  std::uint32_t four = 0;
  std::memcpy(&four, bytes_.data() + (isMapped ? 12 : 0), sizeof four);
  return ntohl(four) >> 24 == IN_LOOPBACKNET || four == INADDR_ANY;
}

HostAddress HostAddress::unmapped() const {
  in6_addr six{};
  std::memcpy(&six, bytes_.data(), sizeof six);
  if (!isIPv6_ || !IN6_IS_ADDR_V4MAPPED(&six)) return *this;
  HostAddress four;
  std::copy(bytes_.begin() + 12, bytes_.end(), four.bytes_.begin());
  return four;
}

socklen_t HostAddress::fill(sockaddr_storage& out, std::uint16_t port) const {
  out = {};
  if (!isIPv6_) {
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_port = htons(port);
    std::memcpy(&four.sin_addr, bytes_.data(), sizeof four.sin_addr);
    std::memcpy(&out, &four, sizeof four);
    return sizeof four;
  }
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  six.sin6_port = htons(port);
  six.sin6_scope_id = scope_;
  std::memcpy(&six.sin6_addr, bytes_.data(), sizeof six.sin6_addr);
  std::memcpy(&out, &six, sizeof six);
  return sizeof six;
}

std::vector<HostAddress> interleaved(const std::vector<HostAddress>& addresses, std::size_t limit) {
  std::vector<HostAddress> order;
  if (addresses.empty()) return order;
  const bool preferred = addresses.front().isIPv6();
  auto first = addresses.begin();
  auto second = addresses.begin();
  const auto take = [&](auto& place, bool isIPv6) {
    place = std::find_if(place, addresses.end(), [isIPv6](const HostAddress& each) { return each.isIPv6() == isIPv6; });
    if (place == addresses.end() || order.size() == limit) return;
    order.push_back(*place);
    ++place;
  };
  while (order.size() < limit && (first != addresses.end() || second != addresses.end())) {
    take(first, preferred);
    take(second, !preferred);
  }
  return order;
}

}  // namespace platform::networking
