#pragma once

#include <memory>

#include "Platform/Networking/Connecting/ProxyHandshake.hpp"
#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

class ProxyTunnel;

/// Who wants a tunnel. Whatever a callback does is allowed, destroying the tunnel included.
class ProxyTunnelOwner {
 public:
  /// The proxy said something. Any number of times.
  virtual void tunnelProgressed() = 0;
  /// The stream leads to the origin: `ProxyTunnel::takeStream`. The last call, unless it failed.
  virtual void tunnelOpened() = 0;
  /// Another tunnel, on another connection, may succeed with the credentials that are known now. The last call.
  virtual void tunnelChallenged() = 0;
  /// The last call.
  virtual void tunnelFailed(Failure failure) = 0;

 protected:
  ~ProxyTunnelOwner() = default;
};

/// Leads a connection to a proxy on to the origin. Loop side only.
class ProxyTunnel final : private StreamOwner {
 public:
  /// The stream is connected to the proxy, which outlives the tunnel. `challenges`: how many tunnels before this one
  /// were challenged.
  ProxyTunnel(std::unique_ptr<ByteStream> stream, const Proxy& proxy, const Origin& origin, unsigned challenges,
              ProxyTunnelOwner& owner);
  ProxyTunnel(const ProxyTunnel&) = delete;
  ProxyTunnel& operator=(const ProxyTunnel&) = delete;

  /// Begins. May call the owner at once.
  void start() { advance(); }
  /// Without an owner. Requires: it is open.
  std::unique_ptr<ByteStream> takeStream();

 private:
  void streamReadable() override;
  void streamWritable() override { streamReadable(); }
  void advance();
  void write();
  void lost(IOStatus status);

  const std::unique_ptr<ProxyHandshake> handshake_;
  const Proxy& proxy_;
  ProxyTunnelOwner& owner_;
  std::unique_ptr<ByteStream> stream_;
};

}  // namespace platform::networking
