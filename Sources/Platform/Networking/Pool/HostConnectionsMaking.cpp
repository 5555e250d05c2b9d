#include "Platform/Networking/Pool/HostConnections.hpp"

#include <algorithm>
#include <new>
#include <utility>

#include "Platform/Networking/HTTP1/HTTP1Connection.hpp"
#include "Platform/Networking/HTTP2/HTTP2Connection.hpp"
#include "Platform/Networking/Pool/ConnectionPool.hpp"
#include "Platform/Networking/Streams/ThrottledStream.hpp"

/// How connections are made, for whom, and what becomes of the attempts.
namespace platform::networking {

bool HostConnections::connectFor(Exchange* exchange) {
  if (exchange && inheritsSpare(*exchange)) return true;
  std::optional<ConnectionSlot> slot = pool_.budget().take(*this);
  if (!slot) {
    waitForSlot();
    return false;
  }
  makeConnection(exchange, std::move(*slot));
  return true;
}

/// Where there is no memory for one, the exchange ends.
void HostConnections::makeConnection(Exchange* exchange, ConnectionSlot slot) {
  PendingConnection* pending = nullptr;
  try {
    pending = pending_.emplace_back(std::make_unique<PendingConnection>(*this, exchange, std::move(slot))).get();
  } catch (const std::bad_alloc&) {
    if (exchange) endWaiting(*exchange, Failure::outOfMemory());
    return;
  }
  if (exchange) exchange->pending_ = pending;
  pending->start();
}

/// No time passes for those who wait for nothing but a turn.
void HostConnections::waitForSlot() {
  if (mayShare() && !pending_.empty()) return;
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) {
    if (!exchange->pending_) exchange->stopIdleTime();
  }
}

/// One is made at each turn, so that hosts take turns.
void HostConnections::slotGranted(ConnectionSlot slot) {
  Exchange* const exchange = firstUnattended();
  if (!exchange) return;
  exchange->startIdleTime();
  makeConnection(exchange, std::move(slot));
  mayShare() && !pending_.empty() ? waitForOne() : connectForWaiting();
}

bool HostConnections::endSpare() {
  const auto spare =
      std::find_if(pending_.begin(), pending_.end(), [](const auto& pending) { return !pending->exchange(); });
  if (spare == pending_.end()) return false;
  endPending(**spare);
  return true;
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
    if (!connectFor(exchange)) return;
    if (making == Making::oneToShare && mayShare()) break;
  }
  waitForOne();
}

/// Those for whom nothing is made wait for what is made for another.
void HostConnections::waitForOne() {
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

bool HostConnections::decide(const std::shared_ptr<const TrustQuery>& query, const std::optional<Error>& rejection) {
  const auto found = std::find_if(pending_.begin(), pending_.end(),
                                  [&](const auto& candidate) { return candidate->query() == query; });
  if (found == pending_.end()) return false;
  PendingConnection& pending = **found;
  // Those that the verdict held up have their whole time again.
  for (Exchange* exchange = waiting_.first(); exchange; exchange = waiting_.next(*exchange)) {
    exchange->startIdleTime();
  }
  if (waitsForSlot()) waitForSlot();
  if (!rejection) {
    if (firstUnattended()) pool_.loop().arm(*this, pool_.loop().now() + patience);
    pending.accept();
    return true;
  }
  Exchange* const exchange = pending.exchange();
  if (exchange) {
    noteConnecting(*exchange);
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

void HostConnections::noteConnecting(Exchange& exchange) {
  if (!exchange.pending_) return;
  exchange.metrics_.connecting = exchange.pending_->times();
  exchange.metrics_.connection = exchange.pending_->metricsSoFar();
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
    if (pending.exchange()) pending.exchange()->pending_ = nullptr;
    makeConnection(pending.exchange(), ended->takeSlot());
    return;
  }
  const bool isMultiplexed = open.protocol == ApplicationProtocol::http2;
  Exchange* const exchange = pending.exchange();
  PooledConnection* made = nullptr;
  try {
    made = &adopt(std::move(open), isMultiplexed, ended->takeSlot());
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

PooledConnection& HostConnections::adopt(OpenStream open, bool isMultiplexed, ConnectionSlot slot) {
  auto made = std::make_unique<PooledConnection>(*this, pool_.nextConnectionNumber(), std::move(slot));
  // So that none needs memory to become idle.
  if (idle_.capacity() <= connections_.size()) idle_.reserve(2 * connections_.size() + 4);
  if (isMultiplexed && shared_.capacity() == shared_.size()) shared_.reserve(2 * shared_.size() + 4);
  if (ByteThrottle* const throttle = pool_.throttle())
    open.stream = std::make_unique<ThrottledStream>(pool_.loop(), *throttle, std::move(open.stream));
  HTTPConnectionOwner& owner = made->owner();
  if (isMultiplexed) {
    made->adopt(std::make_unique<HTTP2Connection>(pool_.loop(), std::move(open.stream), owner), true);
  } else {
    made->adopt(std::make_unique<HTTP1Connection>(pool_.loop(), std::move(open.stream), owner), false);
  }
  made->http().setMetrics(open.times, std::move(open.metrics));
  made->place = connections_.size();
  PooledConnection& added = *connections_.emplace_back(std::move(made));
  if (isMultiplexed) shared_.push_back(&added);
  return added;
}

void HostConnections::pendingFailed(PendingConnection& pending, Failure failure) {
  const std::unique_ptr<PendingConnection> ended = removePending(pending);
  Exchange* const exchange = pending.exchange();
  if (exchange) {
    noteConnecting(*exchange);
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

}  // namespace platform::networking
