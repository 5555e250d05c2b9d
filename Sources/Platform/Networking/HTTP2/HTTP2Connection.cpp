#include "Platform/Networking/HTTP2/HTTP2Connection.hpp"

#include <nghttp2/nghttp2.h>

#include <algorithm>
#include <new>
#include <utility>

#include "Platform/Trap.hpp"

namespace platform::networking {

/// Without memory the connection is of no use any more; the next turn ends it, and its exchanges.
template <class Work>
void HTTP2Connection::withMemory(Work work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    giveUp(Failure::outOfMemory());
  }
}

HTTP2Connection::HTTP2Connection(EventLoop& loop, std::unique_ptr<ByteStream> stream, HTTPConnectionOwner& owner)
    : loop_(loop),
      stream_(std::move(stream)),
      owner_(owner),
      meter_(loop.now()),
      session_(*this),
      toldCapacity_(session_.streamLimit()),
      lastSign_(loop.now()) {
  stream_->setOwner(this);
  wantTurn();
}

HTTP2Connection::~HTTP2Connection() {
  loop_.cancelDeferred(*this);
  loop_.disarm(*this);
  stream_->setOwner(nullptr);
}

std::size_t HTTP2Connection::capacity() const {
  if (state_ != State::open) return 0;
  const std::size_t limit = session_.streamLimit();
  return limit - std::min(limit, streams_.open());
}

void HTTP2Connection::start(RequestStream& exchange) {
  if (capacity() == 0) trap("an HTTP/2 connection was given an exchange that it has no room for");
  ++started_;
  HTTP2Stream* stream = nullptr;
  std::optional<Failure> problem;
  try {
    stream = &streams_.acquire(exchange);
    toldCapacity_ = std::min(toldCapacity_, capacity());
    problem = session_.submit(*stream);
  } catch (const std::bad_alloc&) {
    problem = Failure::outOfMemory();
  }
  if (!stream) return exchange.failed({.failure = std::move(*problem), .delivery = Delivery::nothingSent});
  if (problem) {
    stream->fail(std::move(*problem));
    streams_.release(*stream);
    return;
  }
  meter_.requestSent();
  if (active() == 1) {
    lastSign_ = loop_.now();
    isPinged_ = false;
  }
  if (!isArmed()) loop_.arm(*this, lastSign_ + silenceBeforePing);
  wantTurn();
}

void HTTP2Connection::cancel(RequestStream& exchange) {
  HTTP2Stream* const stream = streams_.find(exchange);
  if (!stream) return;
  stream->detach();
  withMemory([&] { session_.reset(*stream, NGHTTP2_CANCEL); });
  wantTurn();
}

void HTTP2Connection::bodyReady(RequestStream& exchange) {
  HTTP2Stream* const stream = streams_.find(exchange);
  if (!stream || !stream->resume()) return;
  withMemory([&] { session_.resume(*stream); });
  wantTurn();
}

void HTTP2Connection::setReading(RequestStream& exchange, bool isWanted) {
  HTTP2Stream* const stream = streams_.find(exchange);
  if (!stream) return;
  const std::size_t withheld = stream->setReading(isWanted);
  if (withheld == 0) return;
  withMemory([&] { session_.giveBack(*stream, withheld); });
  wantTurn();
}

void HTTP2Connection::retire() {
  if (state_ == State::closed) return;
  state_ = State::draining;
  if (!isInTurn_) endTurn();
}

/// Whatever was queued is sent soon; at the end of this iteration, if there is one.
void HTTP2Connection::wantTurn() {
  if (!isInTurn_ && state_ != State::closed) loop_.defer(*this);
}

void HTTP2Connection::streamReadable() {
  reading_ = Reading::unread;
  runDeferred();
}

void HTTP2Connection::streamWritable() { runDeferred(); }

/// One iteration: reads what is there, then writes what came of it.
void HTTP2Connection::runDeferred() {
  isInTurn_ = true;
  withMemory([this] {
    if (reading_ == Reading::unread) readTurn();
    // What the server said before the connection broke still counts.
    if (writeFailure_ && reading_ != Reading::unread) giveUp(*writeFailure_);
    if (!writeFailure_) flush();
  });
  isInTurn_ = false;
  endTurn();
}

void HTTP2Connection::readTurn() {
  for (std::size_t share = 0; share < fairShareBytes && !failure_;) {
    const std::span<std::byte> buffer = loop_.receiveBuffer();
    const IOResult result = stream_->read(buffer);
    if (result.status == IOStatus::wouldBlock) {
      reading_ = Reading::idle;
      return;
    }
    if (result.status != IOStatus::done) {
      reading_ = Reading::finished;
      const std::string message = "the server closed the HTTP/2 connection" + farewell_;
      return giveUp(result.status == IOStatus::failed ? stream_->failure().value_or(Failure{})
                                                      : Failure{FailureCause::connectionLost, message, 0});
    }
    share += result.count;
    if (!receive(buffer.first(result.count))) return;
    if (result.isDrained) {
      reading_ = Reading::idle;
      return;
    }
  }
}

