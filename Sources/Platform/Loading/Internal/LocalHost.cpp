#include "Platform/Loading/Internal/LocalHost.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <string_view>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::detail {

namespace {

bool isHere(const in_addr& address) {
  const std::uint32_t number = ntohl(address.s_addr);
  return (number >> 24) == IN_LOOPBACKNET || number == INADDR_ANY;
}

bool isHere(const in6_addr& address) {
  if (IN6_IS_ADDR_V4MAPPED(&address)) {
    in_addr mapped{};
    mapped.s_addr = address.s6_addr32[3];
    return isHere(mapped);
  }
  return IN6_IS_ADDR_LOOPBACK(&address) || IN6_IS_ADDR_UNSPECIFIED(&address);
}

bool isLocalName(std::string_view name) {
  constexpr std::string_view local = "localhost";
  if (name.ends_with('.')) name.remove_suffix(1);
  if (name.size() < local.size()) return false;
  const std::string_view rest = name.substr(0, name.size() - local.size());
  return equalsIgnoringCase(name.substr(rest.size()), local) && (rest.empty() || rest.ends_with('.'));
}

}  // namespace

bool isThisMachine(const std::string& host) {
  in6_addr six{};
  if (::inet_pton(AF_INET6, host.c_str(), &six) == 1) return isHere(six);
  in_addr four{};
  // Also reads "127.1" and "0x7f000001", as the transport does.
  if (::inet_aton(host.c_str(), &four) == 1) return isHere(four);
  return isLocalName(host);
}

}  // namespace platform::detail
