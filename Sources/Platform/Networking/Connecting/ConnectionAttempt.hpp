#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "Platform/Networking/Connecting/HostAddress.hpp"
#include "Platform/Networking/Streams/SocketStream.hpp"

namespace platform::networking {

class Connector;

/// A socket on its way to one address of a host. Its destruction closes it.
class ConnectionAttempt final : private StreamOwner {
 public:
  /// Begins to connect. Null, with the system's error, when that fails at once.
  static std::unique_ptr<ConnectionAttempt> make(EventLoop& loop, Connector& connector, const HostAddress& address,
                                                 std::uint16_t port, int& systemError);
  ConnectionAttempt(const ConnectionAttempt&) = delete;
  ConnectionAttempt& operator=(const ConnectionAttempt&) = delete;

  std::unique_ptr<SocketStream> takeStream() { return std::move(stream_); }

 private:
  ConnectionAttempt(Connector& connector, std::unique_ptr<SocketStream> stream)
      : connector_(connector), stream_(std::move(stream)) {}

  /// Comes along with being writable.
  void streamReadable() override {}
  void streamWritable() override;

  Connector& connector_;
  std::unique_ptr<SocketStream> stream_;
};

}  // namespace platform::networking
