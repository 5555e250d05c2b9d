#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Metrics/ConnectionMetrics.hpp"
#include "Platform/Networking/Connecting/ConnectionOptions.hpp"
#include "Platform/Networking/Connecting/ConnectionTimes.hpp"
#include "Platform/Networking/Connecting/ProxyTunnel.hpp"
#include "Platform/Networking/Connecting/Resolver.hpp"
#include "Platform/Networking/Connecting/Route.hpp"
#include "Platform/Networking/Connecting/TLSContext.hpp"
#include "Platform/Networking/Connecting/TrustQuery.hpp"
#include "Platform/Networking/Failure.hpp"
#include "Platform/Networking/Loop/EventLoop.hpp"
#include "Platform/Networking/Loop/Timer.hpp"
#include "Platform/Networking/Streams/ByteStream.hpp"

namespace platform::networking {

class ConnectionAttempt;
class Connector;
class TLSStream;

/// What is spoken on a connection.
enum class ApplicationProtocol : std::uint8_t { http1, http2 };

/// What a connector made.
struct OpenStream {
  /// Connected, and secured where the origin is. It has no owner yet: the new one reads once without being told.
  std::unique_ptr<ByteStream> stream;
  /// As agreed in the handshake; without one HTTP/1.1, unless the options want HTTP/2 alone.
  ApplicationProtocol protocol = ApplicationProtocol::http1;
  ConnectionTimes times;
  std::shared_ptr<const ConnectionMetrics> metrics;
  /// Whether a session of an earlier connection was resumed, so that nobody was asked for a verdict.
  bool wasResumed = false;
  /// `TLSContext::trustEpoch` at the time the server was judged; to be compared when trust changed meanwhile.
  std::uint64_t trustEpoch = 0;
};

/// Who wants a connection. Whatever a callback does is allowed, destroying the connector included.
class ConnectorOwner {
 public:
  /// Something went well: the name was resolved, a connection made, bytes of the handshake received. The idle time-outs
  /// of those who wait begin again. Any number of times.
  virtual void connectorProgressed(Connector& connector) = 0;
  /// The server showed its chain and gets no further byte until `Connector::applyVerdict`, which may be called at once
  /// or any time later. At most once; not when a session is resumed.
  virtual void connectorAsksTrust(Connector& connector, std::shared_ptr<const TrustQuery> query) = 0;
  /// It is done; the last call, unless it failed.
  virtual void connectorOpened(Connector& connector, OpenStream open) noexcept = 0;
  /// It is given up; the last call. After a verdict against the server the cause is `serverNotTrusted`.
  virtual void connectorFailed(Connector& connector, Failure failure) noexcept = 0;

 protected:
  ~ConnectorOwner() = default;
};

/// Makes one connection: finds the host's addresses, tries them in turns (RFC 8305), has a proxy lead the first that
/// connects on to the origin where the route says so, and secures it. Loop side only. Its destruction gives everything
/// up at once and leaves no descriptor behind.
class Connector final : private LookUp, private Timer, private Deferred, private StreamOwner, private ProxyTunnelOwner {
 public:
  /// How long an attempt has before the next one joins it (RFC 8305, 5).
  static constexpr Duration attemptDelay = std::chrono::milliseconds(250);
  /// How many addresses of a host are tried.
  static constexpr std::size_t mostAddresses = 16;
  /// How long to wait where the queue of a Unix socket is full.
  static constexpr Duration socketDelay = std::chrono::milliseconds(5);

  enum class Phase : std::uint8_t {
    idle,        ///< not started
    resolving,   ///< the name is looked up
    connecting,  ///< addresses are tried
    tunnelling,  ///< a proxy is asked for the way to the origin
    securing,    ///< the TLS handshake is under way
    judging,     ///< the owner was asked for a verdict; no time-out counts
    done         ///< the owner was told the outcome, or is about to be
  };

  /// The context may be null when the origin is not secure. All but the route outlive the connector.
  Connector(EventLoop& loop, Resolver& resolver, const ConnectionOptions& options, std::shared_ptr<TLSContext> context,
            Route route, ConnectorOwner& owner);
  ~Connector() override;
  Connector(const Connector&) = delete;
  Connector& operator=(const Connector&) = delete;

  /// Begins; calls the owner only after it returned. Once.
  void start();
  /// The verdict on the server. May call the owner at once. Requires: `phase()` is `judging`.
  void applyVerdict(bool isTrusted);

  Phase phase() const { return phase_; }
  const Route& route() const { return route_; }
  const ConnectionTimes& times() const { return times_; }
  /// Null until an address has connected.
  std::shared_ptr<const ConnectionMetrics> metricsSoFar() const noexcept;
  /// Whom the connection is made to: the origin, or the proxy on the way to it.
  const std::string& peerHost() const;
  std::uint16_t peerPort() const;

 private:
  friend class ConnectionAttempt;

  void nameResolved(const Resolution& resolution) override;
  void timerFired() override;
  void runDeferred() override;
  void streamReadable() override;
  void streamWritable() override;
  void tunnelProgressed() override { owner_.connectorProgressed(*this); }
  void tunnelOpened() override;
  void tunnelChallenged() override;
  void tunnelFailed(Failure failure) override;

  /// Where memory runs out on the way, the connection fails.
  template <class Work>
  void withMemory(Work work);
  void begin();
  void useAddresses(const HostAddresses& addresses);
  void noteBeginning();
  HostAddresses fixedAddresses() const;
  void trySocket();
  void failToConnect();
  void tryNext();
  void attemptConnected(ConnectionAttempt& attempt);
  void attemptFailed(ConnectionAttempt& attempt, int systemError);
  void noteError(int systemError);
  void openInTheClear(std::unique_ptr<ByteStream> stream);
  /// A failure to reach the peer.
  Failure ofPeer(Failure failure) const;
  void askProxy(std::unique_ptr<ByteStream> connection);
  /// Of a stream that leads to the origin.
  void useConnection(std::unique_ptr<ByteStream> connection);
  void secure(std::unique_ptr<ByteStream> connection);
  void continueHandshake();
  void failWhileJudging();
  void finish();
  void failLater(Failure failure);
  void fail(Failure failure);

  EventLoop& loop_;
  Resolver& resolver_;
  const ConnectionOptions& options_;
  const std::shared_ptr<TLSContext> context_;
  const Route route_;
  ConnectorOwner& owner_;

  Phase phase_ = Phase::idle;
  ConnectionTimes times_;
  std::shared_ptr<ConnectionMetrics> metrics_;
  /// Those left to try, the next one last.
  std::vector<HostAddress> addresses_;
  std::vector<std::unique_ptr<ConnectionAttempt>> attempts_;
  /// The most telling error of the attempts so far.
  int systemError_ = 0;
  std::unique_ptr<ProxyTunnel> tunnel_;
  /// Of the proxy, so far.
  unsigned challenges_ = 0;
  std::unique_ptr<TLSStream> secured_;
  /// What the owner is told from the loop.
  Failure failure_;
};

}  // namespace platform::networking
