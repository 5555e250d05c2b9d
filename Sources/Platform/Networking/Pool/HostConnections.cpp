#include "Platform/Networking/Pool/HostConnections.hpp"

#include <algorithm>
#include <new>
#include <utility>

#include "Platform/Networking/HTTP1/HTTP1Connection.hpp"
#include "Platform/Networking/HTTP2/HTTP2Connection.hpp"
#include "Platform/Networking/Pool/ConnectionPool.hpp"

namespace platform::networking {

HostConnections::HostConnections(ConnectionPool& pool, Route route) : pool_(pool), route_(std::move(route)) {}

HostConnections::~HostConnections() { pool_.loop().disarm(*this); }

void HostConnections::serve(Exchange& exchange) {
  exchange.state_ = Exchange::State::connection;
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
  for (const auto& connection : connections_) {
    if (connection->isMultiplexed() && connection->canTake() && connection->mayServe(exchange)) return connection.get();
  }
  const auto free = std::find_if(idle_.rbegin(), idle_.rend(), [&](const PooledConnection* idle) {
    return idle->canTake() && idle->mayServe(exchange);
  });
  return free == idle_.rend() ? nullptr : *free;
}

/// Whether there is an HTTP/2 connection that is full for the moment.
bool HostConnections::isRoomLikely(const Exchange& exchange) const {
  return std::any_of(connections_.begin(), connections_.end(), [&](const auto& connection) {
    return connection->isMultiplexed() && connection->takesMore() && connection->mayServe(exchange);
  });
}

void HostConnections::start(Exchange& exchange, PooledConnection& connection) {
  if (connection.state() == PooledConnection::State::idle) {
    connection.becomeUsed();
    std::erase(idle_, &connection);
  }
  exchange.state_ = Exchange::State::underWay;
  exchange.connection_ = &connection.http();
  exchange.isOnKeptConnection_ = connection.http().started() > 0;
  exchange.touch();
  if (!exchange.isArmed()) exchange.startIdleTime();
  connection.http().start(exchange.stream());
}

/// Where there is no memory for one, the exchange ends.
void HostConnections::connectFor(Exchange* exchange) {
  if (exchange && inheritsSpare(*exchange)) return;
  PendingConnection* pending = nullptr;
  try {
    pending = pending_.emplace_back(std::make_unique<PendingConnection>(*this, exchange)).get();
  } catch (const std::bad_alloc&) {
    if (exchange) endWaiting(*exchange, Failure::outOfMemory());
    return;
  }
  if (exchange) exchange->pending_ = pending;
  pending->start();
}

/// Takes a connection that is being made for nobody. One that takes long probably hangs, and is ended, unless the
/// application is what it waits for.
bool HostConnections::inheritsSpare(Exchange& exchange) {
  const TimePoint oldest = pool_.loop().now() - patience;
  std::erase_if(pending_, [&](const auto& pending) {
    return !pending->exchange() && !pending->isBeingJudged() && pending->begun() < oldest;
  });
  const auto spare =
      std::find_if(pending_.begin(), pending_.end(), [](const auto& pending) { return !pending->exchange(); });
  if (spare == pending_.end()) return false;
  (*spare)->setExchange(&exchange);
  exchange.pending_ = spare->get();
  return true;
}

void HostConnections::endWaiting(Exchange& exchange, Failure failure) {
  waiting_.remove(exchange);
  pool_.exchangeEnded(exchange, ExchangeProblem{.kind = ExchangeProblem::Kind::network,
                                                .failure = std::move(failure),
                                                .requestWasSent = exchange.requestWasSent()});
}

/// For those for whom nothing is made yet. Where one connection may serve them all, `oneToShare` makes only one.
void HostConnections::connectForWaiting(Making making) {
  while (Exchange* const exchange = firstUnattended()) {
    if (!exchange->isArmed()) exchange->startIdleTime();
    connectFor(exchange);
    if (making == Making::oneToShare && mayShare()) break;
  }
  if (!firstUnattended()) return;
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) {
    if (!exchange->isArmed()) exchange->startIdleTime();
  }
  pool_.loop().arm(*this, pool_.loop().now() + patience);
}

/// For those who wait for what is no more.
void HostConnections::connectIfNothingIsLikely() {
  Exchange* const exchange = firstUnattended();
  if (exchange && pending_.empty() && !usableConnection(*exchange) && !isRoomLikely(*exchange)) connectForWaiting();
}

/// Nothing is being made any more for those who still wait.
void HostConnections::waitForRoom() {
  if (!pending_.empty() || !waiting_.first()) return;
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) exchange->stopIdleTime();
  pool_.loop().arm(*this, pool_.loop().now() + roomPatience);
}

Exchange* HostConnections::firstUnattended() const {
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) {
    if (!exchange->pending_) return exchange;
  }
  return nullptr;
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
  if (hasTimedOut && exchange.pending_) {
    // Whatever holds it up holds up its heirs, too.
    endPending(*std::exchange(exchange.pending_, nullptr));
    waiting_.remove(exchange);
    connectForWaiting();
    return;
  }
  takeFromWaiting(exchange);
}

bool HostConnections::decide(const std::shared_ptr<const TrustQuery>& query, const std::optional<Error>& rejection) {
  const auto found = std::find_if(pending_.begin(), pending_.end(),
                                  [&](const auto& candidate) { return candidate->query() == query; });
  if (found == pending_.end()) return false;
  PendingConnection& pending = **found;
  // Those that the verdict held up have their whole time again.
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) {
    exchange->startIdleTime();
  }
  if (!rejection) {
    if (firstUnattended()) pool_.loop().arm(*this, pool_.loop().now() + patience);
    pending.accept();
    return true;
  }
  Exchange* const exchange = pending.exchange();
  if (exchange) {
    exchange->pending_ = nullptr;
    waiting_.remove(*exchange);
  }
  endPending(pending);
  connectForWaiting(Making::oneForEach);
  if (exchange) {
    pool_.exchangeEnded(*exchange, ExchangeProblem{.kind = ExchangeProblem::Kind::rejected,
                                                   .rejection = rejection,
                                                   .requestWasSent = exchange->requestWasSent()});
  }
  pool_.admit();
  return true;
}

