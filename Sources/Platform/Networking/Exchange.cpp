#include "Platform/Networking/Exchange.hpp"

#include <algorithm>
#include <array>

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

void Exchange::startIdleTime() { pool_.loop().arm(*this, pool_.loop().now() + idleTimeout_); }

void Exchange::stopIdleTime() { pool_.loop().disarm(*this); }

void Exchange::timerFired() { pool_.exchangeTimedOut(*this); }

void Exchange::requestBegan() {
  ++metrics_.attempts;
  metrics_.requestBegun = pool_.loop().now();
  metrics_.connection = connection_->times();
  metrics_.protocol = connection_->protocol();
  metrics_.isConnectionReused = isOnKeptConnection_;
  touch();
}

void Exchange::bodySent(std::uint64_t total) {
  metrics_.bodyBytesSent = total;
  touch();
  owner_.requestBodySent(total);
}

void Exchange::requestEnded() { metrics_.requestEnded = pool_.loop().now(); }

BodyDisposition Exchange::head(const ResponseHeadView& head) {
  metrics_.firstByte = pool_.loop().now();
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

void Exchange::end() {
  metrics_.lastByte = pool_.loop().now();
  pool_.exchangeEnded(*this, std::nullopt);
}

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

}  // namespace platform::networking
