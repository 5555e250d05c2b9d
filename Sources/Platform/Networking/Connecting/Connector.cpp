#include "Platform/Networking/Connecting/Connector.hpp"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <utility>

#include "Platform/Networking/Connecting/ConnectionAttempt.hpp"
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

/// Whether the peer closed, or the connection broke, and nothing is left to be read.
bool hasEnded(int socket) {
  char byte = 0;
  const ssize_t count = ::recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
  return count == 0 || (count < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
}

}  // namespace

Connector::Connector(EventLoop& loop, Resolver& resolver, std::shared_ptr<TLSContext> context, Route route,
                     ConnectorOwner& owner)
    : loop_(loop), resolver_(resolver), context_(std::move(context)), route_(std::move(route)), owner_(owner) {
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
  times_.begun = loop_.now();
  phase_ = Phase::resolving;
  const auto known = resolver_.resolve(route_.origin.host, *this);
  if (!known) return;
  if (const auto* failure = std::get_if<Failure>(&*known)) {
    failLater(*failure);
  } else {
    useAddresses(std::get<HostAddresses>(*known));
  }
}

void Connector::nameResolved(const Resolution& resolution) {
  withMemory([&] {
    if (const auto* failure = std::get_if<Failure>(&resolution)) return fail(*failure);
    times_.nameResolved = loop_.now();
    useAddresses(std::get<HostAddresses>(resolution));
    if (phase_ == Phase::connecting) owner_.connectorProgressed(*this);
  });
}

void Connector::useAddresses(const HostAddresses& addresses) {
  phase_ = Phase::connecting;
  addresses_ = interleaved(*addresses, mostAddresses);
  std::reverse(addresses_.begin(), addresses_.end());
  tryNext();
}

void Connector::tryNext() {
  loop_.disarm(*this);
  while (!addresses_.empty()) {
    int systemError = 0;
    auto attempt = ConnectionAttempt::make(loop_, *this, addresses_.back(), route_.origin.port, systemError);
    addresses_.pop_back();
    if (attempt) {
      attempts_.push_back(std::move(attempt));
      if (!addresses_.empty()) loop_.arm(*this, loop_.now() + attemptDelay);
      return;
    }
    noteError(systemError);
    if (isOutOfDescriptors(systemError)) addresses_.clear();
  }
  if (!attempts_.empty()) return;
  const std::string where = "\"" + route_.origin.host + "\", port " + std::to_string(route_.origin.port);
  if (isOutOfDescriptors(systemError_)) {
    failLater({FailureCause::outOfDescriptors, "no descriptor is left for a connection to " + where, systemError_});
    return;
  }
  // They may have moved.
  resolver_.forget(route_.origin.host);
  failLater({FailureCause::cannotConnect, "no connection could be made to " + where, systemError_});
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
  if (route_.origin.isSecure) {
    withMemory([&] { secure(std::move(stream)); });
  } else {
    phase_ = Phase::done;
    owner_.connectorOpened(*this, {.stream = std::move(stream), .times = times_});
  }
}

void Connector::secure(std::unique_ptr<ByteStream> connection) {
  phase_ = Phase::securing;
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

void Connector::finish() {
  phase_ = Phase::done;
  times_.secured = loop_.now();
  secured_->setOwner(nullptr);
  OpenStream open{.times = times_, .wasResumed = secured_->wasResumed(), .trustEpoch = secured_->trustEpoch()};
  if (secured_->agreedProtocol() == "h2") open.protocol = ApplicationProtocol::http2;
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
  secured_.reset();
  owner_.connectorFailed(*this, std::move(failure));
}

}  // namespace platform::networking