bool HTTP2Connection::receive(Bytes bytes) {
  lastReceived_ = loop_.now();
  lastSign_ = loop_.now();
  isPinged_ = false;
  const auto [header, rest, problem] = meter_.take(bytes, loop_.now());
  if (!session_.receive(header) || !session_.receive(rest)) {
    // The session's farewell to the server, which has the reason in it.
    if (session_.output().isEmpty()) session_.pull();
    giveUp({FailureCause::malformedResponse, "the server breaks HTTP/2: " + session_.problem(), 0});
  } else if (problem) {
    giveUp({FailureCause::malformedResponse, std::string(*problem), 0});
  }
  return !failure_;
}

void HTTP2Connection::flush() {
  const HTTP2Output& output = session_.output();
  for (std::size_t share = 0; share < fairShareBytes;) {
    if (output.isEmpty() && !failure_ && !session_.pull()) {
      giveUp({FailureCause::malformedResponse, "the server breaks HTTP/2: " + session_.problem(), 0});
    }
    if (output.isEmpty()) return;
    const Bytes pending = output.pending();
    const IOResult result = stream_->write({&pending, 1});
    if (result.status == IOStatus::wouldBlock) return;
    if (result.status != IOStatus::done) {
      writeFailure_ = stream_->failure().value_or(Failure{});
      reading_ = Reading::unread;
      return;
    }
    share += result.count;
    advance(result.count);
  }
  loop_.defer(*this);
}

void HTTP2Connection::advance(std::size_t count) {
  session_.output().advance(
      count, [](HTTP2Stream& stream, std::size_t bodyBytes, bool isWhole) { stream.written(bodyBytes, isWhole); });
}

/// Only here the owner is told, since it may destroy the connection.
void HTTP2Connection::endTurn() {
  if (state_ == State::closed) return;
  if (session_.isExhausted() || writeFailure_) state_ = State::draining;
  if (failure_) failAll();
  if (state_ != State::open) tellRetired();
  const bool isIdle = streams_.attached() == 0;
  if (failure_ || (state_ == State::draining && isIdle)) return close();
  if (reading_ == Reading::unread) loop_.defer(*this);
  if (isIdle && session_.output().isEmpty()) session_.output().trim();
  const std::size_t room = capacity();
  const bool hasGrown = room > toldCapacity_;
  toldCapacity_ = room;
  if (hasGrown || isIdle) owner_.connectionAvailable(*this);
}

void HTTP2Connection::giveUp(Failure failure) {
  if (!failure_) failure_ = std::move(failure);
}

void HTTP2Connection::failAll() {
  state_ = State::closed;
  while (HTTP2Stream* const stream = streams_.last()) stream->fail(copyOf(*failure_));
}

/// Each of them is to have an outcome, whatever it says.
Failure HTTP2Connection::copyOf(const Failure& failure) noexcept {
  try {
    return failure;
  } catch (const std::bad_alloc&) {
    return Failure::outOfMemory();
  }
}

void HTTP2Connection::tellRetired() {
  if (std::exchange(isRetiredTold_, true)) return;
  isInTurn_ = true;  // the owner must find it alive afterwards, though it may call `retire`
  owner_.connectionRetired(*this);
  isInTurn_ = false;
}

void HTTP2Connection::close() {
  state_ = State::closed;
  loop_.cancelDeferred(*this);
  loop_.disarm(*this);
  stream_->setOwner(nullptr);
  stream_->shutDown();
  owner_.connectionClosed(*this);
}

void HTTP2Connection::serverGoesAway(std::int32_t last, std::uint32_t code) {
  if (state_ == State::open) state_ = State::draining;
  if (code != NGHTTP2_NO_ERROR) farewell_ = std::string(" (") + nghttp2_http2_strerror(code) + ")";
  // Also those that wait to be sent, perhaps behind a server that does not read.
  while (HTTP2Stream* const stream = streams_.beyond(last)) {
    stream->refused("the server retired the HTTP/2 connection");
    session_.reset(*stream, NGHTTP2_CANCEL);
  }
}

void HTTP2Connection::streamClosed(HTTP2Stream& stream, std::uint32_t code) {
  const auto reset = stream.resetCode;
  if (code == NGHTTP2_REFUSED_STREAM && !stream.responseBegan()) {
    stream.refused("the server refused the HTTP/2 stream");
  } else if (reset) {
    const std::string name = nghttp2_http2_strerror(*reset);
    stream.fail({FailureCause::streamReset, "the server reset the HTTP/2 stream (" + name + ")", 0});
  } else {
    stream.malformed("the response breaks HTTP/2: its body is not as long as announced");
  }
  streams_.release(stream);
}

void HTTP2Connection::timerFired() {
  if (streams_.attached() == 0) return;
  lastSign_ = std::max(lastSign_, stream_->heldBackUntil());
  const TimePoint due = lastSign_ + silenceBeforePing;
  if (loop_.now() < due) return loop_.arm(*this, due);
  if (isPinged_) {
    withMemory([this] { giveUp({FailureCause::connectionLost, "the server does not answer a ping over HTTP/2", 0}); });
    return endTurn();
  }
  // While nothing can be written, no ping would go out; the exchanges' own time-outs decide.
  if (session_.output().isEmpty()) {
    isPinged_ = true;
    withMemory([this] { session_.ping(); });
    wantTurn();
  }
  loop_.arm(*this, loop_.now() + silenceBeforePing);
}

}  // namespace platform::networking
