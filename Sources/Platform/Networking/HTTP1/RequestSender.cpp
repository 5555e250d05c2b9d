#include "Platform/Networking/HTTP1/RequestSender.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <utility>

#include "Platform/Networking/HTTPText.hpp"

namespace platform::networking {

namespace {

constexpr std::string_view lastChunk = "0\r\n\r\n";
/// Of a body in memory, how much is offered to the stream at once.
constexpr std::size_t peekBytes = std::size_t{256} * 1024;

bool expectsContinue(const RequestHead& head) {
  return std::any_of(head.fields.begin(), head.fields.end(), [](const FieldView& field) {
    return detail::equalsIgnoringCase(field.name, "Expect") && detail::equalsIgnoringCase(field.value, "100-continue");
  });
}

/// Takes at most so many bytes off the front; how many of them there were.
template <class View>
std::size_t takeOff(View& view, std::size_t count) {
  const std::size_t taken = std::min(view.size(), count);
  view = View(view.data() + taken, view.size() - taken);
  return taken;
}

}  // namespace

bool RequestSender::begin(const RequestHead& head, RequestBody* body) {
  reset();
  const bool hasBody = body && head.contentLength != std::uint64_t{0};
  framing_ = writer_.compose(head, hasBody);
  if (framing_ == RequestFraming::refused || (!body && head.contentLength.value_or(0) > 0)) return false;
  head_ = writer_.text();
  body_ = hasBody ? body : nullptr;
  announced_ = head.contentLength.value_or(0);
  expectsContinue_ = hasBody && networking::expectsContinue(head);
  sendsDirectly_ = hasBody && framing_ == RequestFraming::length && announced_ >= directBytes;
  state_ = hasBody && !expectsContinue_ ? State::body : State::head;
  return true;
}

void RequestSender::reset() {
  state_ = State::idle;
  body_ = nullptr;
  bytesWritten_ = 0;
  bodySent_ = 0;
  head_ = {};
  prefix_ = {};
  data_ = {};
  suffix_ = {};
  writer_.shrink();
  buffer_.reset();
}

void RequestSender::mayContinue() {
  expectsContinue_ = false;
  if (state_ == State::awaitingContinue || (state_ == State::head && body_)) state_ = State::body;
}

void RequestSender::bodyReady() {
  if (state_ == State::awaitingBody) state_ = State::body;
}

RequestSender::Status RequestSender::advance(ByteStream& stream, std::size_t limit) {
  const std::uint64_t end = bytesWritten_ + limit;
  while (true) {
    if (state_ == State::ended) return Status::ended;
    if (state_ == State::awaitingContinue) return Status::awaitsContinue;
    if (state_ == State::awaitingBody) return Status::awaitsBody;
    if (bytesWritten_ >= end) return Status::goesOn;
    const Load load = state_ == State::body && !hasBodyPieces() ? this->load() : Load::loaded;
    if (load == Load::failed) return Status::bodyFailed;
    Status status = Status::goesOn;
    if (hasPieces()) {
      status = writePieces(stream);
    } else if (load == Load::direct) {
      status = sendDirectly(stream, static_cast<std::size_t>(end - bytesWritten_));
    } else if (load == Load::pending) {
      state_ = State::awaitingBody;
    } else {
      endPieces();
    }
    if (status != Status::goesOn) return status;
  }
}

std::uint64_t RequestSender::bodyLeft() const {
  return framing_ == RequestFraming::length ? announced_ - bodySent_ : std::numeric_limits<std::uint64_t>::max();
}

RequestSender::Load RequestSender::load() {
  const std::uint64_t left = bodyLeft();
  if (left == 0) return loadEnd();
  const Bytes inMemory = body_->peek();
  if (inMemory.empty()) return sendsDirectly_ ? Load::direct : loadByReading(left);
  isPeeked_ = true;
  data_ = inMemory.first(static_cast<std::size_t>(std::min<std::uint64_t>({inMemory.size(), left, peekBytes})));
  frame();
  return Load::loaded;
}

RequestSender::Load RequestSender::loadByReading(std::uint64_t limit) {
  if (!buffer_) buffer_.reset(new std::byte[bufferBytes]);
  const std::span<std::byte> room(buffer_.get(), static_cast<std::size_t>(std::min<std::uint64_t>(limit, bufferBytes)));
  const BodyRead read = body_->read(room);
  switch (read.status) {
    case BodyStatus::bytes:
      if (read.count == 0) break;  // would make the last chunk
      isPeeked_ = false;
      data_ = room.first(read.count);
      frame();
      return Load::loaded;
    case BodyStatus::pending:
      return Load::pending;
    case BodyStatus::end:
      return loadEnd();
    case BodyStatus::failed:
      break;
  }
  failed(Status::bodyFailed, {FailureCause::requestBody, "the body of the request could not be read", 0});
  return Load::failed;
}

/// The body has no more.
RequestSender::Load RequestSender::loadEnd() {
  if (framing_ == RequestFraming::length && bodyLeft() > 0) {
    failed(Status::bodyFailed, {FailureCause::requestBody,
                                "the body of the request ended after " + std::to_string(bodySent_) + " of " +
                                    std::to_string(announced_) + " bytes",
                                0});
    return Load::failed;
  }
  if (framing_ == RequestFraming::chunked) prefix_ = lastChunk;
  state_ = State::lastBytes;
  return Load::loaded;
}

/// Puts what was loaded into a chunk where the body goes out in chunks (RFC 9112, 7.1).
void RequestSender::frame() {
  if (framing_ != RequestFraming::chunked) return;
  char* const end = std::to_chars(chunkLine_.data(), chunkLine_.data() + 16, data_.size(), 16).ptr;
  const std::size_t digits = static_cast<std::size_t>(end - chunkLine_.data());
  RequestWriter::lineEnd.copy(end, RequestWriter::lineEnd.size());
  prefix_ = {chunkLine_.data(), digits + RequestWriter::lineEnd.size()};
  suffix_ = RequestWriter::lineEnd;
}

RequestSender::Status RequestSender::sendDirectly(ByteStream& stream, std::size_t limit) {
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(bodyLeft(), limit));
  const std::optional<IOResult> result = body_->sendTo(stream, wanted);
  if (!result) {
    sendsDirectly_ = false;
    return Status::goesOn;
  }
  switch (result->status) {
    case IOStatus::done:
      bytesWritten_ += result->count;
      bodySent_ += result->count;
      if (result->count > 0) return Status::goesOn;
      loadEnd();
      return Status::bodyFailed;
    case IOStatus::wouldBlock:
      return Status::blocked;
    case IOStatus::closed:
    case IOStatus::failed:
      break;
  }
  const Failure failure = stream.failure().value_or(Failure{});
  return failed(failure.cause == FailureCause::requestBody ? Status::bodyFailed : Status::streamFailed, failure);
}

