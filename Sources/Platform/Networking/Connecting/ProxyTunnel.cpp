#include "Platform/Networking/Connecting/ProxyTunnel.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <span>
#include <utility>

namespace platform::networking {

ProxyTunnel::ProxyTunnel(std::unique_ptr<ByteStream> stream, const Proxy& proxy, const Origin& origin,
                         unsigned challenges, ProxyTunnelOwner& owner)
    : handshake_(ProxyHandshake::make(proxy, origin, challenges)),
      proxy_(proxy),
      owner_(owner),
      stream_(std::move(stream)) {
  stream_->setOwner(this);
}

std::unique_ptr<ByteStream> ProxyTunnel::takeStream() {
  stream_->setOwner(nullptr);
  return std::move(stream_);
}

void ProxyTunnel::streamReadable() {
  try {
    advance();
  } catch (const std::bad_alloc&) {
    owner_.tunnelFailed(Failure::outOfMemory());
  }
}

void ProxyTunnel::advance() {
  bool hasHeard = false;
  while (true) {
    // A proxy that refuses may have said why before it closed its side.
    write();
    std::array<std::byte, 4096> room;
    const IOResult result = stream_->read(std::span(room).first(std::min(room.size(), handshake_->wanted())));
    if (result.status == IOStatus::wouldBlock) break;
    if (result.status != IOStatus::done) return lost(result.status);
    hasHeard = true;
    switch (handshake_->take({reinterpret_cast<const char*>(room.data()), result.count})) {
      case ProxyHandshake::State::talking:
        break;
      case ProxyHandshake::State::open:
        return owner_.tunnelOpened();
      case ProxyHandshake::State::challenged:
        return owner_.tunnelChallenged();
      case ProxyHandshake::State::failed:
        return owner_.tunnelFailed(handshake_->failure());
    }
  }
  if (hasHeard) owner_.tunnelProgressed();
}

void ProxyTunnel::write() {
  while (!handshake_->unsent().empty()) {
    const Bytes piece = bytesOf(handshake_->unsent());
    const IOResult result = stream_->write({&piece, 1});
    if (result.status != IOStatus::done) return;
    handshake_->sent(result.count);
  }
}

void ProxyTunnel::lost(IOStatus status) {
  const bool isClosed = status == IOStatus::closed || !stream_->failure();
  owner_.tunnelFailed({.cause = FailureCause::tunnelLost,
                       .message = proxy_.description() + ", " +
                                  (isClosed ? "closed the connection" : "broke the connection") +
                                  " before it led to the server",
                       .systemError = isClosed ? 0 : stream_->failure()->systemError});
}

}  // namespace platform::networking
