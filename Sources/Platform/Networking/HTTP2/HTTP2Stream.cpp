#include "Platform/Networking/HTTP2/HTTP2Stream.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "Platform/Networking/HTTP2/HTTP2HeaderBlock.hpp"
#include "Platform/Networking/HTTP2/HTTP2StreamTable.hpp"

namespace platform::networking {

void HTTP2Stream::begin(RequestStream& exchange) {
  exchange_ = &exchange;
  body_ = exchange.requestHead().contentLength == 0U ? nullptr : exchange.requestBody();
  id = 0;
  upload_ = body_ ? Upload::sending : Upload::complete;
  response_ = Response::awaited;
  isBegun_ = false;
  responseBegan_ = false;
  isReading_ = true;
  interimResponses_ = 0;
  bodyTaken_ = 0;
  bodyWritten_ = 0;
  fieldBytes_ = 0;
  discardedBytes_ = 0;
  withheldBytes_ = 0;
  resetCode.reset();
}

RequestStream* HTTP2Stream::detach() {
  if (exchange_) table_.detach(*this);
  body_ = nullptr;
  return std::exchange(exchange_, nullptr);
}

std::size_t HTTP2Stream::bodyRoom(std::size_t limit) const {
  if (!exchange_) return 0;
  const auto length = exchange_->requestHead().contentLength;
  return length ? static_cast<std::size_t>(std::min<std::uint64_t>(limit, *length - bodyTaken_)) : limit;
}

HTTP2Stream::BodyPiece HTTP2Stream::takeBody(std::span<std::byte> room) {
  if (!body_) return {{BodyStatus::failed, 0}, false};
  if (upload_ == Upload::stopped) return {{BodyStatus::pending, 0}, false};
  const auto length = exchange_->requestHead().contentLength;
  if (length && bodyTaken_ == *length) {
    upload_ = Upload::complete;
    return {{BodyStatus::end, 0}, true};
  }
  BodyRead read;
  if (const Bytes next = body_->peek(); !next.empty()) {
    read = {BodyStatus::bytes, std::min(next.size(), room.size())};
    std::memcpy(room.data(), next.data(), read.count);
    body_->advance(read.count);
  } else {
    read = body_->read(room);
  }
  bodyTaken_ += read.count;
  if (read.status == BodyStatus::end && length) return {{BodyStatus::failed, 0}, false};
  const bool isLast = read.status == BodyStatus::end || (length && bodyTaken_ == *length);
  if (read.status == BodyStatus::pending) upload_ = Upload::waiting;
  if (isLast) upload_ = Upload::complete;
  return {read, isLast};
}

bool HTTP2Stream::resume() {
  if (upload_ != Upload::waiting) return false;
  upload_ = Upload::sending;
  return true;
}

void HTTP2Stream::written(std::size_t bodyBytes, bool isWhole) {
  isBegun_ = true;
  if (!exchange_) return;
  exchange_->progressed();
  if (bodyBytes > 0 && exchange_) {
    bodyWritten_ += bodyBytes;
    exchange_->bodySent(bodyWritten_);
  }
  if (isWhole && exchange_) exchange_->requestEnded();
}

HTTP2Stream::Step HTTP2Stream::takeFields(HTTP2HeaderBlock& block, bool isLast) {
  if (!exchange_) return Step::goOn;
  responseBegan_ = true;
  exchange_->progressed();
  if (!exchange_) return Step::abandoned;
  if (response_ == Response::awaited) return takeHead(block, isLast);
  if (response_ == Response::body) exchange_->trailers(block.fields());
  return exchange_ ? takeEnd() : Step::abandoned;
}

HTTP2Stream::Step HTTP2Stream::takeHead(HTTP2HeaderBlock& block, bool isLast) {
  const int status = block.statusCode();
  if (status < 200) {
    if (++interimResponses_ <= maximumInterimResponses) return Step::goOn;
    return malformed("the server sends interim responses without end");
  }
  const bool hasBody = exchange_->requestHead().method != "HEAD" && status != 204 && status != 304;
  ResponseHeadView head;
  head.statusCode = status;
  head.httpVersion = "HTTP/2";
  head.fields = block.fields();
  head.headBytes = block.wireBytes();
  head.hasBody = hasBody;
  head.bodyLength = hasBody ? (isLast ? 0 : block.contentLength()) : 0;
  response_ = Response::body;
  // A server that refuses need not be told the rest; it may answer whatever it does with the upload.
  if (status >= 300 && upload_ != Upload::complete) upload_ = Upload::stopped;
  if (exchange_->head(head) == BodyDisposition::discard) response_ = Response::discarded;
  if (!exchange_) return Step::abandoned;
  return isLast ? takeEnd() : Step::goOn;
}

HTTP2Stream::Step HTTP2Stream::takeBody(Bytes bytes) {
  if (!exchange_) return Step::goOn;
  exchange_->progressed();
  if (!exchange_) return Step::abandoned;
  if (response_ == Response::discarded) {
    discardedBytes_ += bytes.size();
    exchange_->bodyDiscarded(bytes.size());
    if (discardedBytes_ <= maximumDiscardedBytes) return Step::goOn;
    detach()->end();
    return Step::abandoned;
  }
  if (!exchange_->body(bytes)) detach();
  return exchange_ ? Step::goOn : Step::abandoned;
}

HTTP2Stream::Step HTTP2Stream::takeEnd() {
  RequestStream* const exchange = detach();
  if (!exchange) return Step::goOn;
  exchange->end();
  return Step::ended;
}

HTTP2Stream::Step HTTP2Stream::malformed(std::string message) {
  fail({FailureCause::malformedResponse, std::move(message), 0});
  return Step::malformed;
}

void HTTP2Stream::fail(Failure failure) {
  tellFailure(std::move(failure), isBegun_ ? Delivery::unknown : Delivery::nothingSent);
}

void HTTP2Stream::refused(std::string message) {
  tellFailure({FailureCause::notProcessed, std::move(message), 0}, Delivery::notProcessed);
}

void HTTP2Stream::tellFailure(Failure failure, Delivery delivery) {
  const bool responseBegan = responseBegan_;
  if (RequestStream* const exchange = detach()) exchange->failed({std::move(failure), delivery, responseBegan});
}

std::size_t HTTP2Stream::setReading(bool isWanted) {
  isReading_ = isWanted;
  return isWanted ? std::exchange(withheldBytes_, 0) : 0;
}

std::size_t HTTP2Stream::consumed(std::size_t count) {
  if (isReading_ || !exchange_) return count;
  withheldBytes_ += count;
  return 0;
}

}  // namespace platform::networking
