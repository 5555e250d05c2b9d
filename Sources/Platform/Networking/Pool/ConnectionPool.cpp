#include "Platform/Networking/Pool/ConnectionPool.hpp"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "Platform/Detail/RequiredMemory.hpp"
#include "Platform/Networking/HTTPConnection.hpp"

namespace platform::networking {

namespace {

/// Idle connections that a pool keeps: a quarter of the descriptors, so that the application has room.
std::size_t idleLimitForDescriptors(std::size_t descriptors) {
  return std::clamp<std::size_t>(descriptors / 4, 8, 1024);
}

/// Hosts without connections stay known up to here: what they speak is worth remembering.
constexpr std::size_t rememberedHosts = 256;

/// How soon those who wait for the limit to grow look again.
constexpr Duration admissionInterval = std::chrono::milliseconds(1);

}  // namespace

std::size_t ConnectionPool::RouteHash::operator()(const Route& route) const {
  const std::size_t host = std::hash<std::string_view>()(route.origin.host);
  return host ^ (std::size_t{route.origin.port} << 1) ^ std::size_t{route.origin.isSecure};
}

ConnectionPool::ConnectionPool(EventLoop& loop, Resolver& resolver, std::shared_ptr<TLSContext> context,
                               Challenge challenge, ConnectionOptions options)
    : loop_(loop),
      resolver_(resolver),
      context_(std::move(context)),
      challenge_(std::move(challenge)),
      options_(std::move(options)),
      budget_(options_.maximumConnections, *this),
      throttle_(options_.bytesPerSecond > 0 ? std::make_unique<ByteThrottle>(loop, options_.bytesPerSecond) : nullptr),
      idleLimit_(idleLimitForDescriptors(AdmissionQueue::descriptorLimit())) {
  loop_.addObserver(*this);
}

ConnectionPool::~ConnectionPool() {
  closed_.clear();  // these know their hosts
  hosts_.clear();
  loop_.removeObserver(*this);
  loop_.cancelDeferred(*this);
  loop_.disarm(*this);
}

void ConnectionPool::submit(Exchange& exchange, const Route& route, Duration idleTimeout, std::size_t hostMaximum) {
  // Only this may need memory.
  exchange.host_ = &hostOf(route);
  begin(exchange, idleTimeout);
  exchange.state_ = Exchange::State::admission;
  admission_.enqueue(exchange.host_->admission(), exchange, hostMaximum);
  if (!isTelling_) admit();
}

void ConnectionPool::submit(Exchange& exchange, HTTPConnection& connection, Duration idleTimeout) {
  begin(exchange, idleTimeout);
  exchange.state_ = Exchange::State::underWay;
  exchange.connection_ = &connection;
  exchange.isOnKeptConnection_ = false;
  exchange.startIdleTime();
  connection.start(exchange.stream());
}

void ConnectionPool::begin(Exchange& exchange, Duration idleTimeout) {
  exchange.idleTimeout_ = idleTimeout;
  exchange.forgetMetrics();
  exchange.metrics_.begun = loop_.now();
  exchange.repeats_ = 0;
  exchange.firstConnection_ = 0;
  loop_.beginWork();
}

void ConnectionPool::admit() {
  if (isTelling_) return;
  while (AdmissionEntry* const admitted = admission_.next()) {
    auto& exchange = static_cast<Exchange&>(*admitted);
    exchange.host_->serve(exchange);
  }
  if (admission_.isHeldBack() && !isArmed()) loop_.arm(*this, loop_.now() + admissionInterval);
}

void ConnectionPool::runDeferred() {
  closed_.clear();
  if (budget_.isWaitedFor()) divideSlots();
  admit();
}

/// Where all are taken, what nobody uses is closed, one connection at a time: its slot brings us here again.
void ConnectionPool::divideSlots() {
  budget_.grant();
  if (!budget_.isWaitedFor() || !closed_.empty() || closeOneIdle()) return;
  for (const auto& [route, host] : hosts_) {
    if (host->endSpare()) return;
  }
}

void ConnectionPool::bury(std::unique_ptr<PooledConnection> closed) {
  detail::requiringMemory("a closed connection cannot be given up", [&] { closed_.push_back(std::move(closed)); });
  loop_.defer(*this);
}

void ConnectionPool::loopSlept(TimePoint now, Duration duration) {
  if (admission_.loopSlept(now, duration)) admit();
}

HostConnections& ConnectionPool::hostOf(const Route& route) {
  if (const auto known = hosts_.find(route); known != hosts_.end()) return *known->second;
  // Closed connections know their hosts until they are destroyed; and a host that tells an owner goes on afterwards.
  if (hosts_.size() >= rememberedHosts && closed_.empty() && !isTelling_)
    std::erase_if(hosts_, [](const auto& host) { return host.second->isUnused(); });
  return *hosts_.emplace(route, std::make_unique<HostConnections>(*this, route)).first->second;
}

void ConnectionPool::withdraw(Exchange& exchange) {
  if (exchange.state_ == Exchange::State::outside) return;
  if (exchange.state_ != Exchange::State::admission) takeOut(exchange, false);
  leave(exchange);
  admit();
}

/// From the connections of its host, or from the one that it brought.
void ConnectionPool::takeOut(Exchange& exchange, bool hasTimedOut) {
  if (exchange.host_) return exchange.host_->withdraw(exchange, hasTimedOut);
  std::exchange(exchange.connection_, nullptr)->cancel(exchange.stream());
}

void ConnectionPool::leave(Exchange& exchange) {
  exchange.stopIdleTime();
  exchange.metrics_.ended = loop_.now();
  if (exchange.state_ == Exchange::State::connection) exchange.host_->leftUnsent();
  if (exchange.state_ == Exchange::State::admission) {
    admission_.cancel(exchange);
  } else if (exchange.host_) {
    admission_.finished(exchange);
  }
  exchange.state_ = Exchange::State::outside;
  exchange.connection_ = nullptr;
  exchange.host_ = nullptr;
  loop_.endWork();
}

template <class Tell>
void ConnectionPool::tell(Tell tellOwner) {
  const bool wasTelling = std::exchange(isTelling_, true);
  tellOwner();
  isTelling_ = wasTelling;
  // Usually the connection says at once that it is free; this is for when it does not.
  if (admission_.waiting() > 0) loop_.defer(*this);
}

void ConnectionPool::exchangeEnded(Exchange& exchange, std::optional<ExchangeProblem> problem) {
  leave(exchange);
  tell([&] { exchange.owner_.exchangeEnded(std::move(problem)); });
}

void ConnectionPool::exchangeRefused(Exchange& exchange) {
  leave(exchange);
  tell([&] { exchange.owner_.exchangeRefused(); });
}

void ConnectionPool::exchangeTimedOut(Exchange& exchange) {
  takeOut(exchange, true);
  exchangeEnded(exchange,
                ExchangeProblem{.kind = ExchangeProblem::Kind::timedOut, .requestWasSent = exchange.requestWasSent()});
  admit();
}

/// It leaves alone: what is being made goes to the next who waits, whose own time may be longer.
void ConnectionPool::exchangeConnectTimedOut(Exchange& exchange) {
  exchange.host_->withdraw(exchange, false);
  exchangeEnded(exchange, ExchangeProblem{.kind = ExchangeProblem::Kind::connectTimedOut,
                                          .requestWasSent = exchange.requestWasSent()});
  admit();
}

void ConnectionPool::exchangeFailed(Exchange& exchange, ExchangeFailure failure) {
  if (!exchange.mayRepeat(failure)) {
    exchangeEnded(exchange, ExchangeProblem{.kind = ExchangeProblem::Kind::network,
                                            .failure = std::move(failure.failure),
                                            .requestWasSent = exchange.requestWasSent()});
    return;
  }
  const bool wasNotProcessed = failure.delivery == Delivery::notProcessed;
  try {
    exchange.beginRepeat(wasNotProcessed);
  } catch (const std::bad_alloc&) {
    exchangeEnded(exchange, ExchangeProblem{.kind = ExchangeProblem::Kind::network,
                                            .failure = Failure::outOfMemory(),
                                            .requestWasSent = exchange.requestWasSent()});
    return;
  }
  if (!wasNotProcessed) exchange.firstConnection_ = connections_ + 1;
  exchange.connection_ = nullptr;
  exchange.host_->serve(exchange);
}

void ConnectionPool::decide(const std::shared_ptr<const TrustQuery>& query, const std::optional<Error>& rejection) {
  for (const auto& [route, host] : hosts_) {
    if (host->decide(query, rejection)) return;
  }
}

bool ConnectionPool::closeOneIdle() {
  PooledConnection* const oldest = idle_.first();
  if (!oldest) return false;
  oldest->http().retire();
  return true;
}

void ConnectionPool::becameIdle(PooledConnection& connection) {
  idle_.append(connection);
  if (budget_.isWaitedFor()) slotsChanged();
  if (++idleCount_ > idleLimit_) closeOneIdle();
}

void ConnectionPool::leftIdle(PooledConnection& connection) {
  idle_.remove(connection);
  --idleCount_;
}

}  // namespace platform::networking
