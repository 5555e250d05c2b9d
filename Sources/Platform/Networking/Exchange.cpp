#include "Platform/Networking/Exchange.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "Platform/Networking/HTTPConnection.hpp"
#include "Platform/Networking/Pool/ConnectionPool.hpp"

namespace platform::networking {

namespace {

/// How often a request goes out again after a server said that it did not look at it.
constexpr int maximumRepeats = 4;

/// Methods whose repetition changes nothing (RFC 9110, 9.2.2).
bool isIdempotent(std::string_view method) {
  constexpr std::array<std::string_view, 6> methods{"GET", "HEAD", "PUT", "DELETE", "OPTIONS", "TRACE"};
  return std::find(methods.begin(), methods.end(), method) != methods.end();
}

}  // namespace

void Exchange::touch() {
  if (isArmed()) postpone(pool_.loop().now() + idleTimeout_);
}

void Exchange::startIdleTime() {
  const TimePoint now = pool_.loop().now();
  pool_.loop().arm(*this, now + idleTimeout_);
  const bool isConnecting = state_ == State::connection && connectTimeout_ > Duration::zero();
  if (isConnecting && !connectTime_.isArmed()) pool_.loop().arm(connectTime_, now + connectTimeout_);
}

void Exchange::stopIdleTime() {
  pool_.loop().disarm(*this);
  stopConnectTime();
}

void Exchange::setReading(bool isWanted) {
  if (state_ != State::underWay) return;
  isReadingWanted_ = isWanted;
  continueIdleTime();
  connection_->setReading(*this, isWanted);
}

void Exchange::stopConnectTime() { pool_.loop().disarm(connectTime_); }

void Exchange::ConnectTime::timerFired() { exchange_.pool_.exchangeConnectTimedOut(exchange_); }

/// What a limit of ours holds back is not late.
void Exchange::timerFired() {
  const TimePoint due = connection_ ? connection_->heldBackUntil() + idleTimeout_ : TimePoint{};
  due > pool_.loop().now() ? pool_.loop().arm(*this, due) : pool_.exchangeTimedOut(*this);
}

void Exchange::bodyAwaited() {
  awaitsBody_ = true;
  continueIdleTime();
}

void Exchange::bodyReady() {
  if (state_ != State::underWay) return;
  awaitsBody_ = false;
  continueIdleTime();
  connection_->bodyReady(*this);
}

/// It stands still while nothing is to be expected of the network.
void Exchange::continueIdleTime() { awaitsBody_ || !isReadingWanted_ ? stopIdleTime() : startIdleTime(); }

void Exchange::requestBegan(std::size_t headBytes) {
  awaitsBody_ = false;
  isReadingWanted_ = true;
  ++metrics_.attempts;
  metrics_.requestBegun = pool_.loop().now();
  metrics_.connecting = isOnKeptConnection_ ? ConnectionTimes() : connection_->times();
  metrics_.connection = connection_->metrics();
  metrics_.isConnectionReused = isOnKeptConnection_;
  metrics_.headBytesSent = headBytes;
  touch();
}

void Exchange::bodySent(std::uint64_t total) {
  metrics_.bodyBytesSent = total;
  touch();
  owner_.requestBodySent(total);
}

void Exchange::requestEnded() { metrics_.requestEnded = pool_.loop().now(); }

BodyDisposition Exchange::head(const ResponseHeadView& head) {
  metrics_.headReceived = pool_.loop().now();
  metrics_.headBytesReceived = head.headBytes;
  if (head.statusCode >= 300 && std::exchange(awaitsBody_, false)) continueIdleTime();
  touch();
  return owner_.responseHead(head);
}

bool Exchange::body(Bytes bytes) { return accepted(owner_.responseBody(bytes), bytes.size()); }

bool Exchange::bodyFilled(std::size_t count) { return accepted(owner_.responseFilled(count), count); }

bool Exchange::accepted(bool isTaken, std::size_t count) {
  metrics_.bodyBytesReceived += count;
  touch();
  // The connection ends its side when it is told so, and says nothing more.
  if (!isTaken) pool_.exchangeRefused(*this);
  return isTaken;
}

void Exchange::end() { pool_.exchangeEnded(*this, std::nullopt); }

void Exchange::failed(ExchangeFailure failure) { pool_.exchangeFailed(*this, std::move(failure)); }

/// Only where the server cannot have acted on the request, or acting twice is the same as once, and the whole body can
/// be had again.
bool Exchange::mayRepeat(const ExchangeFailure& failure) const {
  if (failure.responseBegan || repeats_ >= maximumRepeats) return false;
  const bool wasLeftAlone = failure.delivery == Delivery::notProcessed;
  const bool keptConnectionBroke = isOnKeptConnection_ && firstConnection_ == 0 &&
                                   failure.failure.cause == FailureCause::connectionLost &&
                                   (failure.delivery == Delivery::nothingSent || isIdempotent(requestHead().method));
  if (!wasLeftAlone && !keptConnectionBroke) return false;
  RequestBody* const body = owner_.requestBody();
  return !body || body->rewind();
}

void Exchange::beginRepeat(bool wasNotProcessed) {
  const TimePoint now = pool_.loop().now();
  metrics_.ended = now;
  failedAttempts_.push_back({metrics_, wasNotProcessed});
  metrics_ = {.begun = now, .attempts = metrics_.attempts};
  ++repeats_;
}

void Exchange::forgetMetrics() {
  metrics_ = {};
  failedAttempts_.clear();
}

}  // namespace platform::networking
