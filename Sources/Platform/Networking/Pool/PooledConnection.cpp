#include "Platform/Networking/Pool/PooledConnection.hpp"

#include <utility>

#include "Platform/Networking/Pool/ConnectionPool.hpp"

namespace platform::networking {

PooledConnection::~PooledConnection() {
  if (state_ == State::idle) host_.pool().leftIdle(*this);
  host_.pool().loop().disarm(*this);
}

void PooledConnection::adopt(std::unique_ptr<HTTPConnection> connection, bool isMultiplexed) {
  http_ = std::move(connection);
  isMultiplexed_ = isMultiplexed;
}

void PooledConnection::becomeIdle() {
  state_ = State::idle;
  host_.pool().loop().arm(*this, host_.pool().loop().now() + host_.pool().options().idleLifetime);
  // The last step: it may close another connection, and have this one used again.
  host_.pool().becameIdle(*this);
}

void PooledConnection::becomeUsed() {
  host_.pool().loop().disarm(*this);
  host_.pool().leftIdle(*this);
  state_ = State::inUse;
}

void PooledConnection::connectionAvailable(HTTPConnection&) { host_.connectionAvailable(*this); }

void PooledConnection::connectionRetired(HTTPConnection&) {
  if (state_ == State::idle) becomeUsed();
  state_ = State::retired;
  host_.connectionRetired(*this);
}

void PooledConnection::connectionClosed(HTTPConnection&) { host_.connectionClosed(*this); }

/// Nobody used it for so long that its server has probably given it up, too.
void PooledConnection::timerFired() { http_->retire(); }

}  // namespace platform::networking
