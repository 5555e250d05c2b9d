#include <algorithm>
#include <utility>

#include "Platform/Networking/HTTP1/HTTP1Connection.hpp"

/// How an HTTP/1.1 connection reads and writes.
namespace platform::networking {

// Reading

void HTTP1Connection::readTurn() {
  std::size_t limit = turnBytes;
  while (isToRead() && state_ != State::closed) {
    if (limit == 0 && state_ == State::exchanging) {
      loop_.defer(*this);
      return;
    }
    limit -= std::min(limit, readOnce(limit));
  }
  if (!mayRead_ && state_ != State::closed) stream_->expect(state_ == State::exchanging ? parser_.bodyAhead() : 0);
}

std::size_t HTTP1Connection::readOnce(std::size_t limit) {
  const std::span<std::byte> room = roomOfExchange(limit);
  if (!isToRead() || state_ == State::closed) return 0;  // as the exchange had it
  const std::span<std::byte> scratch = loop_.receiveBuffer();
  const IOResult result = stream_->read(room.empty() ? scratch : room);
  switch (result.status) {
    case IOStatus::done:
      mayRead_ = !result.isDrained;
      if (room.empty()) {
        take({reinterpret_cast<const char*>(scratch.data()), result.count});
      } else {
        skippedBody(result.count);
      }
      return result.count;
    case IOStatus::wouldBlock:
      nothingToRead();
      break;
    case IOStatus::closed:
      readingEnded(nullptr);
      break;
    case IOStatus::failed: {
      const Failure failure = stream_->failure().value_or(Failure{});
      readingEnded(&failure);
      break;
    }
  }
  return 0;
}

/// Where the next bytes of the body may go without being copied; empty where they may not.
std::span<std::byte> HTTP1Connection::roomOfExchange(std::size_t limit) {
  if (state_ != State::exchanging || response_ != Response::delivering) return {};
  const std::uint64_t ahead = parser_.bodyAhead();
  if (ahead < directBytes) return {};
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(ahead, limit));
  const std::span<std::byte> room = exchange_->bodyRoom(count);
  return room.first(std::min(room.size(), count));
}

/// Bytes of the body were read into the exchange's own room.
void HTTP1Connection::skippedBody(std::size_t count) {
  parser_.skipBody(count);
  exchange_->progressed();
  if (state_ != State::exchanging) return;
  if (!exchange_->bodyFilled(count)) {
    if (exchange_) giveUp();
    return;
  }
  if (state_ == State::exchanging && parser_.bodyAhead() == 0) takeResponse({});
}

void HTTP1Connection::take(std::string_view bytes) {
  if (state_ != State::exchanging || response_ == Response::complete) {
    // Bytes that belong to no response are never taken for one.
    return exchange_ ? finish(false) : close();
  }
  exchange_->progressed();
  if (state_ == State::exchanging) takeResponse(bytes);
}

void HTTP1Connection::takeResponse(std::string_view bytes) {
  const bool isContinued = !unparsed_.empty();
  if (isContinued) unparsed_.append(bytes);
  std::string_view input = isContinued ? std::string_view(unparsed_) : bytes;
  while (state_ == State::exchanging) {
    const ResponseParser::Step step = parser_.next(input);
    input.remove_prefix(step.consumed);
    switch (step.event) {
      case ResponseParser::Event::incomplete:
        return keep(input);
      case ResponseParser::Event::interim:
        if (parser_.statusCode() == 100) takeContinue();
        break;
      case ResponseParser::Event::head:
        takeHead();
        break;
      case ResponseParser::Event::body:
        takeBody(step.body);
        break;
      case ResponseParser::Event::end:
        return takeEnd(!input.empty());
      case ResponseParser::Event::failed:
        return readingEnded(&parser_.failure());
    }
  }
}

void HTTP1Connection::keep(std::string_view rest) {
  if (unparsed_.empty()) {
    unparsed_.assign(rest);
  } else if (rest.size() < unparsed_.size()) {
    unparsed_.erase(0, unparsed_.size() - rest.size());
  }
}

