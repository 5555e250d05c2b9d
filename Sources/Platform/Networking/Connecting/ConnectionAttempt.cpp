#include "Platform/Networking/Connecting/ConnectionAttempt.hpp"

#include <sys/socket.h>

#include <cerrno>

#include "Platform/Networking/Connecting/Connector.hpp"

namespace platform::networking {

std::unique_ptr<ConnectionAttempt> ConnectionAttempt::make(EventLoop& loop, Connector& connector,
                                                           const HostAddress& address, std::uint16_t port,
                                                           int& systemError) {
  detail::FileDescriptor socket(::socket(address.family(), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  sockaddr_storage to;
  const socklen_t size = address.fill(to, port);
  // An interrupted call goes on by itself, as one that does not block does anyway (connect(2)).
  if (!socket.isOpen() || (::connect(socket.number(), reinterpret_cast<const sockaddr*>(&to), size) != 0 &&
                           errno != EINPROGRESS && errno != EINTR)) {
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
