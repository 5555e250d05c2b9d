#pragma once

#include <sys/socket.h>

#include <memory>
#include <string>
#include <utility>

#include "Platform/Foundation/Internal/FileDescriptor.hpp"
#include "Platform/Networking/Connecting/ConnectionOptions.hpp"
#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/Streams/SocketStream.hpp"

namespace platform::networking {

class Connector;

/// A socket on its way to one address of a host, or to a Unix socket. Its destruction closes it.
class ConnectionAttempt final : private StreamOwner {
 public:
  /// Begins to connect to the address, at the port of the connector's peer. Null, with the system's error, when that
  /// fails at once.
  static std::unique_ptr<ConnectionAttempt> make(EventLoop& loop, Connector& connector, const HostAddress& address,
                                                 const ConnectionOptions& options, int& systemError);
  /// The same for the Unix socket of that path.
  static std::unique_ptr<ConnectionAttempt> make(EventLoop& loop, Connector& connector, const std::string& path,
                                                 int& systemError);
  ConnectionAttempt(const ConnectionAttempt&) = delete;
  ConnectionAttempt& operator=(const ConnectionAttempt&) = delete;

  std::unique_ptr<SocketStream> takeStream() { return std::move(stream_); }

 private:
  static std::unique_ptr<ConnectionAttempt> connect(EventLoop& loop, Connector& connector,
                                                    detail::FileDescriptor socket, const sockaddr_storage& to,
                                                    socklen_t size, int& systemError);
  ConnectionAttempt(Connector& connector, std::unique_ptr<SocketStream> stream)
      : connector_(connector), stream_(std::move(stream)) {}

  /// Comes along with being writable.
  void streamReadable() override {}
  void streamWritable() override;

  Connector& connector_;
  std::unique_ptr<SocketStream> stream_;
};

}  // namespace platform::networking