void HTTP1Connection::takeContinue() {
  sender_.mayContinue();
  loop_.disarm(*this);
}

void HTTP1Connection::takeHead() {
  if (!sender_.hasEnded()) {
    takeContinue();
    if (parser_.statusCode() >= 300) sender_.abandon();
  }
  const BodyDisposition disposition = exchange_->head(parser_.head());
  if (state_ != State::exchanging) return;
  if (disposition == BodyDisposition::deliver) {
    response_ = Response::delivering;
    return;
  }
  response_ = Response::discarding;
  const bool isShort = parser_.head().bodyLength <= static_cast<std::int64_t>(discardLimit);
  // Nor is the rest of the request of any use.
  if (!isShort || !parser_.mayKeepConnection() || !sender_.hasEnded()) finish(false);
}

void HTTP1Connection::takeBody(std::string_view bytes) {
  if (response_ == Response::discarding) {
    discarded_ += bytes.size();
    exchange_->bodyDiscarded(bytes.size());
    if (discarded_ > discardLimit) finish(false);
  } else if (!exchange_->body(bytesOf(bytes)) && exchange_) {
    giveUp();
  }
}

void HTTP1Connection::takeEnd(bool isMoreBehind) {
  if (!parser_.trailers().empty()) exchange_->trailers(parser_.trailers());
  if (state_ != State::exchanging) return;
  unparsed_.clear();
  const bool isRequestOut = sender_.hasEnded() || sender_.isAbandoned();
  if (isRequestOut || isMoreBehind) return finish(!isMoreBehind);
  response_ = Response::complete;
  isReadingWanted_ = true;
  loop_.arm(*this, loop_.now() + stallLimit);
}

void HTTP1Connection::nothingToRead() {
  mayRead_ = false;
  if (state_ == State::exchanging && isBroken_) fail(sender_.failure());
}

/// By the server, in good order where there is no failure; or by us, for what it sent.
void HTTP1Connection::readingEnded(const Failure* failure) {
  mayRead_ = false;
  if (!exchange_) return close();
  if (response_ == Response::complete || response_ == Response::discarding) return finish(false);
  if (failure) return fail(*failure);
  if (parser_.endOfStream() == ResponseParser::Event::end) return finish(false);
  fail(parser_.failure());
}

// Writing

void HTTP1Connection::writeTurn() {
  if (state_ != State::exchanging || isBlocked_ || !sender_.isUnderWay()) return;
  const std::uint64_t writtenBefore = sender_.bytesWritten();
  const std::uint64_t bodyBefore = sender_.bodySent();
  const RequestSender::Status status = sender_.advance(*stream_, turnBytes);
  if (sender_.bytesWritten() > writtenBefore) {
    if (response_ == Response::complete) loop_.arm(*this, loop_.now() + stallLimit);
    exchange_->progressed();
  }
  if (state_ == State::exchanging && sender_.bodySent() > bodyBefore) exchange_->bodySent(sender_.bodySent());
  if (state_ == State::exchanging) writingStopped(status);
}

void HTTP1Connection::writingStopped(RequestSender::Status status) {
  switch (status) {
    case RequestSender::Status::goesOn:
      loop_.defer(*this);
      break;
    case RequestSender::Status::blocked:
      isBlocked_ = true;
      break;
    case RequestSender::Status::awaitsContinue:
      loop_.arm(*this, loop_.now() + continueLimit);
      break;
    case RequestSender::Status::awaitsBody:
      break;
    case RequestSender::Status::ended:
      exchange_->requestEnded();
      if (state_ == State::exchanging && response_ == Response::complete) finish(true);
      break;
    case RequestSender::Status::bodyFailed:
      fail(sender_.failure());
      break;
    case RequestSender::Status::streamFailed:
      if (response_ == Response::complete) return finish(false);
      // The server may have said why before it closed.
      isBroken_ = true;
      isReadingWanted_ = true;
      mayRead_ = true;
      loop_.defer(*this);
      break;
  }
}

}  // namespace platform::networking
