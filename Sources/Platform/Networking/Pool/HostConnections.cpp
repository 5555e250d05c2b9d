#include "Platform/Networking/Pool/HostConnections.hpp"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

#include "Platform/Networking/Pool/ConnectionPool.hpp"

/// The exchanges, and the connections that are there. HostConnectionsMaking.cpp makes them.
namespace platform::networking {

HostConnections::HostConnections(ConnectionPool& pool, Route route) : pool_(pool), route_(std::move(route)) {
  if (const double rate = pool.options().requestsPerSecond; rate > 0)
    pace_ = std::make_unique<RequestPace>(pool, admission_, rate);
}

HostConnections::~HostConnections() {
  pool_.budget().stopWaiting(*this);
  pool_.loop().disarm(*this);
}

void HostConnections::serve(Exchange& exchange) {
  exchange.state_ = Exchange::State::connection;
  if (pace_) pace_->began();
  if (PooledConnection* const connection = usableConnection(exchange)) {
    exchange.startIdleTime();
    start(exchange, *connection);
    return;
  }
  waiting_.append(exchange);
  if (mayShare() && !pending_.empty()) {
    if (!isJudging()) exchange.startIdleTime();
    if (!isArmed()) pool_.loop().arm(*this, pool_.loop().now() + patience);
  } else if (isRoomLikely(exchange)) {
    if (!isArmed()) pool_.loop().arm(*this, pool_.loop().now() + roomPatience);
  } else {
    exchange.startIdleTime();
    connectFor(&exchange);
  }
}

PooledConnection* HostConnections::usableConnection(const Exchange& exchange) {
  for (PooledConnection* const connection : shared_) {
    if (connection->canTake() && connection->mayServe(exchange)) return connection;
  }
  const auto free = std::find_if(idle_.rbegin(), idle_.rend(), [&](const PooledConnection* idle) {
    return idle->canTake() && idle->mayServe(exchange);
  });
  return free == idle_.rend() ? nullptr : *free;
}

bool HostConnections::mayShare() const {
  const auto protocols = pool_.options().protocols;
  if (protocols != ConnectionOptions::Protocols::automatic) return protocols == ConnectionOptions::Protocols::onlyHTTP2;
  return route_.origin.isSecure && protocol_ != Protocol::http1;
}

/// Whether there is an HTTP/2 connection that is full for the moment.
bool HostConnections::isRoomLikely(const Exchange& exchange) const {
  return std::any_of(shared_.begin(), shared_.end(), [&](const PooledConnection* connection) {
    return connection->takesMore() && connection->mayServe(exchange);
  });
}

void HostConnections::start(Exchange& exchange, PooledConnection& connection) {
  if (connection.state() == PooledConnection::State::idle) {
    connection.becomeUsed();
    removeIdle(connection);
  }
  exchange.state_ = Exchange::State::underWay;
  if (pace_) pace_->wasSent();
  exchange.stopConnectTime();
  exchange.connection_ = &connection.http();
  exchange.isOnKeptConnection_ = connection.http().started() > 0;
  exchange.touch();
  if (!exchange.isArmed()) exchange.startIdleTime();
  exchange.owner_.requestGoesOut();
  connection.http().start(exchange.stream());
}

/// Mostly it is one of those that were used last.
void HostConnections::removeIdle(PooledConnection& connection) {
  const auto found = std::find(idle_.rbegin(), idle_.rend(), &connection);
  if (found != idle_.rend()) idle_.erase(std::next(found).base());
}

/// What is made for it is made for the next who waits. When nobody does, it may be kept for those who come: under load
/// connections become free sooner than new ones are made, and each would be ended before it is of use.
void HostConnections::takeFromWaiting(Exchange& exchange, Unneeded unneeded) {
  waiting_.remove(exchange);
  PendingConnection* const pending = std::exchange(exchange.pending_, nullptr);
  if (!pending) return;
  pending->setExchange(nullptr);
  if (Exchange* const next = firstUnattended()) {
    pending->setExchange(next);
    next->pending_ = pending;
  } else if (unneeded == Unneeded::isEnded || protocol_ != Protocol::http1) {
    endPending(*pending);
  }
}

void HostConnections::serveWaiting(PooledConnection& connection) {
  while (connection.canTake()) {
    Exchange* const exchange = firstServedBy(connection);
    if (!exchange) break;
    takeFromWaiting(*exchange, Unneeded::isKept);
    start(*exchange, connection);
  }
}

Exchange* HostConnections::firstServedBy(const PooledConnection& connection) const {
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) {
    if (connection.mayServe(*exchange)) return exchange;
  }
  return nullptr;
}

void HostConnections::withdraw(Exchange& exchange, bool hasTimedOut) {
  if (exchange.state() == Exchange::State::underWay) {
    HTTPConnection& connection = *std::exchange(exchange.connection_, nullptr);
    // A connection that has been silent since the request went out is probably dead: nobody else is to wait on it.
    const bool isSuspect = hasTimedOut && connection.lastReceived() <= exchange.metrics().requestBegun;
    connection.cancel(exchange.stream());
    if (isSuspect) connection.retire();
    return;
  }
  if (exchange.state() != Exchange::State::connection) return;
  noteConnecting(exchange);
  if (hasTimedOut && exchange.pending_) {
    // Whatever holds it up holds up its heirs, too.
    endPending(*std::exchange(exchange.pending_, nullptr));
    waiting_.remove(exchange);
    connectForWaiting();
    return;
  }
  takeFromWaiting(exchange);
}

void HostConnections::connectionAvailable(PooledConnection& connection) {
  if (pool_.budget().isWaitedFor() && connection.takesMore() && pool_.budget().yields(*this)) {
    connection.http().retire();
    pool_.admit();
    return;
  }
  serveWaiting(connection);
  if (connection.state() == PooledConnection::State::inUse && connection.http().active() == 0) {
    connection.becomeIdle();
    if (!connection.isMultiplexed()) idle_.push_back(&connection);
  }
  pool_.admit();
}

void HostConnections::connectionRetired(PooledConnection& connection) {
  removeIdle(connection);
  connectIfNothingIsLikely();
  pool_.admit();
}

void HostConnections::connectionClosed(PooledConnection& connection) {
  removeIdle(connection);
  std::erase(shared_, &connection);
  const std::size_t place = connection.place;
  // Kept until the next iteration, since it may close inside of something that was asked of it here.
  pool_.bury(std::move(connections_[place]));
  if (place + 1 != connections_.size()) {
    connections_[place] = std::move(connections_.back());
    connections_[place]->place = place;
  }
  connections_.pop_back();
  connectIfNothingIsLikely();
  pool_.admit();
}

}  // namespace platform::networking
