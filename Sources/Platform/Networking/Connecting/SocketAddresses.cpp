#include "Platform/Networking/Connecting/SocketAddresses.hpp"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cstddef>
#include <string>

namespace platform::networking {

namespace {

std::string pathOf(const sockaddr_storage& address, socklen_t size) {
  constexpr std::size_t start = offsetof(sockaddr_un, sun_path);
  const auto& local = reinterpret_cast<const sockaddr_un&>(address);
  const std::string path(local.sun_path, size > start ? size - start : 0);
  return path.substr(0, path.find('\0'));
}

std::uint16_t portOf(const sockaddr_storage& address) {
  return ntohs(address.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                                             : reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

template <class Ask>
NetworkAddress address(int socket, Ask ask) {
  sockaddr_storage storage{};
  auto& system = reinterpret_cast<sockaddr&>(storage);
  socklen_t size = sizeof storage;
  if (ask(socket, &system, &size) != 0) return {};
  if (storage.ss_family == AF_UNIX) return {.host = pathOf(storage, size)};
  std::array<char, NI_MAXHOST> host{};
  const int error = ::getnameinfo(&system, size, host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
  if (error != 0) return {};
  return {.host = host.data(), .port = portOf(storage)};
}

}  // namespace

NetworkAddress localAddress(int socket) { return address(socket, ::getsockname); }

NetworkAddress remoteAddress(int socket) { return address(socket, ::getpeername); }

}  // namespace platform::networking
