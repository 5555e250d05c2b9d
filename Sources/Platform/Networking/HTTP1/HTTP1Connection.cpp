#include "Platform/Networking/HTTP1/HTTP1Connection.hpp"

#include <new>
#include <utility>

#include "Platform/Trap.hpp"

/// The calls from both sides, and how exchanges end. HTTP1ConnectionTransfer.cpp reads and writes.
namespace platform::networking {

namespace {

/// What an idle connection may keep of the memory for incomplete heads.
constexpr std::size_t ordinaryHeadBytes = 1024;

}  // namespace

template <class Work>
void HTTP1Connection::call(Work work) {
  ++calls_;
  try {
    work();
  } catch (const std::bad_alloc&) {
    exchange_ ? fail(Failure::outOfMemory()) : close();
  }
  if (--calls_ == 0) tellOwner();
}

HTTP1Connection::HTTP1Connection(EventLoop& loop, std::unique_ptr<ByteStream> stream, HTTPConnectionOwner& owner)
    : loop_(loop), stream_(std::move(stream)), owner_(owner) {
  stream_->setOwner(this);
  loop_.defer(*this);
}

HTTP1Connection::~HTTP1Connection() { close(); }

// From above

void HTTP1Connection::start(RequestStream& exchange) {
  if (capacity() == 0) trap("an HTTP/1.1 connection that takes no exchange was given one");
  call([&] { begin(exchange); });
}

void HTTP1Connection::begin(RequestStream& exchange) {
  ++started_;
  isAvailableAgain_ = false;
  state_ = State::exchanging;
  response_ = Response::awaited;
  isReadingWanted_ = true;
  isBlocked_ = false;
  isBroken_ = false;
  discarded_ = 0;
  unparsed_.clear();
  exchange_ = &exchange;
  const RequestHead& head = exchange.requestHead();
  parser_.begin(head.method == "HEAD");
  if (!sender_.begin(head, exchange.requestBody())) {
    ExchangeFailure refusal{.failure = {FailureCause::invalidRequest, "the request holds what cannot be sent", 0},
                            .delivery = Delivery::nothingSent};
    exchange_ = nullptr;
    becomeIdle();
    exchange.failed(std::move(refusal));
    return;
  }
  exchange.requestBegan(sender_.headBytes());
  writeTurn();
}

void HTTP1Connection::cancel(RequestStream& exchange) {
  if (exchange_ != &exchange) trap("an exchange was cancelled that is not under way on this connection");
  call([this] { giveUp(); });
}

void HTTP1Connection::bodyReady(RequestStream& exchange) {
  if (exchange_ != &exchange) return;
  call([this] {
    sender_.bodyReady();
    writeTurn();
    // The response was complete before: what follows it is read in a call of the loop.
    if (state_ == State::settling) loop_.defer(*this);
  });
}

void HTTP1Connection::setReading(RequestStream& exchange, bool isWanted) {
  if (exchange_ != &exchange) return;
  isReadingWanted_ = isWanted;
  if (isToRead()) loop_.defer(*this);
}

void HTTP1Connection::retire() {
  call([this] {
    isRetired_ = true;
    if (!exchange_) close();
  });
}

// From below

void HTTP1Connection::streamReadable() {
  mayRead_ = true;
  call([this] { takeTurn(); });
}

void HTTP1Connection::streamWritable() {
  isBlocked_ = false;
  call([this] {
    writeTurn();
    settle();
  });
}

void HTTP1Connection::runDeferred() {
  call([this] { takeTurn(); });
}

void HTTP1Connection::takeTurn() {
  readTurn();
  writeTurn();
  settle();
}

void HTTP1Connection::timerFired() {
  call([this] {
    if (state_ != State::exchanging) return;
    if (response_ == Response::complete) {
      finish(false);
    } else {
      sender_.mayContinue();
      writeTurn();
    }
  });
}

// Ending

/// The exchange has its response.
void HTTP1Connection::finish(bool mayBeKept) {
  RequestStream* const exchange = std::exchange(exchange_, nullptr);
  const bool isKept =
      mayBeKept && sender_.hasEnded() && !sender_.saysClose() && !isRetired_ && parser_.keepsConnection();
  loop_.disarm(*this);
  sender_.reset();
  if (isKept) {
    state_ = State::settling;
  } else {
    close();
  }
  exchange->end();
}

void HTTP1Connection::fail(Failure failure) {
  RequestStream* const exchange = std::exchange(exchange_, nullptr);
  ExchangeFailure told{.failure = std::move(failure),
                       .delivery = sender_.bytesWritten() == 0 ? Delivery::nothingSent : Delivery::unknown,
                       .responseBegan = parser_.hasBegun()};
  close();
  exchange->failed(std::move(told));
}

/// Nobody wants to hear of the exchange any more.
void HTTP1Connection::giveUp() {
  exchange_ = nullptr;
  close();
}

void HTTP1Connection::close() {
  if (state_ == State::closed) return;
  state_ = State::closed;
  loop_.cancelDeferred(*this);
  loop_.disarm(*this);
  stream_->setOwner(nullptr);
  stream_->shutDown();
}

/// Whether a connection that is kept is ready shows when all is read that is there.
void HTTP1Connection::settle() {
  if (state_ == State::settling) readTurn();
  if (state_ == State::settling) becomeIdle();
}

void HTTP1Connection::becomeIdle() {
  state_ = State::idle;
  isAvailableAgain_ = true;
  parser_.shrink();
  if (unparsed_.capacity() > ordinaryHeadBytes) std::string().swap(unparsed_);
}

void HTTP1Connection::tellOwner() {
  if (state_ == State::closed) {
    if (std::exchange(isCloseTold_, true)) return;
    owner_.connectionRetired(*this);
    owner_.connectionClosed(*this);
  } else if (std::exchange(isAvailableAgain_, false)) {
    owner_.connectionAvailable(*this);
  }
}

}  // namespace platform::networking
