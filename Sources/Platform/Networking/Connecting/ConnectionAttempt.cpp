#include "Platform/Networking/Connecting/ConnectionAttempt.hpp"

#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "Platform/Networking/Connecting/Connector.hpp"

namespace platform::networking {

namespace {

detail::FileDescriptor openSocket(int family) {
  return detail::FileDescriptor(::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

/// Ties the socket to where the options want connections to come from. False, with the system's error, where it cannot.
bool bind(const detail::FileDescriptor& socket, int family, const ConnectionOptions& options) {
  const std::string& name = options.interfaceName;
  if (!name.empty() && ::setsockopt(socket.number(), SOL_SOCKET, SO_BINDTODEVICE, name.data(),
                                    static_cast<socklen_t>(name.size())) != 0) {
    return false;
  }
  if (!options.localAddress) return true;
  if (options.localAddress->family() != family) {
    errno = EADDRNOTAVAIL;
    return false;
  }
  sockaddr_storage from;
  const socklen_t size = options.localAddress->fill(from, 0);
  return ::bind(socket.number(), reinterpret_cast<const sockaddr*>(&from), size) == 0;
}

}  // namespace

std::unique_ptr<ConnectionAttempt> ConnectionAttempt::make(EventLoop& loop, Connector& connector,
                                                           const HostAddress& address, const ConnectionOptions& options,
                                                           int& systemError) {
  detail::FileDescriptor socket = openSocket(address.family());
  if (!socket.isOpen() || !bind(socket, address.family(), options)) {
    systemError = errno;
    return nullptr;
  }
  sockaddr_storage to;
  const socklen_t size = address.fill(to, connector.peerPort());
  return connect(loop, connector, std::move(socket), to, size, systemError);
}

std::unique_ptr<ConnectionAttempt> ConnectionAttempt::make(EventLoop& loop, Connector& connector,
                                                           const std::string& path, int& systemError) {
  detail::FileDescriptor socket = openSocket(AF_UNIX);
  if (!socket.isOpen()) {
    systemError = errno;
    return nullptr;
  }
  sockaddr_storage to{};
  auto& local = reinterpret_cast<sockaddr_un&>(to);
  local.sun_family = AF_UNIX;
  // Its length was checked when the options were made.
  std::copy_n(path.data(), std::min(path.size(), sizeof local.sun_path - 1), local.sun_path);
  return connect(loop, connector, std::move(socket), to, sizeof local, systemError);
}

std::unique_ptr<ConnectionAttempt> ConnectionAttempt::connect(EventLoop& loop, Connector& connector,
                                                              detail::FileDescriptor socket, const sockaddr_storage& to,
                                                              socklen_t size, int& systemError) {
  // An interrupted call goes on by itself, as one that does not block does anyway (connect(2)).
  if (::connect(socket.number(), reinterpret_cast<const sockaddr*>(&to), size) != 0 && errno != EINPROGRESS &&
      errno != EINTR) {
    systemError = errno;
    return nullptr;
  }
  auto stream = SocketStream::make(loop, std::move(socket), systemError);
  if (!stream) return nullptr;
  stream->awaitConnection();
  std::unique_ptr<ConnectionAttempt> attempt(new ConnectionAttempt(connector, std::move(stream)));
  attempt->stream_->setOwner(attempt.get());
  return attempt;
}

void ConnectionAttempt::streamWritable() {
  const int systemError = stream_->connectionError();
  if (systemError == 0) {
    connector_.attemptConnected(*this);
  } else {
    connector_.attemptFailed(*this, systemError);
  }
}

}  // namespace platform::networking
