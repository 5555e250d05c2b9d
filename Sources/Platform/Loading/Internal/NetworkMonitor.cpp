#include "Platform/Loading/Internal/NetworkMonitor.hpp"

#include <ifaddrs.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace platform::detail {

namespace {

bool reachesBeyondItsLink(const sockaddr& address) {
  if (address.sa_family == AF_INET) {
    const auto& own = reinterpret_cast<const sockaddr_in&>(address);
    return (ntohl(own.sin_addr.s_addr) >> 16) != 0xA9FE;  // 169.254/16 (RFC 3927)
  }
  if (address.sa_family != AF_INET6) return false;
  const auto& own = reinterpret_cast<const sockaddr_in6&>(address);
  return !IN6_IS_ADDR_LINKLOCAL(&own.sin6_addr);
}

bool leadsOut(const ifaddrs& entry) {
  constexpr unsigned needed = IFF_UP | IFF_RUNNING;
  return entry.ifa_addr != nullptr && (entry.ifa_flags & needed) == needed && (entry.ifa_flags & IFF_LOOPBACK) == 0 &&
         reachesBeyondItsLink(*entry.ifa_addr);
}

}  // namespace

NetworkMonitor::NetworkMonitor()
    : descriptor_(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE)) {
  if (descriptor_ < 0) return;
  sockaddr_nl address{};
  address.nl_family = AF_NETLINK;
  address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
  if (::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    ::close(descriptor_);
    descriptor_ = -1;
  }
}

NetworkMonitor::~NetworkMonitor() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool NetworkMonitor::drain() {
  std::array<char, 8192> messages;
  bool hasChanged = false;
  for (;;) {
    const ssize_t count = ::recv(descriptor_, messages.data(), messages.size(), 0);
    // ENOBUFS: more changed than the socket could keep.
    const bool isReport = count > 0 || (count < 0 && errno == ENOBUFS);
    if (!isReport && !(count < 0 && errno == EINTR)) return hasChanged;
    hasChanged = hasChanged || isReport;
  }
}

bool machineHasNetwork() {
  ifaddrs* list = nullptr;
  // Without an answer it is not for us to say that there is none.
  if (::getifaddrs(&list) != 0) return true;
  bool hasNetwork = false;
  for (const ifaddrs* entry = list; entry != nullptr && !hasNetwork; entry = entry->ifa_next) {
    hasNetwork = leadsOut(*entry);
  }
  ::freeifaddrs(list);
  return hasNetwork;
}

}  // namespace platform::detail
