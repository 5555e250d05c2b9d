#pragma once

#include <memory>

#include "Platform/Networking/HTTPConnection.hpp"
#include "Platform/Networking/Loop/Timer.hpp"
#include "Platform/Networking/Pool/IntrusiveList.hpp"

namespace platform::networking {

class ConnectionPool;
class HostConnections;

/// A connection of the pool, and where it stands there. Loop side only.
class PooledConnection final : public ListLinks<PooledConnection>, private HTTPConnectionOwner, private Timer {
 public:
  enum class State : std::uint8_t {
    inUse,   ///< exchanges are under way, or about to be
    idle,    ///< nothing is under way; it waits for use, and expires
    retired  ///< it takes no more exchanges, and ends with those under way
  };

  /// How long a connection is kept idle.
  static constexpr Duration idleLifetime = std::chrono::seconds(90);

  explicit PooledConnection(HostConnections& host) : host_(host) {}
  ~PooledConnection() override;
  PooledConnection(const PooledConnection&) = delete;
  PooledConnection& operator=(const PooledConnection&) = delete;

  /// Called once, before everything else.
  void adopt(std::unique_ptr<HTTPConnection> connection, bool isMultiplexed);
  HTTPConnectionOwner& owner() { return *this; }

  HTTPConnection& http() const { return *http_; }
  HostConnections& host() const { return host_; }
  State state() const { return state_; }
  /// Whether several exchanges run on it at a time (HTTP/2).
  bool isMultiplexed() const { return isMultiplexed_; }
  bool canTake() const { return state_ != State::retired && http_->capacity() > 0; }

  void becomeIdle();
  void becomeUsed();
  /// Where its host keeps it.
  std::size_t place = 0;

 private:
  void connectionAvailable(HTTPConnection&) override;
  void connectionRetired(HTTPConnection&) override;
  void connectionClosed(HTTPConnection&) override;
  void timerFired() override;

  HostConnections& host_;
  std::unique_ptr<HTTPConnection> http_;
  State state_ = State::inUse;
  bool isMultiplexed_ = false;
};

}  // namespace platform::networking