RequestSender::Status RequestSender::writePieces(ByteStream& stream) {
  const std::array<Bytes, 4> pieces{bytesOf(head_), bytesOf(prefix_), data_, bytesOf(suffix_)};
  // Most requests are a head alone.
  const bool isHeadAlone = !hasBodyPieces();
  const IOResult result = stream.write(std::span(pieces).first(isHeadAlone ? 1 : pieces.size()));
  switch (result.status) {
    case IOStatus::done:
      consume(result.count);
      return Status::goesOn;
    case IOStatus::wouldBlock:
      return Status::blocked;
    case IOStatus::closed:
    case IOStatus::failed:
      break;
  }
  return failed(Status::streamFailed, stream.failure().value_or(Failure{}));
}

void RequestSender::consume(std::size_t count) {
  bytesWritten_ += count;
  count -= takeOff(head_, count);
  count -= takeOff(prefix_, count);
  const std::size_t ofData = takeOff(data_, count);
  bodySent_ += ofData;
  if (isPeeked_ && ofData > 0) body_->advance(ofData);
  takeOff(suffix_, count - ofData);
}

/// All that was loaded is out.
void RequestSender::endPieces() {
  if (state_ == State::head && expectsContinue_) {
    state_ = State::awaitingContinue;
  } else if (state_ != State::body) {
    state_ = State::ended;
  }
}

RequestSender::Status RequestSender::failed(Status status, Failure failure) {
  failure_ = std::move(failure);
  state_ = State::abandoned;
  return status;
}

}  // namespace platform::networking
