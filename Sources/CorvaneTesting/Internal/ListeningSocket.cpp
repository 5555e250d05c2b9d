#include "CorvaneTesting/Internal/ListeningSocket.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace corvane::testkit::detail {

namespace {

[[noreturn]] void fail(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

struct Address {
  sockaddr_storage storage{};
  socklen_t length = 0;

  sockaddr* pointer() { return reinterpret_cast<sockaddr*>(&storage); }
};

Address makeAddress(const std::string& text, std::uint16_t port) {
  Address result;
  auto* v6 = reinterpret_cast<sockaddr_in6*>(&result.storage);
  auto* v4 = reinterpret_cast<sockaddr_in*>(&result.storage);
  if (::inet_pton(AF_INET6, text.c_str(), &v6->sin6_addr) == 1) {
    v6->sin6_family = AF_INET6;
    v6->sin6_port = htons(port);
    result.length = sizeof(sockaddr_in6);
  } else if (::inet_pton(AF_INET, text.c_str(), &v4->sin_addr) == 1) {
    v4->sin_family = AF_INET;
    v4->sin_port = htons(port);
    result.length = sizeof(sockaddr_in);
  } else {
    throw std::invalid_argument("'" + text + "' is no numeric IP address");
  }
  return result;
}

}  // namespace

Descriptor boundSocket(const std::string& address, std::uint16_t port) {
  Address target = makeAddress(address, port);
  Descriptor socket(::socket(target.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.isOpen()) fail("cannot make a socket");
  const int on = 1;
  if (target.storage.ss_family == AF_INET6) ::setsockopt(socket.value(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
  if (port != 0) ::setsockopt(socket.value(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (::bind(socket.value(), target.pointer(), target.length) != 0) {
    fail("cannot bind " + address + " port " + std::to_string(port));
  }
  return socket;
}

void startListening(const Descriptor& socket, int backlog) {
  if (::listen(socket.value(), backlog) != 0) fail("cannot listen");
}

std::uint16_t portOf(const Descriptor& socket) {
  Address address;
  address.length = sizeof address.storage;
  if (::getsockname(socket.value(), address.pointer(), &address.length) != 0) fail("cannot read a socket's port");
  const bool isV6 = address.storage.ss_family == AF_INET6;
  return ntohs(isV6 ? reinterpret_cast<sockaddr_in6*>(&address.storage)->sin6_port
                    : reinterpret_cast<sockaddr_in*>(&address.storage)->sin_port);
}

}  // namespace corvane::testkit::detail
