#include "Harness/Descriptor.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace bench {
namespace {

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

Descriptor listenOnLoopback() {
  Descriptor listener(checked(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "socket"));
  const sockaddr_in address = loopback(0);
  checked(bind(listener.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
  checked(listen(listener.number(), 4096), "listen");
  return listener;
}

std::uint16_t portOf(const Descriptor& socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  checked(getsockname(socket.number(), reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
  return ntohs(address.sin_port);
}

Descriptor connectToLoopback(std::uint16_t port) {
  Descriptor connection(checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
  const int on = 1;
  setsockopt(connection.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  const sockaddr_in address = loopback(port);
  checked(connect(connection.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "connect");
  return connection;
}

}  // namespace bench
