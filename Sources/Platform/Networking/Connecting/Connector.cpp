#include "Platform/Networking/Connecting/Connector.hpp"

#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "Platform/Networking/Connecting/ConnectionAttempt.hpp"
#include "Platform/Networking/Connecting/SocketAddresses.hpp"
#include "Platform/Networking/Streams/TLSStream.hpp"
#include "Platform/Trap.hpp"

namespace platform::networking {

namespace {

bool isOutOfDescriptors(int systemError) { return systemError == EMFILE || systemError == ENFILE; }

/// How much an error says about why a host could not be reached: little when this machine has no way to addresses of
/// that family, most when the fault is here.
int weight(int systemError) {
  if (isOutOfDescriptors(systemError)) return 3;
  switch (systemError) {
    case 0:
      return 0;
    case ENETUNREACH:
    case ENETDOWN:
    case EADDRNOTAVAIL:
    case EAFNOSUPPORT:
      return 1;
    default:
      return 2;
  }
}

/// With or without the root's dot.
bool isSameHost(std::string_view left, std::string_view right) {
  if (left.ends_with('.')) left.remove_suffix(1);
  if (right.ends_with('.')) right.remove_suffix(1);
  return left == right;
}

/// Whether the peer closed, or the connection broke, and nothing is left to be read.
bool hasEnded(int socket) {
  char byte = 0;
  const ssize_t count = ::recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
  return count == 0 || (count < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
}

}  // namespace

Connector::Connector(EventLoop& loop, Resolver& resolver, const ConnectionOptions& options,
                     std::shared_ptr<TLSContext> context, Route route, ConnectorOwner& owner)
    : loop_(loop),
      resolver_(resolver),
      options_(options),
      context_(std::move(context)),
      route_(std::move(route)),
      owner_(owner) {
  if (route_.origin.isSecure && !context_) trap("a secure connection needs a TLS context");
}

Connector::~Connector() {
  loop_.disarm(*this);
  loop_.cancelDeferred(*this);
}

template <class Work>
void Connector::withMemory(Work work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    fail(Failure::outOfMemory());
  }
}

void Connector::start() {
  try {
    begin();
  } catch (const std::bad_alloc&) {
    failLater(Failure::outOfMemory());
  }
}

void Connector::begin() {
  phase_ = Phase::resolving;
  if (!options_.unixSocketPath.empty()) {
    phase_ = Phase::connecting;
    noteBeginning();
    return tryNext();
  }
  if (const HostAddresses fixed = fixedAddresses()) return useAddresses(fixed);
  const auto known = resolver_.resolve(peerHost(), *this);
  if (!known) {
    times_.lookUpBegun = loop_.now();
    return;
  }
  if (const auto* failure = std::get_if<Failure>(&*known)) {
    failLater(ofPeer(*failure));
  } else {
    useAddresses(std::get<HostAddresses>(*known));
  }
}

void Connector::nameResolved(const Resolution& resolution) {
  withMemory([&] {
    times_.nameResolved = loop_.now();
    if (const auto* failure = std::get_if<Failure>(&resolution)) return fail(ofPeer(*failure));
    useAddresses(std::get<HostAddresses>(resolution));
    if (phase_ == Phase::connecting) owner_.connectorProgressed(*this);
  });
}

HostAddresses Connector::fixedAddresses() const {
  const auto& all = options_.hostAddresses;
  const auto found =
      std::find_if(all.begin(), all.end(), [this](const auto& each) { return isSameHost(each.first, peerHost()); });
  return found == all.end() ? nullptr : found->second;
}

void Connector::useAddresses(const HostAddresses& addresses) {
  phase_ = Phase::connecting;
  addresses_ = interleaved(*addresses, mostAddresses);
  std::erase_if(addresses_, [this](const HostAddress& address) {
    return options_.family != AF_UNSPEC && address.family() != options_.family;
  });
  if (addresses_.empty()) {
    const char* const version = options_.family == AF_INET ? "IPv4" : "IPv6";
    failLater(
        ofPeer({FailureCause::nameNotFound, "\"" + peerHost() + "\" has no " + version + " address", EAI_NONAME}));
    return;
  }
  std::reverse(addresses_.begin(), addresses_.end());
  noteBeginning();
  tryNext();
}

/// What a proxy's challenge takes belongs to the time of the connection.
void Connector::noteBeginning() {
  if (challenges_ == 0) times_.connectBegun = loop_.now();
}

void Connector::tryNext() {
  loop_.disarm(*this);
  if (!options_.unixSocketPath.empty() && systemError_ == 0) return trySocket();
  while (!addresses_.empty()) {
    int systemError = 0;
    auto attempt = ConnectionAttempt::make(loop_, *this, addresses_.back(), options_, systemError);
    addresses_.pop_back();
    if (attempt) {
      attempts_.push_back(std::move(attempt));
      if (!addresses_.empty()) loop_.arm(*this, loop_.now() + attemptDelay);
      return;
    }
    noteError(systemError);
    if (isOutOfDescriptors(systemError)) addresses_.clear();
  }
  if (attempts_.empty()) failToConnect();
}

/// A Unix socket whose queue is full refuses at once (EAGAIN, connect(2)), where TCP would wait. The time-outs of those
/// who wait bound how often it is tried.
void Connector::trySocket() {
  int systemError = 0;
  if (auto attempt = ConnectionAttempt::make(loop_, *this, options_.unixSocketPath, systemError)) {
    attempts_.push_back(std::move(attempt));
  } else if (systemError == EAGAIN) {
    loop_.arm(*this, loop_.now() + socketDelay);
  } else {
    noteError(systemError);
    failToConnect();
  }
}

void Connector::failToConnect() {
  std::string where = "\"" + route_.origin.host + "\", port " + std::to_string(route_.origin.port);
  if (!options_.unixSocketPath.empty()) where = "the Unix socket " + options_.unixSocketPath;
  if (route_.way != Route::Way::direct) where = options_.proxy.description();
  if (isOutOfDescriptors(systemError_)) {
    failLater({FailureCause::outOfDescriptors, "no descriptor is left for a connection to " + where, systemError_});
    return;
  }
  // They may have moved.
  resolver_.forget(peerHost());
  std::string message = "no connection could be made to " + where;
  if (systemError_ != 0) message += ": " + std::generic_category().message(systemError_);
  failLater(ofPeer({FailureCause::cannotConnect, std::move(message), systemError_}));
}

const std::string& Connector::peerHost() const {
  return route_.way == Route::Way::tunnelled ? options_.proxy.host : route_.origin.host;
}

std::uint16_t Connector::peerPort() const {
  return route_.way == Route::Way::tunnelled ? options_.proxy.port : route_.origin.port;
}

Failure Connector::ofPeer(Failure failure) const {
  const bool isUnknownName =
      failure.cause == FailureCause::nameNotFound || failure.cause == FailureCause::nameLookupFailed;
  if (isUnknownName && route_.way != Route::Way::direct) failure.message += " (the name of the proxy)";
  if (route_.way == Route::Way::forwarded) {
    failure.hop = Hop::forwardingProxy;
  } else if (route_.way == Route::Way::tunnelled) {
    failure.hop = options_.proxy.kind == Proxy::Kind::http ? Hop::tunnellingProxy : Hop::socksProxy;
  }
  return failure;
}

void Connector::timerFired() {
  withMemory([this] { tryNext(); });
}

void Connector::attemptFailed(ConnectionAttempt& attempt, int systemError) {
  noteError(systemError);
  std::erase_if(attempts_, [&attempt](const auto& each) { return each.get() == &attempt; });
  withMemory([this] { tryNext(); });
}

void Connector::noteError(int systemError) {
  if (weight(systemError) >= weight(systemError_)) systemError_ = systemError;
}

void Connector::attemptConnected(ConnectionAttempt& attempt) {
  times_.connected = loop_.now();
  auto stream = attempt.takeStream();
  stream->setOwner(nullptr);
  loop_.disarm(*this);
  addresses_.clear();
  attempts_.clear();
  withMemory([&] {
    metrics_ = std::make_shared<ConnectionMetrics>();
    metrics_->localAddress = localAddress(stream->descriptor());
    metrics_->remoteAddress = remoteAddress(stream->descriptor());
    route_.way == Route::Way::tunnelled ? askProxy(std::move(stream)) : useConnection(std::move(stream));
  });
}

void Connector::askProxy(std::unique_ptr<ByteStream> connection) {
  phase_ = Phase::tunnelling;
  ProxyTunnelOwner& owner = *this;
  tunnel_ = std::make_unique<ProxyTunnel>(std::move(connection), options_.proxy, route_.origin, challenges_, owner);
  tunnel_->start();
}

void Connector::tunnelOpened() {
  times_.connected = loop_.now();
  auto connection = tunnel_->takeStream();
  tunnel_.reset();
  withMemory([&] { useConnection(std::move(connection)); });
}

/// On a new connection: proxies close that of a refusal, or send a body there that may have no end.
void Connector::tunnelChallenged() {
  ++challenges_;
  tunnel_.reset();
  systemError_ = 0;
  withMemory([this] {
    begin();
    owner_.connectorProgressed(*this);
  });
}

void Connector::tunnelFailed(Failure failure) { fail(ofPeer(std::move(failure))); }

void Connector::useConnection(std::unique_ptr<ByteStream> connection) {
  route_.origin.isSecure ? secure(std::move(connection)) : openInTheClear(std::move(connection));
}

void Connector::openInTheClear(std::unique_ptr<ByteStream> stream) {
  phase_ = Phase::done;
  const bool isHTTP2 = options_.protocols == ConnectionOptions::Protocols::onlyHTTP2;
  metrics_->protocol = isHTTP2 ? "h2" : "http/1.1";
  owner_.connectorOpened(*this, {.stream = std::move(stream),
                                 .protocol = isHTTP2 ? ApplicationProtocol::http2 : ApplicationProtocol::http1,
                                 .times = times_,
                                 .metrics = std::move(metrics_)});
}

void Connector::secure(std::unique_ptr<ByteStream> connection) {
  phase_ = Phase::securing;
  times_.secureBegun = loop_.now();
  secured_ = std::make_unique<TLSStream>(loop_, context_, std::move(connection), route_.origin);
  secured_->setOwner(this);
  continueHandshake();
}

void Connector::streamReadable() {
  withMemory([this] {
    if (phase_ == Phase::securing) {
      continueHandshake();
    } else if (phase_ == Phase::judging && hasEnded(secured_->descriptor())) {
      failWhileJudging();
    }
  });
}

void Connector::failWhileJudging() {
  fail({FailureCause::secureConnectionFailed, "the connection was lost while its server was being judged", 0});
}

/// What the handshake has still to write leaves by itself.
void Connector::streamWritable() {}

void Connector::continueHandshake() {
  const bool hasConnectedJustNow = secured_->receivedBytes() == 0;
  const std::uint64_t received = secured_->receivedBytes();
  switch (secured_->handshake()) {
    case TLSStream::State::handshaking:
      if (hasConnectedJustNow || secured_->receivedBytes() > received) owner_.connectorProgressed(*this);
      break;
    case TLSStream::State::judging: {
      phase_ = Phase::judging;
      // The end may have come together with the chain, and is not told again then.
      if (hasEnded(secured_->descriptor())) return failWhileJudging();
      auto query = std::make_shared<TrustQuery>();
      query->chain = secured_->chain();
      // No certificate names a zone.
      query->host = route_.origin.host.substr(0, route_.origin.host.find('%'));
      query->port = route_.origin.port;
      owner_.connectorAsksTrust(*this, std::move(query));
      break;
    }
    case TLSStream::State::open:
      finish();
      break;
    case TLSStream::State::failed:
      fail(*secured_->failure());
      break;
  }
}

void Connector::applyVerdict(bool isTrusted) {
  if (phase_ != Phase::judging) trap("nobody asked for a verdict");
  phase_ = Phase::securing;
  withMemory([&] {
    secured_->applyVerdict(isTrusted);
    continueHandshake();
  });
}

/// A copy: another exchange may inherit the connection, whose metrics go on to be written.
std::shared_ptr<const ConnectionMetrics> Connector::metricsSoFar() const noexcept {
  if (!metrics_) return nullptr;
  try {
    return std::make_shared<const ConnectionMetrics>(*metrics_);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void Connector::finish() {
  phase_ = Phase::done;
  times_.secured = loop_.now();
  if (options_.protocols == ConnectionOptions::Protocols::onlyHTTP2 && secured_->agreedProtocol() != "h2") {
    return fail({FailureCause::secureConnectionFailed,
                 "the server does not speak HTTP/2, and nothing else is allowed here", 0});
  }
  secured_->setOwner(nullptr);
  const bool isHTTP2 = secured_->agreedProtocol() == "h2";
  metrics_->protocol = isHTTP2 ? "h2" : "http/1.1";
  metrics_->tlsVersion = secured_->version();
  metrics_->tlsCipher = secured_->cipher();
  metrics_->isTLSResumed = secured_->wasResumed();
  OpenStream open{.times = times_,
                  .metrics = std::move(metrics_),
                  .wasResumed = secured_->wasResumed(),
                  .trustEpoch = secured_->trustEpoch()};
  if (isHTTP2) open.protocol = ApplicationProtocol::http2;
  open.stream = std::move(secured_);
  owner_.connectorOpened(*this, std::move(open));
}

void Connector::failLater(Failure failure) {
  phase_ = Phase::done;
  failure_ = std::move(failure);
  loop_.defer(*this);
}

void Connector::runDeferred() { fail(std::move(failure_)); }

void Connector::fail(Failure failure) {
  phase_ = Phase::done;
  tunnel_.reset();
  secured_.reset();
  owner_.connectorFailed(*this, std::move(failure));
}

}  // namespace platform::networking
