#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "Platform/Networking/Exchange.hpp"
#include "Platform/Networking/HTTPConnection.hpp"
#include "Platform/Networking/Loop/Timer.hpp"
#include "Platform/Networking/Pool/ConnectionBudget.hpp"
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

  /// `number`: later ones have greater numbers.
  PooledConnection(HostConnections& host, std::uint64_t number, ConnectionSlot slot)
      : host_(host), number_(number), slot_(std::move(slot)) {}
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
  /// Whether it will take more exchanges, now or when others have ended.
  bool takesMore() const { return state_ != State::retired; }
  bool canTake() const { return state_ != State::retired && http_->capacity() > 0; }
  /// Whether it is as new as the exchange wants it.
  bool mayServe(const Exchange& exchange) const { return number_ >= exchange.firstConnection(); }

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
  const std::uint64_t number_;
  ConnectionSlot slot_;  ///< returned once `http_` is gone
  std::unique_ptr<HTTPConnection> http_;
  State state_ = State::inUse;
  bool isMultiplexed_ = false;
};

}  // namespace platform::networking