void HostConnections::timerFired() {
  if (!isJudging()) connectForWaiting();
}

/// Whether a verdict of the application is what holds things up.
bool HostConnections::isJudging() const {
  return std::any_of(pending_.begin(), pending_.end(),
                     [](const auto& candidate) { return candidate->isBeingJudged(); });
}

std::unique_ptr<PendingConnection> HostConnections::removePending(PendingConnection& pending) {
  const auto found = std::find_if(pending_.begin(), pending_.end(),
                                  [&](const auto& candidate) { return candidate.get() == &pending; });
  std::unique_ptr<PendingConnection> removed = std::move(*found);
  pending_.erase(found);
  if (pending_.empty()) pool_.loop().disarm(*this);
  return removed;
}

void HostConnections::endPending(PendingConnection& pending) { removePending(pending); }

void HostConnections::pendingProgressed(PendingConnection& pending) {
  if (pending.exchange()) pending.exchange()->touch();
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) {
    if (!exchange->pending_) exchange->touch();
  }
}

/// While the application judges, no time passes for those who wait for it.
void HostConnections::pendingAsksTrust(PendingConnection& pending) {
  if (pending.exchange()) pending.exchange()->stopIdleTime();
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) {
    if (!exchange->pending_) exchange->stopIdleTime();
  }
  pool_.ask(pending.query());
}

void HostConnections::pendingOpened(PendingConnection& pending, OpenStream open) {
  const std::unique_ptr<PendingConnection> ended = removePending(pending);
  if (open.wasResumed && open.trustEpoch != pool_.context()->trustEpoch()) {
    // The verdict that the session had is not that of the trust in force.
    connectFor(pending.exchange());
    return;
  }
  const bool isMultiplexed = open.protocol == ApplicationProtocol::http2;
  Exchange* const exchange = pending.exchange();
  PooledConnection* made = nullptr;
  try {
    made = &adopt(std::move(open), isMultiplexed);
  } catch (const std::bad_alloc&) {
    endFailed(exchange, Failure::outOfMemory());
    return;
  }
  PooledConnection& connection = *made;
  protocol_ = isMultiplexed ? Protocol::http2 : Protocol::http1;

  if (exchange) {
    exchange->pending_ = nullptr;
    waiting_.remove(*exchange);
    start(*exchange, connection);
  }
  // The connection may be gone by now.
  if (isMultiplexed) {
    while (Exchange* const next = waiting_.first()) {
      PooledConnection* const free = usableConnection(*next);
      if (!free) break;
      takeFromWaiting(*next);
      start(*next, *free);
    }
    waitForRoom();
    return;
  }
  if (!exchange) connectionAvailable(connection);
  connectForWaiting();
}

PooledConnection& HostConnections::adopt(OpenStream open, bool isMultiplexed) {
  auto made = std::make_unique<PooledConnection>(*this, pool_.nextConnectionNumber());
  // So that none needs memory to become idle.
  if (idle_.capacity() <= connections_.size()) idle_.reserve(2 * connections_.size() + 4);
  HTTPConnectionOwner& owner = made->owner();
  if (isMultiplexed) {
    made->adopt(std::make_unique<HTTP2Connection>(pool_.loop(), std::move(open.stream), owner), true);
  } else {
    made->adopt(std::make_unique<HTTP1Connection>(pool_.loop(), std::move(open.stream), owner), false);
  }
  made->http().setTimes(open.times);
  made->place = connections_.size();
  return *connections_.emplace_back(std::move(made));
}

void HostConnections::pendingFailed(PendingConnection& pending, Failure failure) {
  const std::unique_ptr<PendingConnection> ended = removePending(pending);
  Exchange* const exchange = pending.exchange();
  if (exchange) {
    exchange->pending_ = nullptr;
    if (failure.cause == FailureCause::outOfDescriptors && pool_.closeOneIdle()) {
      // Its descriptor is free in the next iteration.
      pool_.loop().arm(*this, pool_.loop().now() + std::chrono::milliseconds(1));
      return;
    }
  }
  endFailed(exchange, std::move(failure));
}

/// The attempt for this exchange, if there is one, came to nothing.
void HostConnections::endFailed(Exchange* exchange, Failure failure) {
  if (exchange) {
    exchange->pending_ = nullptr;
    waiting_.remove(*exchange);
  }
  connectForWaiting(Making::oneForEach);
  if (exchange) {
    pool_.exchangeEnded(*exchange, ExchangeProblem{.kind = ExchangeProblem::Kind::network,
                                                   .failure = std::move(failure),
                                                   .requestWasSent = exchange->requestWasSent()});
  }
  pool_.admit();
}

void HostConnections::connectionAvailable(PooledConnection& connection) {
  serveWaiting(connection);
  if (connection.state() == PooledConnection::State::inUse && connection.http().active() == 0) {
    connection.becomeIdle();
    if (!connection.isMultiplexed()) idle_.push_back(&connection);
  }
  pool_.admit();
}

void HostConnections::connectionRetired(PooledConnection& connection) {
  std::erase(idle_, &connection);
  connectIfNothingIsLikely();
  pool_.admit();
}

void HostConnections::connectionClosed(PooledConnection& connection) {
  std::erase(idle_, &connection);
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
